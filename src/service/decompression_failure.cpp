#include "decompression_failure.h"

#include <QNetworkReply>

namespace brightloom {

QString decompressionFailure(const QNetworkReply& reply, const QString& subject)
{
    const QByteArray encoding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    if (reply.error() != QNetworkReply::UnknownContentError || encoding.isEmpty() || encoding == "identity")
        return {};
    // Qt says "Decompression failed: " and often nothing after it; its reason, when it gives one,
    // follows the colon.
    const QString said = reply.errorString();
    const qsizetype colon = said.indexOf(QLatin1Char(':'));
    QString why = colon < 0 ? QString() : said.mid(colon + 1).trimmed();
    if (why.isEmpty())
        why = QStringLiteral("its data is not valid ") + QString::fromLatin1(encoding) +
              QStringLiteral(" data");
    if (!why.endsWith(QLatin1Char('.')))
        why += QLatin1Char('.');
    return subject + QStringLiteral(" could not be decompressed: ") + why;
}

} // namespace brightloom
