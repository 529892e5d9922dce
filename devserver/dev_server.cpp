#include "dev_server.h"

#include "gallery_seed.h"
#include "http_util.h"
#include "routes.h"

#include <QDir>
#include <QHostAddress>
#include <cstdio>

namespace brightloom::devserver {

namespace {

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
    : QObject(parent), m_options(options), m_store(store), m_tls(std::move(tls)),
      m_http(m_tls,
             [this](const HttpRequest& request, Responder responder) { dispatch(request, responder); }),
      m_clock(store, QDir(options.dataFolder).filePath(QStringLiteral("files")),
              std::chrono::milliseconds(qint64(options.speedSeconds * 1000)))
{
    seedGallery(m_store);
    addAuthRoutes(*this);
    addNativeSignInRoutes(*this);
    addProjectRoutes(*this);
    addLibraryRoutes(*this);
    addGalleryRoutes(*this);
    addGithubRoutes(*this);
    addFileRoutes(*this);
    addWorkerRoutes(*this);
    if (m_options.control)
        addControlRoutes(*this);
}

QUrl DevServer::listen(QString* error)
{
    // Loopback only: the server hands out sessions for a demo account with a published password.
    const quint16 port =
        m_http.listen(QHostAddress(QHostAddress::LocalHost), m_options.port) ? m_http.serverPort() : 0;
    if (port == 0) {
        *error = QStringLiteral("cannot listen on 127.0.0.1 port %1").arg(m_options.port);
        return {};
    }
    m_base = QUrl(QStringLiteral("%1://127.0.0.1:%2/")
                      .arg(m_tls ? QStringLiteral("https") : QStringLiteral("http"))
                      .arg(port));
    return m_base;
}

QString DevServer::address(const QString& path) const
{
    return m_base.toString() + path;
}

void DevServer::addFileRoute(const QString& pattern, FileHandler handler)
{
    m_routes.append(Route{Method::Get, pattern.split(QLatin1Char('/'), Qt::SkipEmptyParts), Handler(),
                          std::move(handler)});
}

void DevServer::addRoute(Method method, const QString& pattern, Handler handler)
{
    m_routes.append(Route{method, pattern.split(QLatin1Char('/'), Qt::SkipEmptyParts), std::move(handler)});
}

std::optional<Session> DevServer::currentSession(const HttpRequest& request)
{
    const std::optional<QByteArray> token = cookieValue(request, QByteArray(sessionCookieName));
    if (!token || token->isEmpty())
        return std::nullopt;
    return m_store.session(QString::fromLatin1(*token));
}

Session DevServer::requireSession(const HttpRequest& request)
{
    std::optional<Session> session = currentSession(request);
    if (!session)
        throw HttpError{StatusCode::Unauthorized, QStringLiteral("Unauthorized")};
    return *session;
}

void DevServer::dispatch(const HttpRequest& request, Responder responder)
{
    const QByteArray method = methodName(request.method());
    const QStringList path = pathSegments(request.url().path(QUrl::FullyEncoded).toUtf8());
    // The control interface itself is never broken, or a test could not undo what it asked for.
    std::optional<Fault> fault;
    if (path.value(0) != QLatin1String("control"))
        fault = m_faults.take(method, path);
    // The path only: queries and headers may carry tokens, and bodies carry passwords.
    const QByteArray logged = method + ' ' + request.url().path(QUrl::FullyEncoded).toUtf8();

    if (fault && fault->bodySize > 0) {
        const int status = fault->status != 0 ? fault->status : 200;
        logLine(logged + ' ' + QByteArray::number(status) + " (injected, " +
                QByteArray::number(fault->bodySize) + " bytes)");
        streamGenerated(StatusCode(status), fault->contentType, fault->bodySize, responder, fault->delayMs);
        return;
    }
    if (fault && fault->status != 0) {
        HttpResponse response(fault->contentType, fault->body, StatusCode(fault->status));
        logLine(logged + ' ' + QByteArray::number(fault->status) + " (injected)");
        if (fault->reset)
            writeReset(response, responder);
        else if (fault->truncate)
            writeTruncated(response, responder);
        else
            writeLater(std::move(response), responder, fault->delayMs);
        return;
    }
    Answer reply = answer(request, path);
    const bool truncate = fault && fault->truncate;
    const int delayMs = fault ? fault->delayMs : 0;
    if (reply.file) {
        logLine(logged + " 200" + (fault ? " (injected)" : ""));
        streamFile(*reply.file, responder, truncate, delayMs);
        return;
    }
    logLine(logged + ' ' + QByteArray::number(int(reply.response->statusCode())) +
            (fault ? " (injected)" : ""));
    if (fault && fault->reset)
        writeReset(*reply.response, responder);
    else if (truncate)
        writeTruncated(*reply.response, responder);
    else
        writeLater(std::move(*reply.response), responder, delayMs);
}

DevServer::Answer DevServer::answer(const HttpRequest& request, const QStringList& path)
{
    QByteArrayList allowed;
    for (const Route& route : std::as_const(m_routes)) {
        QHash<QString, QString> params;
        if (!matches(route.segments, path, &params))
            continue;
        if (route.method != request.method()) {
            allowed.append(methodName(route.method));
            continue;
        }
        Answer reply;
        try {
            if (route.fileHandler)
                reply.file = route.fileHandler(*this, Request{request, params});
            else
                reply.response.emplace(route.handler(*this, Request{request, params}));
        } catch (const HttpError& error) {
            reply.response.emplace(errorResponse(error.status, error.message));
        } catch (const std::exception& error) {
            logLine(QByteArrayLiteral("error: ") + error.what());
            reply.response.emplace(
                errorResponse(StatusCode::InternalServerError, QStringLiteral("Internal server error")));
        }
        return reply;
    }
    Answer reply;
    if (allowed.isEmpty()) {
        reply.response.emplace(errorResponse(StatusCode::NotFound, QStringLiteral("Not found")));
        return reply;
    }
    reply.response.emplace(errorResponse(StatusCode::MethodNotAllowed, QStringLiteral("Method not allowed")));
    reply.response->addHeader(QByteArrayLiteral("Allow"), allowed.join(", "));
    return reply;
}

} // namespace brightloom::devserver
