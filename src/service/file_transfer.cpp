#include "file_transfer.h"

#include "decompression_failure.h"
#include "file_sink.h"

#include <QElapsedTimer>
#include <QFileDevice>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QPromise>

namespace brightloom {
namespace {

constexpr qint64 readBuffer = 1 << 20;
// Bytes read from the network that may wait for the disk before reading pauses.
constexpr qint64 writeWindow = 8 << 20;
// How often the caller hears of progress at most.
constexpr qint64 progressEveryMs = 50;

// One transfer, living on its session's thread and owned by the session, so that it goes with it.
class Transfer final : public QObject
{
public:
    Transfer(QNetworkAccessManager& network, QFileDevice* file, DownloadLimits limits,
             DownloadProgress progress, QObject* relay, std::shared_ptr<TransferEnd> end,
             std::shared_ptr<QPromise<void>> promise)
        : QObject(&network), m_file(file), m_limits(limits), m_progress(std::move(progress)), m_relay(relay),
          m_end(std::move(end)), m_promise(std::move(promise))
    {}

    // The promise ends with the transfer however it goes: should the session be deleted first, the
    // caller is still resumed and finds the end untold.
    ~Transfer() override
    {
        if (m_finished)
            return;
        // The caller frees the file once resumed: nothing may still be writing to it then.
        if (m_sink)
            m_sink->waitUntilWritten();
        m_promise->finish();
    }

    void start(QNetworkAccessManager& network, const QUrl& url)
    {
        QNetworkRequest request(url);
        request.setTransferTimeout(int(m_limits.silence.count()));
        m_reply = network.get(request);
        // Bounded buffering: the network pauses while the bytes in hand wait for the disk.
        m_reply->setReadBufferSize(readBuffer);
        m_sink = std::make_unique<FileSink>(*m_file, writeWindow, [this] {
            if (m_reply && !m_reply->isFinished())
                drain(false);
        });
        connect(m_reply, &QNetworkReply::metaDataChanged, this, [this] { drain(false); });
        connect(m_reply, &QNetworkReply::readyRead, this, [this] { drain(false); });
        if (m_progress) {
            connect(m_reply, &QNetworkReply::downloadProgress, this,
                    [this](qint64 received, qint64 total) { tellProgress(received, total); });
        }
        connect(m_reply, &QNetworkReply::finished, this, [this] { replyFinished(); });
        m_sinceProgress.start();
    }

private:
    // Hands what has arrived to the file while it has room (all of it when `all`), or gives the
    // download up when it would pass its limit.
    void drain(bool all)
    {
        if (m_end->tooLarge || !m_reply)
            return;
        const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > m_limits.maxBytes) {
            m_end->tooLarge = true;
            m_reply->abort();
            return;
        }
        while (m_reply->bytesAvailable() > 0 && (all || m_sink->hasRoom())) {
            QByteArray chunk = m_reply->read(readBuffer);
            m_bytes += chunk.size();
            if (m_bytes > m_limits.maxBytes) {
                m_end->tooLarge = true;
                m_reply->abort();
                return;
            }
            m_sink->write(std::move(chunk));
        }
    }

    void tellProgress(qint64 received, qint64 total)
    {
        if (received != total && m_sinceProgress.elapsed() < progressEveryMs)
            return;
        m_sinceProgress.restart();
        QMetaObject::invokeMethod(
            m_relay, [progress = m_progress, received, total] { progress(received, total); },
            Qt::QueuedConnection);
    }

    void replyFinished()
    {
        disconnect(m_reply, nullptr, this, nullptr);
        drain(true);
        const QVariant status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        m_end->status = status.isValid() ? status.toInt() : 0;
        m_end->error = m_reply->error();
        m_end->errorText = m_reply->errorString();
        m_end->decompression = decompressionFailure(*m_reply, QStringLiteral("The download"));
        m_reply->deleteLater();
        m_reply = nullptr;
        // Told only once every chunk is on disk.
        m_sink->finished().then(this, [this] {
            m_end->writeError = m_sink->error();
            // Closing a file just written can wait for the disk too; not the caller's thread's job.
            m_file->close();
            m_end->ended = true;
            m_finished = true;
            m_promise->finish();
            deleteLater();
        });
    }

    QFileDevice* m_file;
    DownloadLimits m_limits;
    DownloadProgress m_progress;
    QObject* m_relay;
    std::shared_ptr<TransferEnd> m_end;
    std::shared_ptr<QPromise<void>> m_promise;
    QPointer<QNetworkReply> m_reply;
    std::unique_ptr<FileSink> m_sink;
    QElapsedTimer m_sinceProgress;
    qint64 m_bytes = 0;
    bool m_finished = false;
};

} // namespace

QFuture<void> startTransfer(QNetworkAccessManager& network, QUrl url, QFileDevice* file,
                            DownloadLimits limits, DownloadProgress progress, QObject* relay,
                            std::shared_ptr<TransferEnd> end)
{
    auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    QFuture<void> future = promise->future();
    QNetworkAccessManager* session = &network;
    QMetaObject::invokeMethod(
        session,
        [session, url = std::move(url), file, limits, progress = std::move(progress), relay,
         end = std::move(end), promise] {
            auto* transfer = new Transfer(*session, file, limits, progress, relay, end, promise);
            transfer->start(*session, url);
        },
        Qt::QueuedConnection);
    return future;
}

} // namespace brightloom
