#include "file_download.h"

#include "api_error.h"
#include "decompression_failure.h"
#include "file_sink.h"

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>
#include <qcoro/qcoronetworkreply.h>

namespace brightloom {
namespace {

constexpr qint64 readBuffer = 1 << 20;
// Bytes read from the network that may wait for the disk before reading pauses.
constexpr qint64 writeWindow = 8 << 20;

struct DeleteLater
{
    void operator()(QObject* object) const { object->deleteLater(); }
};

// One download in progress: what came, and where it goes.
struct Download
{
    QNetworkReply* reply = nullptr;
    std::unique_ptr<FileSink> sink;
    qint64 maxBytes = 0;
    qint64 bytes = 0;
    bool tooLarge = false;
};

// Hands what has arrived to the file while it has room (all of it when `all`), or gives the
// download up when it would pass its limit.
void drain(Download& download, bool all)
{
    if (download.tooLarge)
        return;
    QNetworkReply& reply = *download.reply;
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    if (length.isValid() && length.toLongLong() > download.maxBytes) {
        download.tooLarge = true;
        reply.abort();
        return;
    }
    while (reply.bytesAvailable() > 0 && (all || download.sink->hasRoom())) {
        QByteArray chunk = reply.read(readBuffer);
        download.bytes += chunk.size();
        if (download.bytes > download.maxBytes) {
            download.tooLarge = true;
            reply.abort();
            return;
        }
        download.sink->write(std::move(chunk));
    }
}

QFuture<void> startRemoving(QString path)
{
    return QtConcurrent::run([path = std::move(path)] { QFile::remove(path); });
}

} // namespace

QCoro::Task<> discardInBackground(FetchedFile fetched)
{
    if (!fetched.file)
        co_return;
    fetched.file->close();
    fetched.file->setAutoRemove(false);
    QFuture<void> removed = startRemoving(fetched.file->fileName());
    co_await removed;
}

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
    // Bounded buffering: the network pauses while the bytes in hand wait for the disk.
    reply->setReadBufferSize(readBuffer);
    QNetworkReply* raw = reply.get();
    auto download = std::make_shared<Download>();
    download->reply = raw;
    download->maxBytes = limits.maxBytes;
    const std::weak_ptr<Download> weak = download;
    const QPointer<QNetworkReply> alive(raw);
    download->sink = std::make_unique<FileSink>(*fetched.file, writeWindow, [weak, alive] {
        const auto going = weak.lock();
        if (going && alive && !alive->isFinished())
            drain(*going, false);
    });
    QObject::connect(raw, &QNetworkReply::metaDataChanged, raw, [download] { drain(*download, false); });
    QObject::connect(raw, &QNetworkReply::readyRead, raw, [download] { drain(*download, false); });
    if (progress)
        QObject::connect(raw, &QNetworkReply::downloadProgress, raw, progress);
    co_await raw;
    QObject::disconnect(raw, &QNetworkReply::readyRead, nullptr, nullptr);
    QObject::disconnect(raw, &QNetworkReply::metaDataChanged, nullptr, nullptr);
    drain(*download, true);
    QFuture<void> written = download->sink->finished();
    co_await written;
    const QString writeError = download->sink->error();
    fetched.file->close();
    if (download->tooLarge) {
        // The partial file may be gigabytes: removed on the thread pool, and only then reported.
        co_await discardInBackground(std::move(fetched));
        throw APIError(QStringLiteral("The download was larger than ") + sizeText(limits.maxBytes) +
                       QLatin1Char('.'));
    }

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
    if (!writeError.isEmpty())
        throw FileError(QStringLiteral("Could not save the download: ") + writeError);
    co_return fetched;
}

} // namespace brightloom
