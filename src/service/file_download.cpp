#include "file_download.h"

#include "api_error.h"
#include "decompression_failure.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <qcoro/qcoronetworkreply.h>

namespace brightloom {
namespace {

constexpr qint64 readBuffer = 1 << 20;

struct DeleteLater
{
    void operator()(QObject* object) const { object->deleteLater(); }
};

struct Written
{
    qint64 bytes = 0;
    bool tooLarge = false;
    QString error; // a failed write, so that the download ends with its reason
};

// Writes whatever has arrived, or gives the download up when it would pass `maxBytes`.
void drain(QNetworkReply& reply, QTemporaryFile& file, Written& written, qint64 maxBytes)
{
    if (written.tooLarge)
        return;
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    if (length.isValid() && length.toLongLong() > maxBytes) {
        written.tooLarge = true;
        reply.abort();
        return;
    }
    while (reply.bytesAvailable() > 0) {
        const QByteArray chunk = reply.read(readBuffer);
        written.bytes += chunk.size();
        if (written.bytes > maxBytes) {
            written.tooLarge = true;
            reply.abort();
            return;
        }
        if (written.error.isEmpty() && file.write(chunk) != chunk.size())
            written.error = file.errorString();
    }
}

} // namespace

QCoro::Task<FetchedFile> fetchToFile(QNetworkAccessManager& network, QUrl url, DownloadProgress progress,
                                     DownloadLimits limits)
{
    FetchedFile fetched;
    fetched.file =
        std::make_unique<QTemporaryFile>(QDir::tempPath() + QStringLiteral("/brightloom-download-XXXXXX"));
    if (!fetched.file->open())
        throw FileError(QStringLiteral("Could not make a temporary file: ") + fetched.file->errorString());

    QNetworkRequest request(url);
    request.setTransferTimeout(int(limits.silence.count()));
    std::unique_ptr<QNetworkReply, DeleteLater> reply(network.get(request));
    // Bounded buffering: the network pauses until the chunk in hand is on disk.
    reply->setReadBufferSize(readBuffer);
    auto written = std::make_shared<Written>();
    QNetworkReply* raw = reply.get();
    QTemporaryFile* file = fetched.file.get();
    const qint64 maxBytes = limits.maxBytes;
    QObject::connect(raw, &QNetworkReply::metaDataChanged, raw,
                     [raw, file, written, maxBytes] { drain(*raw, *file, *written, maxBytes); });
    QObject::connect(raw, &QNetworkReply::readyRead, raw,
                     [raw, file, written, maxBytes] { drain(*raw, *file, *written, maxBytes); });
    if (progress)
        QObject::connect(raw, &QNetworkReply::downloadProgress, raw, progress);
    co_await raw;
    QObject::disconnect(raw, &QNetworkReply::readyRead, nullptr, nullptr);
    QObject::disconnect(raw, &QNetworkReply::metaDataChanged, nullptr, nullptr);
    drain(*raw, *file, *written, maxBytes);
    fetched.file->close();
    // The partial file goes with `fetched`, which is dropped when this throws.
    if (written->tooLarge)
        throw APIError(QStringLiteral("The download was larger than ") + sizeText(maxBytes) +
                       QLatin1Char('.'));

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    fetched.status = status.isValid() ? status.toInt() : 0;
    const bool httpError = fetched.status >= 400;
    if (reply->error() != QNetworkReply::NoError && !httpError) {
        if (reply->error() == QNetworkReply::OperationCanceledError)
            throw TransportError(QStringLiteral("The download timed out."));
        if (const QString undone = decompressionFailure(*reply, QStringLiteral("The download"));
            !undone.isEmpty())
            throw TransportError(undone);
        throw TransportError(QStringLiteral("The download failed: ") + reply->errorString());
    }
    if (!written->error.isEmpty())
        throw FileError(QStringLiteral("Could not save the download: ") + written->error);
    co_return fetched;
}

} // namespace brightloom
