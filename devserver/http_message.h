#pragma once

// The service's requests and answers, as plain values. The stand-in speaks HTTP/1.1 through a small
// listener of its own (http_listener.h) rather than an HTTP library, so that its faults at the byte
// level (a reply that drips, stops short or is reset) rest on sockets it owns, whatever the Qt
// version.

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QPair>
#include <QUrl>

namespace brightloom::devserver {

enum class Method { Get, Post, Put, Delete, Patch, Head, Options, Unknown };

// Any status may be given (a fault names its own); these are the ones the routes use by name.
enum class StatusCode : int {
    Ok = 200,
    Found = 302,
    BadRequest = 400,
    Unauthorized = 401,
    Forbidden = 403,
    NotFound = 404,
    MethodNotAllowed = 405,
    Conflict = 409,
    PayloadTooLarge = 413,
    UnprocessableEntity = 422,
    RequestHeaderFieldsTooLarge = 431,
    InternalServerError = 500,
    NotImplemented = 501,
};

using Headers = QList<QPair<QByteArray, QByteArray>>;

// "GET" for Method::Get, and so on.
QByteArray methodName(Method method);
// The phrase after the status in the status line ("Not Found"); "Status" for one without a name.
QByteArray reasonPhrase(StatusCode status);

class HttpRequest
{
public:
    HttpRequest(Method method, QUrl url, Headers headers, QByteArray body, QHostAddress remote)
        : m_method(method), m_url(std::move(url)), m_headers(std::move(headers)), m_body(std::move(body)),
          m_remote(std::move(remote))
    {}

    Method method() const { return m_method; }
    // The target as an absolute address on the loopback host, so its path and query read as sent.
    const QUrl& url() const { return m_url; }
    const Headers& headers() const { return m_headers; }
    const QByteArray& body() const { return m_body; }
    const QHostAddress& remoteAddress() const { return m_remote; }

private:
    Method m_method;
    QUrl m_url;
    Headers m_headers;
    QByteArray m_body;
    QHostAddress m_remote;
};

class HttpResponse
{
public:
    HttpResponse(QByteArray mimeType, QByteArray data, StatusCode status = StatusCode::Ok)
        : m_mimeType(std::move(mimeType)), m_data(std::move(data)), m_status(status)
    {}

    StatusCode statusCode() const { return m_status; }
    const QByteArray& mimeType() const { return m_mimeType; }
    const QByteArray& data() const { return m_data; }
    // Headers besides Content-Type and Content-Length, in the order added.
    const Headers& headers() const { return m_headers; }
    void addHeader(const QByteArray& name, const QByteArray& value) { m_headers.append({name, value}); }

private:
    QByteArray m_mimeType;
    QByteArray m_data;
    StatusCode m_status;
    Headers m_headers;
};

} // namespace brightloom::devserver
