#include "sign_in_callback.h"

#include "api_error.h"

#include <QUrl>

namespace brightloom::WebSignIn {

QString tokenFromCallback(const QString& callback)
{
    const QString incomplete = QStringLiteral("Sign-in did not complete.");
    const QUrl url(callback, QUrl::StrictMode);
    if (!url.isValid() || !url.hasQuery())
        throw APIError(incomplete);
    // Query items are read by hand: an item written "token" without "=" has no value, unlike "token=".
    const QString query = url.query(QUrl::FullyEncoded);
    for (const QStringView item : QStringView(query).split(QLatin1Char('&'))) {
        const qsizetype equals = item.indexOf(QLatin1Char('='));
        const QStringView name = equals < 0 ? item : item.left(equals);
        if (QUrl::fromPercentEncoding(name.toUtf8()) != QLatin1String("token"))
            continue;
        if (equals < 0)
            throw APIError(incomplete);
        return QUrl::fromPercentEncoding(item.mid(equals + 1).toUtf8());
    }
    throw APIError(incomplete);
}

} // namespace brightloom::WebSignIn
