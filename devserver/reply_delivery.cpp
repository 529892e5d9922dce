#include "reply_delivery.h"

#include "http_util.h"

#include <QFile>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>
#include <functional>
#include <memory>

namespace brightloom::devserver {

namespace {

constexpr qint64 chunkSize = 64 * 1024;
// Enough queued in the socket to keep the line busy, little enough that memory stays flat.
constexpr qint64 socketBacklog = 4 * chunkSize;

// Pumps a body into the socket as the socket drains, `next` giving each piece. It lives as a child
// of the socket, so a client that goes away takes the transfer with it.
class BodyStream final : public QObject
{
public:
    using Next = std::function<QByteArray(qint64 most)>;

    BodyStream(Responder responder, qint64 size, bool closeAfter, Next next)
        : QObject(responder.socket()), m_responder(std::move(responder)), m_size(size),
          m_closeAfter(closeAfter), m_next(std::move(next))
    {}

    void start(StatusCode status, const QByteArray& mimeType, qint64 declared)
    {
        m_responder.writeHead(status, mimeType, declared);
        connect(m_responder.socket(), &QIODevice::bytesWritten, this, &BodyStream::pump);
        pump();
    }

private:
    void pump()
    {
        QTcpSocket* socket = m_responder.socket();
        while (m_sent < m_size && socket->bytesToWrite() < socketBacklog) {
            const QByteArray piece = m_next(qMin(chunkSize, m_size - m_sent));
            if (piece.isEmpty()) {
                m_exhausted = true; // a file that ran out early: what came is all there is
                break;
            }
            m_responder.writeRaw(piece);
            m_sent += piece.size();
        }
        if (m_sent < m_size && !m_exhausted)
            return;
        disconnect(socket, &QIODevice::bytesWritten, this, &BodyStream::pump);
        if (m_closeAfter)
            m_responder.close();
        else
            m_responder.done();
        deleteLater();
    }

    Responder m_responder;
    qint64 m_size;
    bool m_closeAfter;
    qint64 m_sent = 0;
    bool m_exhausted = false;
    Next m_next;
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

void writeLater(HttpResponse response, Responder responder, int delayMs)
{
    QTcpSocket* socket = responder.socket();
    afterDelay(socket, delayMs,
               [response = std::move(response), responder]() mutable { responder.send(response); });
}

void writeTruncated(const HttpResponse& response, Responder responder)
{
    const QByteArray body = response.data();
    responder.writeHead(response.statusCode(), response.mimeType(), body.size(), response.headers());
    responder.writeRaw(body.left(body.size() / 2));
    responder.close();
}

void writeReset(const HttpResponse& response, Responder responder)
{
    const QByteArray body = response.data();
    responder.writeHead(response.statusCode(), response.mimeType(), body.size(), response.headers());
    responder.writeRaw(body.left(body.size() / 2));
    responder.reset();
}

void streamGenerated(StatusCode status, const QByteArray& contentType, qint64 size, Responder responder,
                     int delayMs)
{
    if (!responder.connected())
        return;
    QTcpSocket* socket = responder.socket();
    const QByteArray filler(chunkSize, 'x');
    auto* stream = new BodyStream(std::move(responder), size, false,
                                  [filler](qint64 most) { return filler.left(most); });
    QPointer<BodyStream> guard(stream);
    const QByteArray type = contentType.isEmpty() ? QByteArrayLiteral("application/json") : contentType;
    afterDelay(socket, delayMs, [guard, status, type, size] {
        if (guard)
            guard->start(status, type, size);
    });
}

void streamFile(const FileReply& reply, Responder responder, bool truncate, int delayMs)
{
    if (!responder.connected())
        return;
    auto file = std::make_shared<QFile>(reply.path);
    if (!file->open(QIODevice::ReadOnly)) {
        responder.send(errorResponse(StatusCode::NotFound, QStringLiteral("File not found")));
        return;
    }
    const qint64 size = file->size();
    const qint64 limit = truncate ? size / 2 : size;
    QTcpSocket* socket = responder.socket();
    auto* stream = new BodyStream(std::move(responder), limit, truncate,
                                  [file](qint64 most) { return file->read(most); });
    const QByteArray mimeType = reply.mimeType;
    QPointer<BodyStream> guard(stream);
    afterDelay(socket, delayMs, [guard, mimeType, size] {
        if (guard)
            guard->start(StatusCode::Ok, mimeType, size);
    });
}

} // namespace brightloom::devserver
