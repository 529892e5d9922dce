// The control interface for tests and demos, offered only with --control and answered only to
// loopback clients: step the job clock, set the worker status, break the next replies of a path,
// and make the next jobs fail or carry a hostile source archive. docs/devserver.md lists the calls.

#include "dev_server.h"
#include "http_util.h"
#include "job_files.h"
#include "routes.h"

#include <QJsonDocument>

namespace brightloom::devserver {

namespace {

using Method = DevServer::Method;

void requireLoopback(const Request& request)
{
    if (!request.http.remoteAddress().isLoopback())
        throw HttpError{StatusCode::Forbidden,
                        QStringLiteral("The control interface answers only on loopback")};
}

// The body as an object; an empty body counts as {} so the simple calls need none.
QJsonObject controlBody(const Request& request)
{
    if (request.http.body().trimmed().isEmpty())
        return {};
    return jsonObjectBody(request.http);
}

int intField(const QJsonObject& body, const QString& name, int fallback, int minimum, int maximum)
{
    const QJsonValue value = body.value(name);
    if (value.isUndefined() || value.isNull())
        return fallback;
    const double number = value.toDouble(-1);
    if (!value.isDouble() || number != double(qint64(number)) || number < minimum || number > maximum)
        throw HttpError{StatusCode::BadRequest,
                        QStringLiteral("Field \"%1\" must be a whole number from %2 to %3")
                            .arg(name)
                            .arg(minimum)
                            .arg(maximum)};
    return int(number);
}

bool boolField(const QJsonObject& body, const QString& name, bool fallback)
{
    const QJsonValue value = body.value(name);
    if (value.isUndefined() || value.isNull())
        return fallback;
    if (!value.isBool())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Field \"%1\" must be a Boolean").arg(name)};
    return value.toBool();
}

QString textField(const QJsonObject& body, const QString& name, const QString& fallback)
{
    const QJsonValue value = body.value(name);
    if (value.isUndefined() || value.isNull())
        return fallback;
    if (!value.isString())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Field \"%1\" must be a string").arg(name)};
    return value.toString();
}

HttpResponse stepClock(DevServer& server, const Request& request)
{
    requireLoopback(request);
    const int steps = intField(controlBody(request), QStringLiteral("steps"), 1, 1, 1000);
    int active = 0;
    for (int i = 0; i < steps; ++i)
        active = server.clock().step();
    QJsonObject reply;
    reply.insert(QStringLiteral("steps"), steps);
    reply.insert(QStringLiteral("active"), active);
    return jsonResponse(reply);
}

HttpResponse finishJobs(DevServer& server, const Request& request)
{
    requireLoopback(request);
    QJsonObject reply;
    reply.insert(QStringLiteral("steps"), server.clock().finishAll());
    reply.insert(QStringLiteral("active"), int(server.store().activeJobs().size()));
    return jsonResponse(reply);
}

HttpResponse setWorkerStatus(DevServer& server, const Request& request)
{
    requireLoopback(request);
    const QJsonObject body = controlBody(request);
    WorkerState state;
    state.online = boolField(body, QStringLiteral("online"), true);
    state.delayed = boolField(body, QStringLiteral("delayed"), false);
    state.reason = textField(body, QStringLiteral("reason"), QString());
    server.clock().setWorkerState(state);
    QJsonObject reply;
    reply.insert(QStringLiteral("online"), state.online);
    reply.insert(QStringLiteral("delayed"), state.delayed);
    if (!state.reason.isEmpty())
        reply.insert(QStringLiteral("reason"), state.reason);
    return jsonResponse(reply);
}

HttpResponse addFault(DevServer& server, const Request& request)
{
    requireLoopback(request);
    const QJsonObject body = controlBody(request);
    Fault fault;
    const QString path = textField(body, QStringLiteral("path"), QString());
    fault.pattern = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (fault.pattern.isEmpty() || fault.pattern.value(0) == QLatin1String("control"))
        throw HttpError{StatusCode::BadRequest,
                        QStringLiteral("Field \"path\" must name a path outside control/")};
    fault.method = textField(body, QStringLiteral("method"), QString()).toUpper().toLatin1();
    fault.remaining = intField(body, QStringLiteral("count"), 1, 1, 1000000);
    fault.status = intField(body, QStringLiteral("status"), 0, 0, 599);
    if (fault.status != 0 && fault.status < 100)
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Field \"status\" must be an HTTP status")};
    fault.delayMs = intField(body, QStringLiteral("delayMs"), 0, 0, 600000);
    fault.truncate = boolField(body, QStringLiteral("truncate"), false);
    fault.reset = boolField(body, QStringLiteral("reset"), false);
    fault.bodySize = intField(body, QStringLiteral("bodySize"), 0, 0, 1 << 30);
    if (body.value(QStringLiteral("json")).isObject()) {
        fault.body =
            QJsonDocument(body.value(QStringLiteral("json")).toObject()).toJson(QJsonDocument::Compact);
        fault.contentType = QByteArrayLiteral("application/json");
    } else if (body.contains(QStringLiteral("html"))) {
        fault.body = textField(body, QStringLiteral("html"), QString()).toUtf8();
        fault.contentType = QByteArrayLiteral("text/html; charset=utf-8");
    } else if (body.contains(QStringLiteral("body"))) {
        fault.body = textField(body, QStringLiteral("body"), QString()).toUtf8();
        fault.contentType =
            textField(body, QStringLiteral("contentType"), QStringLiteral("text/plain")).toUtf8();
    } else {
        fault.body = QByteArrayLiteral(R"({"message":"Injected failure"})");
        fault.contentType = QByteArrayLiteral("application/json");
    }
    if (fault.status == 0 && fault.delayMs == 0 && !fault.truncate && !fault.reset && fault.bodySize == 0)
        throw HttpError{StatusCode::BadRequest,
                        QStringLiteral("A fault needs a status, a delayMs, truncate, reset or a bodySize")};
    server.faults().add(fault);
    QJsonObject reply;
    reply.insert(QStringLiteral("pending"), server.faults().pending());
    return jsonResponse(reply);
}

HttpResponse clearFaults(DevServer& server, const Request& request)
{
    requireLoopback(request);
    server.faults().clear();
    QJsonObject reply;
    reply.insert(QStringLiteral("pending"), 0);
    return jsonResponse(reply);
}

HttpResponse failNextJobs(DevServer& server, const Request& request)
{
    requireLoopback(request);
    const QJsonObject body = controlBody(request);
    const int count = intField(body, QStringLiteral("count"), 1, 1, 1000);
    const QString error = textField(body, QStringLiteral("error"), QStringLiteral("The build failed."));
    server.clock().failNextJobs(count, error);
    QJsonObject reply;
    reply.insert(QStringLiteral("count"), count);
    return jsonResponse(reply);
}

HttpResponse breakNextSource(DevServer& server, const Request& request)
{
    requireLoopback(request);
    const QString fault = textField(controlBody(request), QStringLiteral("fault"), QString());
    if (!jobfiles::isSourceFault(fault))
        throw HttpError{StatusCode::BadRequest,
                        QStringLiteral("Field \"fault\" must be symlink, escape, manifest or compile")};
    server.clock().breakNextSource(fault);
    QJsonObject reply;
    reply.insert(QStringLiteral("fault"), fault);
    return jsonResponse(reply);
}

HttpResponse setTemplatePublic(DevServer& server, const Request& request)
{
    requireLoopback(request);
    const QString id = request.param(QStringLiteral("id"));
    if (!server.store().project(id))
        throw HttpError{StatusCode::NotFound, QStringLiteral("Project not found")};
    const bool shared = boolField(controlBody(request), QStringLiteral("public"), true);
    server.store().setTemplatePublic(id, shared);
    QJsonObject reply;
    reply.insert(QStringLiteral("templatePublic"), shared);
    return jsonResponse(reply);
}

} // namespace

void addControlRoutes(DevServer& server)
{
    server.addRoute(Method::Post, QStringLiteral("control/clock/step"), stepClock);
    server.addRoute(Method::Post, QStringLiteral("control/clock/finish"), finishJobs);
    server.addRoute(Method::Put, QStringLiteral("control/worker-status"), setWorkerStatus);
    server.addRoute(Method::Post, QStringLiteral("control/faults"), addFault);
    server.addRoute(Method::Delete, QStringLiteral("control/faults"), clearFaults);
    server.addRoute(Method::Post, QStringLiteral("control/jobs/fail-next"), failNextJobs);
    server.addRoute(Method::Post, QStringLiteral("control/source/next"), breakNextSource);
    server.addRoute(Method::Put, QStringLiteral("control/projects/{id}/template"), setTemplatePublic);
}

} // namespace brightloom::devserver
