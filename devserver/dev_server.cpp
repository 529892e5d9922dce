#include "dev_server.h"

#include "http_util.h"
#include "routes.h"

#include <QHostAddress>
#include <QMetaEnum>
#include <cstdio>

namespace brightloom::devserver {

namespace {

QByteArray methodName(QHttpServerRequest::Method method)
{
    const char* key = QMetaEnum::fromType<QHttpServerRequest::Method>().valueToKey(int(method));
    return key ? QByteArray(key).toUpper() : QByteArrayLiteral("UNKNOWN");
}

// Splits an encoded path into decoded segments, so an escaped '/' inside a segment stays inside it.
QStringList pathSegments(const QByteArray& encodedPath)
{
    QStringList segments;
    const QList<QByteArray> parts = encodedPath.split('/');
    for (const QByteArray& part : parts) {
        if (!part.isEmpty())
            segments.append(QUrl::fromPercentEncoding(part));
    }
    return segments;
}

bool isPlaceholder(const QString& segment)
{
    return segment.size() > 2 && segment.startsWith(QLatin1Char('{')) && segment.endsWith(QLatin1Char('}'));
}

bool matches(const QStringList& pattern, const QStringList& path, QHash<QString, QString>* params)
{
    if (pattern.size() != path.size())
        return false;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        if (isPlaceholder(pattern[i]))
            params->insert(pattern[i].mid(1, pattern[i].size() - 2), path[i]);
        else if (pattern[i] != path[i])
            return false;
    }
    return true;
}

void logLine(const QByteArray& line)
{
    std::fprintf(stderr, "%s\n", line.constData());
    std::fflush(stderr);
}

} // namespace

DevServer::DevServer(const Options& options, Store& store, std::optional<QSslConfiguration> tls,
                     QObject* parent)
    : QObject(parent), m_options(options), m_store(store), m_tls(std::move(tls))
{
    // No rule is ever registered with QHttpServer itself, so every request arrives here.
    m_http.setMissingHandler([this](const QHttpServerRequest& request, QHttpServerResponder&& responder) {
        dispatch(request, std::move(responder));
    });
    addAuthRoutes(*this);
    addNativeSignInRoutes(*this);
    addProjectRoutes(*this);
}

QUrl DevServer::listen(QString* error)
{
    if (m_tls)
        m_http.sslSetup(*m_tls); // applies to the listen below
    // Loopback only: the server hands out sessions for a demo account with a published password.
    const quint16 port = m_http.listen(QHostAddress(QHostAddress::LocalHost), m_options.port);
    if (port == 0) {
        *error = QStringLiteral("cannot listen on 127.0.0.1 port %1").arg(m_options.port);
        return {};
    }
    return QUrl(QStringLiteral("%1://127.0.0.1:%2/")
                    .arg(m_tls ? QStringLiteral("https") : QStringLiteral("http"))
                    .arg(port));
}

void DevServer::addRoute(Method method, const QString& pattern, Handler handler)
{
    m_routes.append(Route{method, pattern.split(QLatin1Char('/'), Qt::SkipEmptyParts), std::move(handler)});
}

std::optional<Session> DevServer::currentSession(const QHttpServerRequest& request)
{
    const std::optional<QByteArray> token = cookieValue(request, QByteArray(sessionCookieName));
    if (!token || token->isEmpty())
        return std::nullopt;
    return m_store.session(QString::fromLatin1(*token));
}

Session DevServer::requireSession(const QHttpServerRequest& request)
{
    std::optional<Session> session = currentSession(request);
    if (!session)
        throw HttpError{StatusCode::Unauthorized, QStringLiteral("Unauthorized")};
    return *session;
}

void DevServer::dispatch(const QHttpServerRequest& request, QHttpServerResponder&& responder)
{
    QHttpServerResponse response = answer(request);
    // The path only: queries and headers may carry tokens, and bodies carry passwords.
    logLine(methodName(request.method()) + ' ' + request.url().path(QUrl::FullyEncoded).toUtf8() + ' ' +
            QByteArray::number(int(response.statusCode())));
    response.write(std::move(responder));
}

QHttpServerResponse DevServer::answer(const QHttpServerRequest& request)
{
    const QStringList path = pathSegments(request.url().path(QUrl::FullyEncoded).toUtf8());
    QByteArrayList allowed;
    for (const Route& route : std::as_const(m_routes)) {
        QHash<QString, QString> params;
        if (!matches(route.segments, path, &params))
            continue;
        if (route.method != request.method()) {
            allowed.append(methodName(route.method));
            continue;
        }
        try {
            return route.handler(*this, Request{request, params});
        } catch (const HttpError& error) {
            return errorResponse(error.status, error.message);
        } catch (const std::exception& error) {
            logLine(QByteArrayLiteral("error: ") + error.what());
            return errorResponse(StatusCode::InternalServerError, QStringLiteral("Internal server error"));
        }
    }
    if (allowed.isEmpty())
        return errorResponse(StatusCode::NotFound, QStringLiteral("Not found"));
    QHttpServerResponse response =
        errorResponse(StatusCode::MethodNotAllowed, QStringLiteral("Method not allowed"));
    response.addHeader(QByteArrayLiteral("Allow"), allowed.join(", "));
    return response;
}

} // namespace brightloom::devserver
