#include "recording_server.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSslServer>
#include <QSslSocket>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <stdexcept>

namespace brightloom::test {

bool RecordedRequest::hasHeader(const QByteArray& name) const
{
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

QByteArray RecordedRequest::header(const QByteArray& name) const
{
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QString RecordedRequest::path() const
{
    const qsizetype q = target.indexOf('?');
    return QString::fromUtf8(q < 0 ? target : target.left(q));
}

ScriptedReply ScriptedReply::json(int status, const QByteArray& body)
{
    ScriptedReply r;
    r.status = status;
    r.body = body;
    return r;
}

ScriptedReply ScriptedReply::html(int status, const QByteArray& body)
{
    ScriptedReply r = json(status, body);
    r.contentType = "text/html; charset=utf-8";
    return r;
}

ScriptedReply ScriptedReply::archive(const QByteArray& body)
{
    ScriptedReply r = json(200, body);
    r.contentType = "application/zip";
    return r;
}

ScriptedReply ScriptedReply::redirect(int status, const QByteArray& location)
{
    ScriptedReply r = html(status, QByteArray());
    if (!location.isEmpty())
        r.headers.append(qMakePair(QByteArray("Location"), location));
    return r;
}

ScriptedReply ScriptedReply::neverEnding()
{
    ScriptedReply r = html(200, QByteArray());
    r.endless = true;
    return r;
}

ScriptedReply ScriptedReply::dripping(const QByteArray& body, int everyMs)
{
    ScriptedReply r = json(200, body);
    r.endless = body.isEmpty();
    r.dripMs = everyMs;
    return r;
}

RecordingServer::RecordingServer(QObject* parent) : QObject(parent), m_server(new QTcpServer(this))
{
    if (!m_server->listen(QHostAddress::LocalHost, 0))
        throw std::runtime_error("test server could not listen");
    connect(m_server, &QTcpServer::pendingConnectionAvailable, this, &RecordingServer::accept);
}

RecordingServer::RecordingServer(const QSslCertificate& certificate, const QSslKey& key, QObject* parent)
    : QObject(parent), m_tls(true)
{
    auto* server = new QSslServer(this);
    QSslConfiguration config = QSslConfiguration::defaultConfiguration();
    config.setLocalCertificate(certificate);
    config.setPrivateKey(key);
    config.setPeerVerifyMode(QSslSocket::VerifyNone);
    server->setSslConfiguration(config);
    m_server = server;
    if (!m_server->listen(QHostAddress::LocalHost, 0))
        throw std::runtime_error("test server could not listen");
    connect(m_server, &QTcpServer::pendingConnectionAvailable, this, &RecordingServer::accept);
}

RecordingServer::~RecordingServer() = default;

void RecordingServer::on(const QString& route, ScriptedReply reply)
{
    m_routes.insert(route, std::move(reply));
}

QString RecordingServer::offer(const QString& path, ScriptedReply reply)
{
    on(QStringLiteral("GET /") + path, std::move(reply));
    return baseUrl().toString() + path;
}

QUrl RecordingServer::baseUrl() const
{
    return QUrl(QStringLiteral("%1://127.0.0.1:%2/")
                    .arg(m_tls ? QStringLiteral("https") : QStringLiteral("http"))
                    .arg(m_server->serverPort()));
}

QList<RecordedRequest> RecordingServer::requestsTo(const QString& path) const
{
    QList<RecordedRequest> found;
    for (const auto& r : m_requests) {
        if (r.path() == path)
            found.append(r);
    }
    return found;
}

void RecordingServer::accept()
{
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_buffers.remove(socket);
            socket->deleteLater();
        });
        if (socket->bytesAvailable() > 0)
            serve(socket);
    }
}

void RecordingServer::serve(QTcpSocket* socket)
{
    QByteArray& buffer = m_buffers[socket];
    buffer += socket->readAll();
    for (;;) {
        const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
        if (headerEnd < 0)
            return;
        RecordedRequest request;
        const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
        const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
        request.method = first.value(0);
        request.target = first.value(1);
        qsizetype length = 0;
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const QByteArray line = lines[i].trimmed();
            const qsizetype colon = line.indexOf(':');
            if (colon <= 0)
                continue;
            const QByteArray name = line.left(colon).trimmed();
            const QByteArray value = line.mid(colon + 1).trimmed();
            request.headers.append({name, value});
            if (name.compare("content-length", Qt::CaseInsensitive) == 0)
                length = value.toLongLong();
        }
        if (buffer.size() < headerEnd + 4 + length)
            return;
        request.body = buffer.mid(headerEnd + 4, length);
        buffer.remove(0, headerEnd + 4 + length);
        m_requests.append(request);
        const ScriptedReply reply = answer(request);
        if (reply.held) {
            m_held.append(qMakePair(QPointer<QTcpSocket>(socket), reply));
            return;
        }
        if (reply.delayMs > 0) {
            QTimer::singleShot(reply.delayMs, socket, [this, socket, reply] { respond(socket, reply); });
            return;
        }
        respond(socket, reply);
    }
}

void RecordingServer::releaseHeld()
{
    for (const auto& [socket, reply] : std::exchange(m_held, {})) {
        if (socket)
            respond(socket, reply);
    }
}

ScriptedReply RecordingServer::answer(const RecordedRequest& request) const
{
    if (m_handler)
        return m_handler(request);
    const QString exact = QString::fromUtf8(request.method) + QLatin1Char(' ') + request.path();
    if (auto it = m_routes.find(exact); it != m_routes.end())
        return *it;
    if (auto it = m_routes.find(request.path()); it != m_routes.end())
        return *it;
    return ScriptedReply::json(404, R"({"message":"Not found"})");
}

void RecordingServer::respond(QTcpSocket* socket, const ScriptedReply& reply)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + " Scripted\r\n";
    head += "Content-Type: " + reply.contentType + "\r\n";
    const qint64 length = reply.streamedSize > 0 ? reply.streamedSize : reply.body.size();
    if (reply.endless)
        head += "Connection: close\r\n"; // the body ends only when the connection does
    else
        head += "Content-Length: " + QByteArray::number(length) + "\r\n";
    for (const auto& [name, value] : reply.headers)
        head += name + ": " + value + "\r\n";
    head += "\r\n";
    if (reply.dripMs > 0) {
        socket->write(head);
        drip(socket, reply.endless ? QByteArray() : reply.body, reply.dripMs);
        return;
    }
    if (reply.endless) {
        socket->write(head);
        stream(socket, -1);
        return;
    }
    if (reply.streamedSize > 0) {
        socket->write(head);
        stream(socket, reply.streamedSize);
        return;
    }
    if (reply.cutShort) {
        socket->write(head + reply.body.left(reply.body.size() / 2));
        socket->flush();
        socket->disconnectFromHost();
        return;
    }
    socket->write(head + reply.body);
}

// Writes `size` bytes of a repeating pattern, a chunk at a time whenever the socket has drained, so
// the server never holds more than a few chunks however large the reply.
void RecordingServer::stream(QTcpSocket* socket, qint64 size)
{
    static const QByteArray chunk = [] {
        QByteArray c(256 * 1024, Qt::Uninitialized);
        for (qsizetype i = 0; i < c.size(); ++i)
            c[i] = char('a' + i % 26);
        return c;
    }();
    auto remaining = std::make_shared<qint64>(size);
    auto feed = [socket, remaining] {
        while (*remaining != 0 && socket->bytesToWrite() < 4 * chunk.size()) {
            const qint64 n = *remaining < 0 ? chunk.size() : std::min<qint64>(*remaining, chunk.size());
            socket->write(chunk.constData(), n);
            if (*remaining > 0)
                *remaining -= n;
        }
    };
    connect(socket, &QTcpSocket::bytesWritten, socket, feed);
    feed();
}

// Writes `body` one byte per tick, or a byte of a repeating pattern per tick without end when `body`
// is empty. The timer belongs to the socket, so it stops when the client goes away.
void RecordingServer::drip(QTcpSocket* socket, const QByteArray& body, int everyMs)
{
    auto* timer = new QTimer(socket);
    auto sent = std::make_shared<qsizetype>(0);
    connect(timer, &QTimer::timeout, socket, [socket, timer, body, sent] {
        if (!body.isEmpty() && *sent >= body.size()) {
            timer->stop();
            return;
        }
        const char byte = body.isEmpty() ? char('a' + *sent % 26) : body.at(*sent);
        socket->write(&byte, 1);
        ++*sent;
    });
    timer->start(everyMs);
}

const QString& TestCertificate::sharedFile()
{
    static const QString made = [] {
        static QTemporaryDir dir;
        const QString cert = dir.filePath(QStringLiteral("cert.pem"));
        const QString key = dir.filePath(QStringLiteral("key.pem"));
        QProcess openssl;
        openssl.start(QStringLiteral("openssl"),
                      {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                       QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
                       QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"),
                       QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-subj"),
                       QStringLiteral("/CN=127.0.0.1"), QStringLiteral("-addext"),
                       QStringLiteral("subjectAltName=IP:127.0.0.1,DNS:localhost"), QStringLiteral("-keyout"),
                       key, QStringLiteral("-out"), cert});
        openssl.waitForFinished(30000);
        if (openssl.exitCode() != 0)
            throw std::runtime_error("openssl could not make a test certificate");
        return cert;
    }();
    return made;
}

const TestCertificate& TestCertificate::shared()
{
    static const TestCertificate made = [] {
        const QString cert = sharedFile();
        QFile certFile(cert), keyFile(QFileInfo(cert).dir().filePath(QStringLiteral("key.pem")));
        certFile.open(QIODevice::ReadOnly);
        keyFile.open(QIODevice::ReadOnly);
        TestCertificate t;
        t.certificate = QSslCertificate(certFile.readAll(), QSsl::Pem);
        t.key = QSslKey(keyFile.readAll(), QSsl::Ec, QSsl::Pem);
        t.caFile = cert;
        return t;
    }();
    return made;
}

} // namespace brightloom::test
