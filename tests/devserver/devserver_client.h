#pragma once

// Talking to a running brightloom-devserver from a test: one Client per browser or app install,
// each with its own cookies, trusting only the server's own certificate.

#include "child_process.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QNetworkAccessManager>
#include <QSslConfiguration>
#include <QString>
#include <QUrl>

namespace brightloom::test {

inline const QString demoEmail = QStringLiteral("demo@brightloom.test");
inline const QString demoPassword = QStringLiteral("brightloom-demo");
inline const QByteArray sessionCookieName = QByteArrayLiteral("brightloom.session_token");

struct Reply
{
    int status = 0;    // 0 when no HTTP answer came at all
    QString transport; // why, in that case
    QByteArray body;
    QByteArray contentType;
    QByteArray location;
    QList<QByteArray> setCookies;

    QJsonObject json() const;
    QString message() const;  // the "message" of an error answer
    QJsonObject user() const; // the "user" of an auth answer
};

class Client
{
public:
    explicit Client(const DevServer& server);

    Reply get(const QString& path) { return send("GET", path, {}, {}); }
    Reply postJson(const QString& path, const QJsonObject& body);
    Reply postRaw(const QString& path, const QByteArray& body, const QByteArray& contentType);
    // Redirects are never followed: the sign-in page sends the browser to brightloom://.
    Reply send(const QByteArray& verb, const QString& path, const QByteArray& body,
               const QByteArray& contentType);

    QString sessionToken() const; // "" when the client holds no session cookie
    void useSessionToken(const QString& token);

private:
    QUrl m_base;
    QSslConfiguration m_tls;
    QNetworkAccessManager m_network;
};

QJsonObject credentials(const QString& email, const QString& password);
QJsonObject signUpBody(const QString& name, const QString& email, const QString& password);
QJsonObject tokenBody(const QString& token);
QByteArray signInForm(const QString& email, const QString& password); // form-urlencoded

// The token of a brightloom://callback?token=... address, or "" for any other address.
QString tokenFromCallback(const QByteArray& location);

} // namespace brightloom::test
