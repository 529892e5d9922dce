#pragma once

// A small HTTP/1.1 server on 127.0.0.1 for tests: it records every request exactly as it arrived
// (method, path, headers, body) and answers with whatever the test scripts, including replies that
// are slow or cut short. With a certificate it speaks HTTPS.

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>
#include <QTcpServer>
#include <QUrl>
#include <functional>

namespace brightloom::test {

struct RecordedRequest
{
    QByteArray method;
    QByteArray target; // path and query as sent, e.g. "/api/projects"
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    bool hasHeader(const QByteArray& name) const;
    QByteArray header(const QByteArray& name) const; // "" when absent
    QString path() const;                            // target without the query
};

struct ScriptedReply
{
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json";
    QList<QPair<QByteArray, QByteArray>> headers;
    bool cutShort = false; // declare the full length, send half, then close
    int delayMs = 0;       // wait this long before answering

    static ScriptedReply json(int status, const QByteArray& body);
    static ScriptedReply html(int status, const QByteArray& body);
};

class RecordingServer final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RecordingServer)

public:
    using Handler = std::function<ScriptedReply(const RecordedRequest&)>;

    // Plain HTTP; or HTTPS when a certificate and key are given.
    explicit RecordingServer(QObject* parent = nullptr);
    RecordingServer(const QSslCertificate& certificate, const QSslKey& key, QObject* parent = nullptr);
    ~RecordingServer() override;

    // Answers "METHOD /path" (or "/path" for every method); anything else gets a JSON 404.
    void on(const QString& route, ScriptedReply reply);
    void setHandler(Handler handler) { m_handler = std::move(handler); }

    QUrl baseUrl() const; // "http://127.0.0.1:PORT/"
    const QList<RecordedRequest>& requests() const { return m_requests; }
    QList<RecordedRequest> requestsTo(const QString& path) const;
    void clear() { m_requests.clear(); }

private:
    void accept();
    void serve(QTcpSocket* socket);
    ScriptedReply answer(const RecordedRequest& request) const;
    void respond(QTcpSocket* socket, const ScriptedReply& reply);

    QTcpServer* m_server = nullptr;
    bool m_tls = false;
    QMap<QString, ScriptedReply> m_routes;
    Handler m_handler;
    QList<RecordedRequest> m_requests;
    QHash<QTcpSocket*, QByteArray> m_buffers;
};

// A self-signed certificate for 127.0.0.1 made with openssl for this test run; `caFile` is its PEM.
struct TestCertificate
{
    QSslCertificate certificate;
    QSslKey key;
    QString caFile;
    static const TestCertificate& shared();
};

} // namespace brightloom::test
