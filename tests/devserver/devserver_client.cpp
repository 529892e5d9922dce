#include "devserver_client.h"

#include "task_runner.h"

#include <QJsonDocument>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QUrlQuery>
#include <memory>
#include <qcoro/qcoronetworkreply.h>

namespace brightloom::test {

namespace {

const QString callbackPrefix = QStringLiteral("brightloom://callback?token=");

Reply readReply(QNetworkReply* reply)
{
    Reply result;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid()) {
        result.transport = reply->errorString();
        return result;
    }
    result.status = status.toInt();
    result.body = reply->readAll();
    result.contentType = reply->rawHeader("Content-Type");
    result.location = reply->rawHeader("Location");
    const auto headers = reply->rawHeaderPairs();
    for (const auto& [name, value] : headers) {
        if (name.compare("Set-Cookie", Qt::CaseInsensitive) == 0)
            result.setCookies.append(value);
    }
    return result;
}

QCoro::Task<Reply> fetch(QNetworkAccessManager* network, QNetworkRequest request, QByteArray verb,
                         QByteArray body)
{
    std::unique_ptr<QNetworkReply> reply(network->sendCustomRequest(request, verb, body));
    co_await reply.get();
    co_return readReply(reply.get());
}

} // namespace

QJsonObject Reply::json() const
{
    return QJsonDocument::fromJson(body).object();
}

QString Reply::message() const
{
    return json().value(QStringLiteral("message")).toString();
}

QJsonObject Reply::user() const
{
    return json().value(QStringLiteral("user")).toObject();
}

Client::Client(const DevServer& server) : m_base(server.baseUrl())
{
    m_tls = QSslConfiguration::defaultConfiguration();
    QList<QSslCertificate> authorities = QSslConfiguration::systemCaCertificates();
    authorities += QSslCertificate::fromPath(server.caFile());
    m_tls.setCaCertificates(authorities);
}

Reply Client::postJson(const QString& path, const QJsonObject& body)
{
    return send("POST", path, QJsonDocument(body).toJson(QJsonDocument::Compact), "application/json");
}

Reply Client::postRaw(const QString& path, const QByteArray& body, const QByteArray& contentType)
{
    return send("POST", path, body, contentType);
}

Reply Client::send(const QByteArray& verb, const QString& path, const QByteArray& body,
                   const QByteArray& contentType)
{
    QNetworkRequest request(m_base.resolved(QUrl(path)));
    request.setSslConfiguration(m_tls);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (!contentType.isEmpty())
        request.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
    const Outcome<Reply> outcome = run(fetch(&m_network, request, verb, body), std::chrono::seconds(10));
    if (!outcome.ok()) {
        Reply failed;
        failed.transport = outcome.errorText();
        return failed;
    }
    return *outcome.value;
}

QString Client::sessionToken() const
{
    const QList<QNetworkCookie> cookies = m_network.cookieJar()->cookiesForUrl(m_base);
    for (const QNetworkCookie& cookie : cookies) {
        if (cookie.name() == sessionCookieName)
            return QString::fromLatin1(cookie.value());
    }
    return {};
}

void Client::useSessionToken(const QString& token)
{
    QNetworkCookie cookie(sessionCookieName, token.toLatin1());
    cookie.setPath(QStringLiteral("/"));
    m_network.cookieJar()->setCookiesFromUrl({cookie}, m_base);
}

QJsonObject credentials(const QString& email, const QString& password)
{
    QJsonObject body;
    body.insert(QStringLiteral("email"), email);
    body.insert(QStringLiteral("password"), password);
    return body;
}

QJsonObject signUpBody(const QString& name, const QString& email, const QString& password)
{
    QJsonObject body = credentials(email, password);
    body.insert(QStringLiteral("name"), name);
    return body;
}

QJsonObject tokenBody(const QString& token)
{
    QJsonObject body;
    body.insert(QStringLiteral("token"), token);
    return body;
}

QByteArray signInForm(const QString& email, const QString& password)
{
    QUrlQuery form;
    form.addQueryItem(QStringLiteral("email"), QString::fromLatin1(QUrl::toPercentEncoding(email)));
    form.addQueryItem(QStringLiteral("password"), QString::fromLatin1(QUrl::toPercentEncoding(password)));
    return form.query(QUrl::FullyEncoded).toLatin1();
}

QString tokenFromCallback(const QByteArray& location)
{
    const QString text = QString::fromUtf8(location);
    return text.startsWith(callbackPrefix) ? text.mid(callbackPrefix.size()) : QString();
}

} // namespace brightloom::test
