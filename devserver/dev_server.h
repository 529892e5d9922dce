#pragma once

// The HTTP side of the service: one QHttpServer on 127.0.0.1 whose requests all pass through a
// small router of our own. Going through one place lets the service tell an unknown path (404)
// from a wrong method (405), log every request, and turn handler failures into JSON errors; the
// fault injection planned for the control interface will hook in there too.

#include "options.h"
#include "store.h"

#include <QHash>
#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
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
    const QHttpServerRequest& http;
    QHash<QString, QString> params;

    QString param(const QString& name) const { return params.value(name); }
};

class DevServer final : public QObject
{
    Q_OBJECT

public:
    using Method = QHttpServerRequest::Method;
    using Handler = std::function<QHttpServerResponse(DevServer&, const Request&)>;

    // Without `tls` the server speaks plain HTTP. Every route of the service is added here.
    DevServer(const Options& options, Store& store, std::optional<QSslConfiguration> tls,
              QObject* parent = nullptr);

    // Starts listening; the base address (e.g. "https://127.0.0.1:43817/"), or an empty QUrl with
    // the reason in `error`.
    QUrl listen(QString* error);

    // `pattern` is relative to the base address; a segment written "{name}" matches any one segment.
    void addRoute(Method method, const QString& pattern, Handler handler);

    Store& store() { return m_store; }
    const Options& options() const { return m_options; }
    bool secure() const { return m_tls.has_value(); }

    // The session the request's cookie names, if it is known and still valid.
    std::optional<Session> currentSession(const QHttpServerRequest& request);
    // The same for routes that need someone signed in: without a valid session it throws the
    // service's 401 "Unauthorized".
    Session requireSession(const QHttpServerRequest& request);

private:
    struct Route
    {
        Method method;
        QStringList segments;
        Handler handler;
    };

    void dispatch(const QHttpServerRequest& request, QHttpServerResponder&& responder);
    QHttpServerResponse answer(const QHttpServerRequest& request);

    Options m_options;
    Store& m_store;
    std::optional<QSslConfiguration> m_tls;
    QHttpServer m_http;
    QList<Route> m_routes;
};

} // namespace brightloom::devserver
