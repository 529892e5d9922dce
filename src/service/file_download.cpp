#include "file_download.h"

#include "api_error.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <qcoro/qcoronetworkreply.h>

namespace brightloom {
namespace {

constexpr qint64 readBuffer = 1 << 20;
constexpr int idleTimeoutMs = 60'000;

struct DeleteLater
{
    void operator()(QObject* object) const { object->deleteLater(); }
};

// Writes whatever has arrived; remembers a failed write so the download ends with its reason.
void drain(QNetworkReply& reply, QTemporaryFile& file, QString& writeError)
{
    while (reply.bytesAvailable() > 0) {
        const QByteArray chunk = reply.read(readBuffer);
        if (writeError.isEmpty() && file.write(chunk) != chunk.size())
            writeError = file.errorString();
    }
}

} // namespace

QCoro::Task<FetchedFile> fetchToFile(QNetworkAccessManager& network, QUrl url, DownloadProgress progress)
{
    FetchedFile fetched;
    fetched.file =
        std::make_unique<QTemporaryFile>(QDir::tempPath() + QStringLiteral("/brightloom-download-XXXXXX"));
    if (!fetched.file->open())
        throw FileError(QStringLiteral("Could not make a temporary file: ") + fetched.file->errorString());

    QNetworkRequest request(url);
    request.setTransferTimeout(idleTimeoutMs);
    std::unique_ptr<QNetworkReply, DeleteLater> reply(network.get(request));
    // Bounded buffering: the network pauses until the chunk in hand is on disk.
    reply->setReadBufferSize(readBuffer);
    auto writeError = std::make_shared<QString>();
    QNetworkReply* raw = reply.get();
    QTemporaryFile* file = fetched.file.get();
    QObject::connect(raw, &QNetworkReply::readyRead, raw,
                     [raw, file, writeError] { drain(*raw, *file, *writeError); });
    if (progress)
        QObject::connect(raw, &QNetworkReply::downloadProgress, raw, progress);
    co_await raw;
    QObject::disconnect(raw, &QNetworkReply::readyRead, nullptr, nullptr);
    drain(*raw, *file, *writeError);
    fetched.file->close();

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    fetched.status = status.isValid() ? status.toInt() : 0;
    const bool httpError = fetched.status >= 400;
    if (reply->error() != QNetworkReply::NoError && !httpError) {
        if (reply->error() == QNetworkReply::OperationCanceledError)
            throw TransportError(QStringLiteral("The download timed out."));
        throw TransportError(QStringLiteral("The download failed: ") + reply->errorString());
    }
    if (!writeError->isEmpty())
        throw FileError(QStringLiteral("Could not save the download: ") + *writeError);
    co_return fetched;
}

} // namespace brightloom
