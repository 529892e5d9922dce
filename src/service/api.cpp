#include "api.h"

#include "api_error.h"
#include "cookie_jar.h"
#include "extra_trust.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <memory>
#include <qcoro/qcoronetworkreply.h>

namespace brightloom {
namespace {

struct DeleteLater
{
    void operator()(QObject* object) const { object->deleteLater(); }
};

// "message", else "error", else "Request failed (status)".
QString errorText(const QByteArray& body, int status)
{
    const QJsonDocument doc = QJsonDocument::fromJson(body);
    if (doc.isObject()) {
        const QJsonObject object = doc.object();
        if (const QJsonValue message = object.value(QLatin1String("message")); message.isString())
            return message.toString();
        if (const QJsonValue error = object.value(QLatin1String("error")); error.isString())
            return error.toString();
    }
    return QStringLiteral("Request failed (") + QString::number(status) + QLatin1Char(')');
}

QString transportText(const QNetworkReply& reply)
{
    if (reply.error() == QNetworkReply::OperationCanceledError ||
        reply.error() == QNetworkReply::TimeoutError)
        return QStringLiteral("The request timed out.");
    return QStringLiteral("Could not reach the service: ") + reply.errorString();
}

} // namespace

const char* const API::builtInAddress = "https://brightloom.app/";

API::API(QObject* parent)
    : QObject(parent), m_network(new QNetworkAccessManager(this)),
      m_downloads(new QNetworkAccessManager(this))
{
    applyExtraTrust();
    m_base = chooseBase(qEnvironmentVariable("BRIGHTLOOM_URL"));
    m_network->setCookieJar(new CookieJar(CookieJar::defaultFile(), m_network));
}

API::~API() = default;

QUrl API::chooseBase(const QString& environmentValue)
{
    if (!environmentValue.isEmpty()) {
        const QUrl url(environmentValue, QUrl::StrictMode);
        const QString scheme = url.scheme();
        if (url.isValid() && !url.host().isEmpty() &&
            (scheme == QLatin1String("https") || scheme == QLatin1String("http")))
            return url;
    }
    return QUrl(QString::fromLatin1(builtInAddress));
}

QUrl API::endpoint(const QString& path) const
{
    // The path is appended as one more path component, as it stands (ids hold no slashes of their own).
    QUrl url = m_base;
    QString basePath = url.path();
    if (!basePath.endsWith(QLatin1Char('/')))
        basePath += QLatin1Char('/');
    url.setPath(basePath + path, QUrl::DecodedMode);
    url.setQuery(QString());
    url.setFragment(QString());
    return url;
}

QCoro::Task<QByteArray> API::request(QString path, QByteArray method, std::optional<QJsonObject> body)
{
    QNetworkRequest request(endpoint(path));
    request.setTransferTimeout(int(m_timeout.count()));
    request.setRawHeader("Origin", m_base.toString(QUrl::FullyEncoded).toUtf8());
    QByteArray data;
    if (body) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
        data = QJsonDocument(*body).toJson(QJsonDocument::Compact);
    }
    std::unique_ptr<QNetworkReply, DeleteLater> reply(
        body ? m_network->sendCustomRequest(request, method, data)
             : m_network->sendCustomRequest(request, method));
    co_await reply.get();

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid() && status.toInt() >= 400)
        throw APIError(errorText(reply->readAll(), status.toInt()));
    if (reply->error() != QNetworkReply::NoError)
        throw TransportError(transportText(*reply));
    co_return reply->readAll();
}

void API::setSignedIn(bool value)
{
    if (m_signedIn == value)
        return;
    m_signedIn = value;
    Q_EMIT signedInChanged();
}

void API::setChecking(bool value)
{
    if (m_checking == value)
        return;
    m_checking = value;
    Q_EMIT checkingChanged();
}

void API::setProjects(QList<Project> value)
{
    if (m_projects == value)
        return;
    m_projects = std::move(value);
    Q_EMIT projectsChanged();
}

} // namespace brightloom
