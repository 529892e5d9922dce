#pragma once

#include "file_download.h"
#include "record_codec.h"
#include "records.h"
#include "service_limits.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>
#include <chrono>
#include <exception>
#include <optional>
#include <qcoro/qcorofuture.h>
#include <qcoro/qcorotask.h>

class QNetworkAccessManager;
class QThread;

namespace brightloom {

class CookieJar;
class SignInPage;

// The one client of the service: holds its address and the cookie session, sends every request,
// turns failures into errors and keeps what the whole interface watches.
class API final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(API)
    Q_PROPERTY(bool signedIn READ signedIn NOTIFY signedInChanged)
    Q_PROPERTY(bool checking READ checking NOTIFY checkingChanged)
    Q_PROPERTY(QList<brightloom::Project> projects READ projects NOTIFY projectsChanged)

public:
    // The service's address when BRIGHTLOOM_URL does not name another.
    static const char* const builtInAddress;

    explicit API(QObject* parent = nullptr);
    ~API() override;

    // BRIGHTLOOM_URL when it holds an absolute http(s) address, else the built-in address.
    static QUrl chooseBase(const QString& environmentValue);
    // Whether BRIGHTLOOM_URL holds an address chooseBase() takes.
    static bool acceptableBase(const QString& environmentValue);

    bool signedIn() const { return m_signedIn; }
    bool checking() const { return m_checking; }
    const QList<Project>& projects() const { return m_projects; }
    const QUrl& base() const { return m_base; }

    using Limits = ServiceLimits;
    // Redirects within the service that one call follows; the next one is its answer.
    static constexpr int redirectLimit = 10;

    // What a call or a download may take from the network; the product's limits unless changed.
    const Limits& limits() const { return m_limits; }
    void setLimits(const Limits& limits) { m_limits = limits; }
    // How long a request may go without a byte before it fails as timed out; 60 seconds unless
    // changed.
    std::chrono::milliseconds requestTimeout() const { return m_limits.silence; }
    void setRequestTimeout(std::chrono::milliseconds timeout) { m_limits.silence = timeout; }
    // Runs the clock of the time limits `rate` times faster, so that tests see the real limits act.
    void setClockRate(double rate) { m_clockRate = rate > 0 ? rate : 1; }

    // How the browser sign-in page is shown; the front end sets it once.
    void setSignInPage(SignInPage* page) { m_signInPage = page; }

    // Sends one request; answers the reply's bytes for any status below 400.
    QCoro::Task<QByteArray> request(QString path, QByteArray method, std::optional<QJsonObject> body = {});

    // request(), then the reply read as T away from the main thread.
    template <class T>
    QCoro::Task<T> decode(QString path, QByteArray method = "GET", std::optional<QJsonObject> body = {});

    QCoro::Task<> restoreSession();
    QCoro::Task<> loadProjects();
    QCoro::Task<> signIn(QString email, QString password);
    QCoro::Task<> signUp(QString name, QString email, QString password);
    QCoro::Task<> signInWithGoogle();
    QCoro::Task<> signOut();

    // The service's other calls. Identifiers are inserted into paths as they stand.
    QCoro::Task<ProjectDetail> detail(QString projectId);
    QCoro::Task<QString> createProject(QString prompt, bool source, std::optional<QString> importRepo,
                                       std::optional<QString> importRef);
    QCoro::Task<> send(QString prompt, QString projectId, bool fix);
    QCoro::Task<LibraryDetail> libraryDetail(QString projectId);
    QCoro::Task<QList<LibraryApp>> library();
    QCoro::Task<QString> forkTemplate(QString jobId);
    QCoro::Task<QList<GalleryApp>> gallery();   // empty on any failure
    QCoro::Task<QSet<QString>> favoriteSlugs(); // empty on any failure
    QCoro::Task<> setFavorite(QString slug, bool favorite);
    QCoro::Task<std::optional<GithubPanel>> githubPanel(QString projectId); // absent on any failure
    QCoro::Task<QList<GithubRepo>> githubRepos();
    QCoro::Task<> githubLinkRepo(QString projectId, QString repo);
    QCoro::Task<> githubUnlink(QString projectId);
    QCoro::Task<GithubPushResult> githubPush(QString projectId);
    QCoro::Task<WorkerStatus> workerStatus();

    // Saves a disk image into the service's folder of Downloads under `name`, numbered when taken;
    // answers its path.
    QCoro::Task<QString> downloadDmg(QString from, QString name, DownloadProgress progress = {});
    // The same for any file: saved as `name`.`extension` ("zip" keeps an app archive as it came).
    QCoro::Task<QString> downloadNamed(QString from, QString name, QString extension,
                                       DownloadProgress progress = {});
    // Fetches an app archive, unpacks it into a fresh folder of Downloads and answers the app's path.
    QCoro::Task<QString> downloadApp(QString from, DownloadProgress progress = {});

    // The session file downloads go through (no service cookies, extra trust applied), once the TLS
    // library has loaded. It lives on a thread of its own: use it only through fetchToFile().
    QCoro::Task<QNetworkAccessManager*> downloadSession();
    // Begins to load the TLS library and the extra trust on the thread pool, where the first call
    // would begin it otherwise; the window does it as its first frame is painted.
    void beginTlsLoad();
    // Whether the TLS library has begun to load.
    bool tlsLoadBegun() const { return m_tlsStarted; }

    // An icon's address: absolute when the text starts with "http", else resolved against the base.
    std::optional<QUrl> iconURL(const QString& text) const;

Q_SIGNALS:
    void signedInChanged();
    void checkingChanged();
    void projectsChanged();

private:
    // Waits for the TLS library and the extra trust, begun by beginTlsLoad() or else here. Every
    // request and every use of the download session waits for it.
    QCoro::Task<> tlsLoaded();
    QUrl endpoint(const QString& path) const;
    // A time limit as the clock in use runs it.
    std::chrono::milliseconds onClock(std::chrono::milliseconds limit) const;
    // The limits of a download, on the clock in use.
    DownloadLimits downloadLimits() const;
    void setSignedIn(bool value);
    void setChecking(bool value);
    void setProjects(QList<Project> value);

    QUrl m_base;
    QString m_baseText; // the address as it was written, for the "Origin" header
    QString serviceDownloadsFolder() const;

    QNetworkAccessManager* m_network;
    CookieJar* m_cookies = nullptr;     // m_network's
    QNetworkAccessManager* m_downloads; // file downloads: no service cookies, no Origin; on its thread
    QThread* m_downloadThread;
    QFuture<void> m_tls; // loading the TLS library and the extra trust
    bool m_tlsStarted = false;
    SignInPage* m_signInPage = nullptr;
    Limits m_limits;
    double m_clockRate = 1;
    bool m_signedIn = false;
    bool m_checking = true;
    QList<Project> m_projects;
};

namespace detail {

template <class T> struct Decoded
{
    std::optional<T> value;
    std::exception_ptr error;
};

// Starts reading a reply on the thread pool. A plain function, not a coroutine: GCC 12 mishandles a
// lambda that moves a coroutine parameter into its capture.
template <class T> QFuture<Decoded<T>> startDecoding(QByteArray bytes)
{
    return QtConcurrent::run([bytes = std::move(bytes)] {
        Decoded<T> d;
        try {
            d.value = decodeRecord<T>(bytes);
        } catch (...) {
            d.error = std::current_exception();
        }
        return d;
    });
}

// Replies up to this size are read on the calling thread: reading one takes a few microseconds, less
// than the trip to the thread pool and back, which would also wake two threads on every poll.
inline constexpr qsizetype readInPlaceLimit = 16 * 1024;

// Reads a larger reply away from the main thread so it never stalls the window; resumes on the
// caller's thread and rethrows a decoding failure there.
template <class T> QCoro::Task<T> decodeReply(QByteArray bytes)
{
    if (bytes.size() <= readInPlaceLimit)
        co_return decodeRecord<T>(bytes);
    Decoded<T> decoded = co_await startDecoding<T>(std::move(bytes));
    if (decoded.error)
        std::rethrow_exception(decoded.error);
    co_return std::move(*decoded.value);
}

} // namespace detail

template <class T>
QCoro::Task<T> API::decode(QString path, QByteArray method, std::optional<QJsonObject> body)
{
    QByteArray bytes = co_await request(std::move(path), std::move(method), std::move(body));
    co_return co_await detail::decodeReply<T>(std::move(bytes));
}

} // namespace brightloom
