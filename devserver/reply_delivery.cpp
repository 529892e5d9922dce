#include "reply_delivery.h"

#include "http_util.h"

#include <QFile>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>
#include <memory>
#include <sys/socket.h>

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

// Pumps `size` bytes of filler into the socket as the socket drains, so a huge reply costs the server
// no memory.
class GeneratedStream final : public QObject
{
public:
    GeneratedStream(qint64 size, QHttpServerResponder&& responder)
        : QObject(responder.socket()), m_size(size), m_responder(std::move(responder)),
          m_socket(m_responder.socket()), m_chunk(chunkSize, 'x')
    {}

    QTcpSocket* socket() const { return m_socket; }

    void start(QHttpServerResponse::StatusCode status, const QByteArray& contentType)
    {
        m_responder.writeStatusLine(status);
        m_responder.writeHeader(QByteArrayLiteral("Content-Type"), contentType);
        m_responder.writeHeader(QByteArrayLiteral("Content-Length"), QByteArray::number(m_size));
        m_responder.writeBody("", 0); // ends the headers
        connect(m_socket, &QIODevice::bytesWritten, this, &GeneratedStream::pump);
        pump();
    }

private:
    void pump()
    {
        while (m_sent < m_size && m_socket->bytesToWrite() < socketBacklog) {
            const qint64 piece = qMin(chunkSize, m_size - m_sent);
            m_socket->write(m_chunk.constData(), piece);
            m_sent += piece;
        }
        if (m_sent < m_size)
            return;
        disconnect(m_socket, &QIODevice::bytesWritten, this, &GeneratedStream::pump);
        deleteLater();
    }

    qint64 m_size;
    qint64 m_sent = 0;
    QHttpServerResponder m_responder;
    QTcpSocket* m_socket;
    QByteArray m_chunk;
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

void writeReset(const QHttpServerResponse& response, QHttpServerResponder&& responder)
{
    const QByteArray body = response.data();
    QTcpSocket* socket = responder.socket();
    responder.writeStatusLine(response.statusCode());
    responder.writeHeader(QByteArrayLiteral("Content-Type"), response.mimeType());
    responder.writeHeader(QByteArrayLiteral("Content-Length"), QByteArray::number(body.size()));
    responder.writeBody(body.left(body.size() / 2));
    socket->flush();
    // A zero linger time makes closing send a reset instead of an orderly end.
    const linger abrupt{1, 0};
    ::setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &abrupt, sizeof(abrupt));
    socket->abort();
}

void streamGenerated(QHttpServerResponse::StatusCode status, const QByteArray& contentType, qint64 size,
                     QHttpServerResponder&& responder, int delayMs)
{
    auto* stream = new GeneratedStream(size, std::move(responder));
    QPointer<GeneratedStream> guard(stream);
    const QByteArray type = contentType.isEmpty() ? QByteArrayLiteral("application/json") : contentType;
    afterDelay(stream->socket(), delayMs, [guard, status, type] {
        if (guard)
            guard->start(status, type);
    });
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
