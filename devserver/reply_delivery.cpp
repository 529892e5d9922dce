#include "reply_delivery.h"

#include "http_util.h"

#include <QFile>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>
#include <memory>

namespace brightloom::devserver {

namespace {

constexpr qint64 chunkSize = 64 * 1024;
// Enough queued in the socket to keep the line busy, little enough that memory stays flat.
constexpr qint64 socketBacklog = 4 * chunkSize;

// Pumps a file into the socket as the socket drains. It lives as a child of the socket, so a
// client that goes away takes the transfer with it.
class FileStream final : public QObject
{
public:
    FileStream(std::unique_ptr<QFile> file, qint64 limit, bool closeAfter, QHttpServerResponder&& responder)
        : QObject(responder.socket()), m_file(std::move(file)), m_limit(limit), m_closeAfter(closeAfter),
          m_responder(std::move(responder)), m_socket(m_responder.socket())
    {}

    QTcpSocket* socket() const { return m_socket; }

    void start(const QByteArray& mimeType)
    {
        m_responder.writeStatusLine(StatusCode::Ok);
        m_responder.writeHeader(QByteArrayLiteral("Content-Type"), mimeType);
        m_responder.writeHeader(QByteArrayLiteral("Content-Length"), QByteArray::number(m_file->size()));
        m_responder.writeBody("", 0); // ends the headers
        connect(m_socket, &QIODevice::bytesWritten, this, &FileStream::pump);
        pump();
    }

private:
    void pump()
    {
        while (m_sent < m_limit && m_socket->bytesToWrite() < socketBacklog) {
            const QByteArray chunk = m_file->read(qMin(chunkSize, m_limit - m_sent));
            if (chunk.isEmpty())
                break;
            m_socket->write(chunk);
            m_sent += chunk.size();
        }
        if (m_sent < m_limit && !m_file->atEnd())
            return;
        disconnect(m_socket, &QIODevice::bytesWritten, this, &FileStream::pump);
        if (m_closeAfter)
            m_socket->disconnectFromHost();
        deleteLater();
    }

    std::unique_ptr<QFile> m_file;
    qint64 m_limit;
    bool m_closeAfter;
    qint64 m_sent = 0;
    QHttpServerResponder m_responder;
    QTcpSocket* m_socket;
};

template <typename Work> void afterDelay(QTcpSocket* socket, int delayMs, Work work)
{
    if (delayMs <= 0) {
        work();
        return;
    }
    QPointer<QTcpSocket> guard(socket);
    QTimer::singleShot(delayMs, socket, [guard, work = std::move(work)]() mutable {
        if (guard && guard->state() == QAbstractSocket::ConnectedState)
            work();
    });
}

} // namespace

void writeLater(QHttpServerResponse response, QHttpServerResponder&& responder, int delayMs)
{
    auto held = std::make_shared<std::pair<QHttpServerResponse, QHttpServerResponder>>(std::move(response),
                                                                                       std::move(responder));
    afterDelay(held->second.socket(), delayMs, [held] { held->first.write(std::move(held->second)); });
}

void writeTruncated(const QHttpServerResponse& response, QHttpServerResponder&& responder)
{
    const QByteArray body = response.data();
    responder.writeStatusLine(response.statusCode());
    responder.writeHeader(QByteArrayLiteral("Content-Type"), response.mimeType());
    responder.writeHeader(QByteArrayLiteral("Content-Length"), QByteArray::number(body.size()));
    responder.writeBody(body.left(body.size() / 2));
    responder.socket()->disconnectFromHost();
}

void streamFile(const FileReply& reply, QHttpServerResponder&& responder, bool truncate, int delayMs)
{
    auto file = std::make_unique<QFile>(reply.path);
    if (!file->open(QIODevice::ReadOnly)) {
        errorResponse(StatusCode::NotFound, QStringLiteral("File not found")).write(std::move(responder));
        return;
    }
    const qint64 limit = truncate ? file->size() / 2 : file->size();
    auto* stream = new FileStream(std::move(file), limit, truncate, std::move(responder));
    const QByteArray mimeType = reply.mimeType;
    QPointer<FileStream> guard(stream);
    afterDelay(stream->socket(), delayMs, [guard, mimeType] {
        if (guard)
            guard->start(mimeType);
    });
}

} // namespace brightloom::devserver
