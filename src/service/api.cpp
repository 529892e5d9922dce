#include "api.h"

#include "api_error.h"
#include "bounded_reply.h"
#include "cookie_jar.h"
#include "decompression_failure.h"
#include "extra_trust.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslSocket>
#include <QThread>
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
    if (const QString undone = decompressionFailure(reply, QStringLiteral("The service's reply"));
        !undone.isEmpty())
        return undone;
    return QStringLiteral("Could not reach the service: ") + reply.errorString();
}

bool isHttp(const QString& scheme)
{
    return scheme == QLatin1String("https") || scheme == QLatin1String("http");
}

// Scheme, host and port, the port as the scheme implies it when the address names none.
bool sameOrigin(const QUrl& a, const QUrl& b)
{
    const auto port = [](const QUrl& url) {
        return url.port(url.scheme() == QLatin1String("https")  ? 443
                        : url.scheme() == QLatin1String("http") ? 80
                                                                : -1);
    };
    return a.scheme() == b.scheme() && a.host() == b.host() && port(a) == port(b);
}

// Where a redirect from `from` leads, when the call may follow it: only within the same origin, so
// that nothing the request carries (a password, the session cookie) goes anywhere else.
std::optional<QUrl> redirectTarget(const QUrl& from, const QByteArray& location)
{
    if (location.isEmpty())
        return std::nullopt;
    const QUrl relative = QUrl::fromEncoded(location, QUrl::StrictMode);
    if (!relative.isValid())
        return std::nullopt;
    const QUrl target = from.resolved(relative);
    if (!target.isValid() || !isHttp(target.scheme()) || !sameOrigin(from, target))
        return std::nullopt;
    return target;
}

} // namespace

const char* const API::builtInAddress = "https://brightloom.app/";

API::API(QObject* parent)
    : QObject(parent), m_network(new QNetworkAccessManager(this)), m_downloads(new QNetworkAccessManager),
      m_downloadThread(new QThread(this))
{
    // Downloads run on a thread of their own: a large one arrives in tens of thousands of small
    // pieces, which would each cost the main thread an event.
    m_downloadThread->setObjectName(QStringLiteral("Brightloom downloads"));
    m_downloads->moveToThread(m_downloadThread);
    m_downloadThread->start();
    const QString environment = qEnvironmentVariable("BRIGHTLOOM_URL");
    m_base = chooseBase(environment);
    // The address as written: the parsed form lowers the scheme's case and decodes escapes.
    m_baseText = acceptableBase(environment) ? environment : QString::fromLatin1(builtInAddress);
    m_cookies = new CookieJar(CookieJar::defaultFolder(), m_network);
    m_network->setCookieJar(m_cookies);
}

API::~API()
{
    // The TLS library connects to the application while it loads: it must not outlive it.
    m_tls.waitForFinished();
    // The session goes on its own thread, which deletes it as it finishes; transfers still under way
    // end with it.
    m_downloads->deleteLater();
    m_downloadThread->quit();
    m_downloadThread->wait();
}

bool API::acceptableBase(const QString& environmentValue)
{
    if (environmentValue.isEmpty())
        return false;
    const QUrl url(environmentValue, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty() && isHttp(url.scheme());
}

QUrl API::chooseBase(const QString& environmentValue)
{
    if (acceptableBase(environmentValue))
        return QUrl(environmentValue, QUrl::StrictMode);
    return QUrl(QString::fromLatin1(builtInAddress));
}

std::chrono::milliseconds API::onClock(std::chrono::milliseconds limit) const
{
    return std::chrono::milliseconds(qint64(double(limit.count()) / m_clockRate));
}

DownloadLimits API::downloadLimits() const
{
    return DownloadLimits{onClock(m_limits.silence), m_limits.downloadBytes};
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

void API::beginTlsLoad()
{
    // Loading the TLS library and reading the extra trust take a good part of a start. They run on
    // the pool; begun before the window's first frame, on a two-core machine they slowed it.
    if (m_tlsStarted)
        return;
    m_tlsStarted = true;
    m_tls = QtConcurrent::run([] {
        applyExtraTrust();
        QSslSocket::supportsSsl();
    });
}

QCoro::Task<> API::tlsLoaded()
{
    beginTlsLoad();
    if (!m_tls.isFinished())
        co_await m_tls;
}

QCoro::Task<QNetworkAccessManager*> API::downloadSession()
{
    co_await tlsLoaded();
    co_return m_downloads;
}

QCoro::Task<QByteArray> API::request(QString path, QByteArray method, std::optional<QJsonObject> body)
{
    co_await tlsLoaded();
    // The session another process began or ended since the last call counts for this one.
    co_await m_cookies->refresh();
    QUrl url = endpoint(path);
    std::optional<QByteArray> data;
    if (body)
        data = QJsonDocument(*body).toJson(QJsonDocument::Compact);
    // One deadline for the whole call, redirects included; silence is limited per reply.
    const QDeadlineTimer deadline(onClock(m_limits.whole));
    const qint64 maxBytes = m_limits.replyBytes;
    const int silence = int(onClock(m_limits.silence).count());
    for (int followed = 0;; ++followed) {
        QNetworkRequest request(url);
        // Redirects are judged here, not by the network layer, which would follow them elsewhere.
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        request.setTransferTimeout(silence);
        request.setRawHeader("Origin", m_baseText.toUtf8());
        if (data)
            request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
        std::unique_ptr<QNetworkReply, DeleteLater> reply(
            data ? m_network->sendCustomRequest(request, method, *data)
                 : m_network->sendCustomRequest(request, method));
        BoundedBody read = co_await readBounded(reply.get(), maxBytes, deadline);
        // A session the reply began or ended is kept before the call goes on, failed or not, so that
        // a process that ends right after it (the command line) leaves it for the next one. (Should
        // the client go meanwhile, its jar goes too, and this never resumes.)
        co_await m_cookies->settle();

        if (read.tooLarge)
            throw APIError(QStringLiteral("The service's reply was larger than ") + sizeText(maxBytes) +
                           QLatin1Char('.'));
        if (read.timedOut)
            throw TransportError(QStringLiteral("The request timed out."));
        const QVariant statusValue = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        const int status = statusValue.isValid() ? statusValue.toInt() : 0;
        if (status >= 400)
            throw APIError(errorText(read.bytes, status), status);
        if (reply->error() != QNetworkReply::NoError)
            throw TransportError(transportText(*reply));
        // Below 400 is success, redirects included: one within the service is followed, any other
        // is the answer as it stands.
        if (status >= 300 && followed < redirectLimit) {
            if (const auto target = redirectTarget(url, reply->rawHeader("Location"))) {
                // 301 and 302 turn a POST into a GET, as browsers do; 303 asks with GET whatever
                // the method; 307 and 308 repeat the request as it was.
                const bool toGet = (status == 303 && method != "HEAD") ||
                                   ((status == 301 || status == 302) && method == "POST");
                if (toGet) {
                    method = "GET";
                    data.reset();
                }
                url = *target;
                continue;
            }
        }
        co_return std::move(read.bytes);
    }
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
