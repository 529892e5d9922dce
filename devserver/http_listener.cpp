#include "http_listener.h"

#include <QSslSocket>
#include <QTcpSocket>
#include <QTimer>
#include <sys/socket.h>

namespace brightloom::devserver {

namespace {

// A request's head (its line and headers) and body: what no client of the service comes near.
constexpr qsizetype maxHeadBytes = 64 * 1024;
constexpr qint64 maxBodyBytes = qint64(64) << 20;

Method methodNamed(const QByteArray& name)
{
    static const QList<QPair<QByteArray, Method>> methods = {
        {"GET", Method::Get},        {"POST", Method::Post},   {"PUT", Method::Put},
        {"DELETE", Method::Delete},  {"PATCH", Method::Patch}, {"HEAD", Method::Head},
        {"OPTIONS", Method::Options}};
    for (const auto& [text, method] : methods) {
        if (text == name)
            return method;
    }
    return Method::Unknown;
}

} // namespace

QByteArray methodName(Method method)
{
    switch (method) {
    case Method::Get:
        return "GET";
    case Method::Post:
        return "POST";
    case Method::Put:
        return "PUT";
    case Method::Delete:
        return "DELETE";
    case Method::Patch:
        return "PATCH";
    case Method::Head:
        return "HEAD";
    case Method::Options:
        return "OPTIONS";
    case Method::Unknown:
        break;
    }
    return "UNKNOWN";
}

QByteArray reasonPhrase(StatusCode status)
{
    switch (status) {
    case StatusCode::Ok:
        return "OK";
    case StatusCode::Found:
        return "Found";
    case StatusCode::BadRequest:
        return "Bad Request";
    case StatusCode::Unauthorized:
        return "Unauthorized";
    case StatusCode::Forbidden:
        return "Forbidden";
    case StatusCode::NotFound:
        return "Not Found";
    case StatusCode::MethodNotAllowed:
        return "Method Not Allowed";
    case StatusCode::Conflict:
        return "Conflict";
    case StatusCode::PayloadTooLarge:
        return "Payload Too Large";
    case StatusCode::UnprocessableEntity:
        return "Unprocessable Entity";
    case StatusCode::RequestHeaderFieldsTooLarge:
        return "Request Header Fields Too Large";
    case StatusCode::InternalServerError:
        return "Internal Server Error";
    case StatusCode::NotImplemented:
        return "Not Implemented";
    }
    return "Status";
}

// One client connection: reads a request, hands it on, and reads the next only once its answer is
// complete. It lives as a child of its socket, so a client that goes takes it along.
class HttpConnection final : public QObject
{
public:
    HttpConnection(QTcpSocket* socket, HttpListener::Handler handler)
        : QObject(socket), m_socket(socket), m_handler(std::move(handler))
    {
        connect(socket, &QIODevice::readyRead, this, &HttpConnection::readRequests);
        connect(socket, &QAbstractSocket::disconnected, socket, &QObject::deleteLater);
    }

    QTcpSocket* socket() const { return m_socket; }

    void write(const QByteArray& bytes)
    {
        if (m_socket->state() == QAbstractSocket::ConnectedState)
            m_socket->write(bytes);
    }

    void answered()
    {
        m_answering = false;
        if (m_closeAfter) {
            m_socket->disconnectFromHost();
            return;
        }
        // Later, not from inside the answer that ended, so answers never nest.
        QTimer::singleShot(0, this, &HttpConnection::readRequests);
    }

    void close()
    {
        m_answering = true; // nothing more is read
        m_socket->disconnectFromHost();
    }

    void reset()
    {
        m_answering = true;
        m_socket->flush();
        // A zero linger time makes closing send a reset instead of an orderly end.
        const linger abrupt{1, 0};
        ::setsockopt(int(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &abrupt, sizeof abrupt);
        m_socket->abort();
    }

    bool closeAfter() const { return m_closeAfter; }
    // The request asked for the head of the answer alone: its body is not sent.
    bool headOnly() const { return m_headOnly; }

private:
    void readRequests()
    {
        if (m_answering)
            return;
        m_buffer += m_socket->readAll();
        const qsizetype headEnd = m_buffer.indexOf("\r\n\r\n");
        // The same limit however the head arrives: whole in one read, or in pieces.
        if ((headEnd < 0 ? m_buffer.size() : headEnd) > maxHeadBytes) {
            refuse(StatusCode::RequestHeaderFieldsTooLarge);
            return;
        }
        if (headEnd < 0)
            return;
        const QList<QByteArray> lines = m_buffer.left(headEnd).split('\n');
        const QList<QByteArray> start = lines.value(0).trimmed().split(' ');
        if (start.size() != 3 || !start[1].startsWith('/') || !start[2].startsWith("HTTP/1.")) {
            refuse(StatusCode::BadRequest);
            return;
        }
        Headers headers;
        qint64 length = 0;
        bool keepAlive = start[2] == "HTTP/1.1";
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const QByteArray line = lines[i].trimmed();
            const qsizetype colon = line.indexOf(':');
            if (colon <= 0) {
                refuse(StatusCode::BadRequest);
                return;
            }
            const QByteArray name = line.left(colon).trimmed();
            const QByteArray value = line.mid(colon + 1).trimmed();
            if (name.compare("Content-Length", Qt::CaseInsensitive) == 0) {
                bool ok = false;
                length = value.toLongLong(&ok);
                if (!ok || length < 0) {
                    refuse(StatusCode::BadRequest);
                    return;
                }
            } else if (name.compare("Transfer-Encoding", Qt::CaseInsensitive) == 0) {
                refuse(StatusCode::NotImplemented); // no client of the service sends its body in chunks
                return;
            } else if (name.compare("Connection", Qt::CaseInsensitive) == 0) {
                keepAlive = value.compare("close", Qt::CaseInsensitive) != 0 &&
                            (keepAlive || value.compare("keep-alive", Qt::CaseInsensitive) == 0);
            }
            headers.append({name, value});
        }
        if (length > maxBodyBytes) {
            refuse(StatusCode::PayloadTooLarge);
            return;
        }
        if (m_buffer.size() < headEnd + 4 + length)
            return; // the rest of the body is still on its way
        const QByteArray body = m_buffer.mid(headEnd + 4, length);
        m_buffer.remove(0, headEnd + 4 + length);
        m_closeAfter = !keepAlive;
        m_answering = true;
        m_headOnly = start[0] == "HEAD";
        const QByteArray address = QByteArrayLiteral("http://127.0.0.1") + start[1];
        const HttpRequest request(methodNamed(start[0]), QUrl::fromEncoded(address), std::move(headers), body,
                                  m_socket->peerAddress());
        m_handler(request, Responder(this));
    }

    // Answers a request that cannot be read, and ends the connection.
    void refuse(StatusCode status)
    {
        m_closeAfter = true;
        m_headOnly = false;
        m_answering = true;
        Responder(this).send(HttpResponse("text/plain", reasonPhrase(status) + '\n', status));
    }

    QTcpSocket* m_socket;
    HttpListener::Handler m_handler;
    QByteArray m_buffer;
    bool m_answering = false;
    bool m_closeAfter = false;
    bool m_headOnly = false;
};

Responder::Responder(HttpConnection* connection) : m_connection(connection) {}

QTcpSocket* Responder::socket() const
{
    return m_connection ? m_connection->socket() : nullptr;
}

bool Responder::connected() const
{
    return m_connection && m_connection->socket()->state() == QAbstractSocket::ConnectedState;
}

void Responder::send(const HttpResponse& response)
{
    writeHead(response.statusCode(), response.mimeType(), response.data().size(), response.headers());
    if (m_connection && !m_connection->headOnly())
        writeRaw(response.data());
    done();
}

void Responder::writeHead(StatusCode status, const QByteArray& mimeType, qint64 length, const Headers& extra)
{
    if (!m_connection)
        return;
    QByteArray head = "HTTP/1.1 " + QByteArray::number(int(status)) + ' ' + reasonPhrase(status) + "\r\n";
    if (!mimeType.isEmpty())
        head += "Content-Type: " + mimeType + "\r\n";
    head += "Content-Length: " + QByteArray::number(length) + "\r\n";
    for (const auto& [name, value] : extra)
        head += name + ": " + value + "\r\n";
    if (m_connection->closeAfter())
        head += "Connection: close\r\n";
    head += "\r\n";
    m_connection->write(head);
}

void Responder::writeRaw(const QByteArray& bytes)
{
    if (m_connection)
        m_connection->write(bytes);
}

void Responder::done()
{
    if (m_connection)
        m_connection->answered();
}

void Responder::close()
{
    if (m_connection)
        m_connection->close();
}

void Responder::reset()
{
    if (m_connection)
        m_connection->reset();
}

HttpListener::HttpListener(std::optional<QSslConfiguration> tls, Handler handler, QObject* parent)
    : QTcpServer(parent), m_tls(std::move(tls)), m_handler(std::move(handler))
{}

void HttpListener::incomingConnection(qintptr descriptor)
{
    QTcpSocket* socket = m_tls ? new QSslSocket(this) : new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    new HttpConnection(socket, m_handler);
    if (m_tls) {
        auto* secure = static_cast<QSslSocket*>(socket);
        secure->setSslConfiguration(*m_tls);
        // A client that fails the handshake (it does not trust the certificate) just goes.
        connect(secure, &QSslSocket::sslErrors, secure, &QAbstractSocket::abort);
        secure->startServerEncryption();
    }
}

} // namespace brightloom::devserver
