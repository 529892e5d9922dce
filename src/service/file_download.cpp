#include "file_download.h"

#include "api_error.h"
#include "file_transfer.h"

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

namespace brightloom {
namespace {

// Removes and destroys the file on the thread pool. A QTemporaryFile keeps its descriptor open when
// closed, until it is removed or the object goes, and the last close of a removed file is when the
// system frees its blocks: for an archive of hundreds of megabytes that is longer than a frame.
QFuture<void> startDiscarding(std::unique_ptr<QTemporaryFile> file)
{
    file->moveToThread(nullptr); // used and destroyed on a thread of the pool from here on
    return QtConcurrent::run([file = std::shared_ptr<QTemporaryFile>(std::move(file))]() mutable {
        file->remove();
        file.reset();
    });
}

} // namespace

QCoro::Task<> discardInBackground(FetchedFile fetched)
{
    if (!fetched.file)
        co_return;
    QFuture<void> removed = startDiscarding(std::move(fetched.file));
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

    // The transfer runs on the session's thread; progress comes back to this one through `relay`.
    const std::unique_ptr<QObject> relay = std::make_unique<QObject>();
    const auto end = std::make_shared<TransferEnd>();
    QFuture<void> transferred = startTransfer(network, std::move(url), fetched.file.get(), limits,
                                              std::move(progress), relay.get(), end);
    co_await transferred;
    fetched.file->close();
    if (!end->ended)
        throw TransportError(QStringLiteral("The download stopped: the client that ran it was closed."));
    if (end->tooLarge) {
        // The partial file may be gigabytes: removed on the thread pool, and only then reported.
        co_await discardInBackground(std::move(fetched));
        throw APIError(QStringLiteral("The download was larger than ") + sizeText(limits.maxBytes) +
                       QLatin1Char('.'));
    }

    fetched.status = end->status;
    const bool httpError = fetched.status >= 400;
    if (end->error != QNetworkReply::NoError && !httpError) {
        if (end->error == QNetworkReply::OperationCanceledError)
            throw TransportError(QStringLiteral("The download timed out."));
        if (!end->decompression.isEmpty())
            throw TransportError(end->decompression);
        throw TransportError(QStringLiteral("The download failed: ") + end->errorText);
    }
    if (!end->writeError.isEmpty())
        throw FileError(QStringLiteral("Could not save the download: ") + end->writeError);
    co_return fetched;
}

} // namespace brightloom
