#pragma once

// The HTTP side of the service: one listener on 127.0.0.1 whose requests all pass through a
// small router of our own. Going through one place lets the service tell an unknown path (404)
// from a wrong method (405), log every request, turn handler failures into JSON errors, and apply
// the faults that tests line up through the control interface.

#include "fault_injector.h"
#include "http_listener.h"
#include "http_message.h"
#include "job_clock.h"
#include "options.h"
#include "reply_delivery.h"
#include "store.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSslConfiguration>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>

namespace brightloom::devserver {

// What a handler gets: the request itself and the values of the pattern's {placeholders}.
struct Request
{
    const HttpRequest& http;
    QHash<QString, QString> params;

    QString param(const QString& name) const { return params.value(name); }
};

class DevServer final : public QObject
{
    Q_OBJECT

public:
    using Method = devserver::Method;
    using Handler = std::function<HttpResponse(DevServer&, const Request&)>;
    // For downloads: names the file to stream, or throws HttpError.
    using FileHandler = std::function<FileReply(DevServer&, const Request&)>;

    // Without `tls` the server speaks plain HTTP. Every route of the service is added here.
    DevServer(const Options& options, Store& store, std::optional<QSslConfiguration> tls,
              QObject* parent = nullptr);

    // Starts listening; the base address (e.g. "https://127.0.0.1:43817/"), or an empty QUrl with
    // the reason in `error`.
    QUrl listen(QString* error);

    // `pattern` is relative to the base address; a segment written "{name}" matches any one segment.
    void addRoute(Method method, const QString& pattern, Handler handler);
    void addFileRoute(const QString& pattern, FileHandler handler); // GET

    Store& store() { return m_store; }
    JobClock& clock() { return m_clock; }
    FaultInjector& faults() { return m_faults; }
    // `path` (no leading slash) as an absolute address on this server.
    QString address(const QString& path) const;
    const Options& options() const { return m_options; }
    bool secure() const { return m_tls.has_value(); }

    // The session the request's cookie names, if it is known and still valid.
    std::optional<Session> currentSession(const HttpRequest& request);
    // The same for routes that need someone signed in: without a valid session it throws the
    // service's 401 "Unauthorized".
    Session requireSession(const HttpRequest& request);

private:
    struct Route
    {
        Method method;
        QStringList segments;
        Handler handler;
        FileHandler fileHandler;
    };

    // What a route produced: a response, or a file to stream.
    struct Answer
    {
        std::optional<HttpResponse> response;
        std::optional<FileReply> file;
    };

    void dispatch(const HttpRequest& request, Responder responder);
    Answer answer(const HttpRequest& request, const QStringList& path);

    Options m_options;
    Store& m_store;
    std::optional<QSslConfiguration> m_tls;
    HttpListener m_http;
    QList<Route> m_routes;
    JobClock m_clock;
    FaultInjector m_faults;
    QUrl m_base;
};

} // namespace brightloom::devserver
