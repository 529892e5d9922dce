#pragma once

// A small HTTP/1.1 server on loopback, over TCP or TLS: requests with a Content-Length body (what
// every client of the service sends), answers one at a time per connection, connections kept open
// between requests. Each request goes to one handler with a Responder, which answers it whole or
// writes it piece by piece, for files streamed from disk and for the faults tests line up.

#include "http_message.h"

#include <QPointer>
#include <QSslConfiguration>
#include <QTcpServer>
#include <functional>
#include <optional>

class QTcpSocket;

namespace brightloom::devserver {

class HttpConnection;

// The answer to one request. It is tied to its connection: once the client has gone, writing does
// nothing. Every answer ends in exactly one of done() (send() includes it), close() and reset().
class Responder
{
public:
    explicit Responder(HttpConnection* connection);

    QTcpSocket* socket() const;
    bool connected() const;

    // The whole answer with its Content-Length, and done().
    void send(const HttpResponse& response);
    // The status line and headers, with the Content-Length of the body to come.
    void writeHead(StatusCode status, const QByteArray& mimeType, qint64 length, const Headers& extra = {});
    void writeRaw(const QByteArray& bytes);
    // The answer is complete: the connection goes on to the client's next request.
    void done();
    // The answer stops here, and so does the connection (a reply cut short).
    void close();
    // The connection is reset: a TCP reset, as a crashed server or a broken middlebox sends.
    void reset();

private:
    QPointer<HttpConnection> m_connection;
};

class HttpListener final : public QTcpServer
{
    Q_OBJECT

public:
    using Handler = std::function<void(const HttpRequest&, Responder)>;

    // Without `tls`, plain HTTP.
    HttpListener(std::optional<QSslConfiguration> tls, Handler handler, QObject* parent = nullptr);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    std::optional<QSslConfiguration> m_tls;
    Handler m_handler;
};

} // namespace brightloom::devserver
