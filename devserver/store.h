#pragma once

// Everything the service remembers, in one SQLite file, so accounts, sessions and projects survive
// a restart. Every method either succeeds or throws StoreError; the dispatcher turns that into a
// 500 answer, so route code never has to check for database failures.

#include <QDateTime>
#include <QList>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>

class QSqlDatabase;

namespace brightloom::devserver {

// The moment `ms` milliseconds after the epoch, in UTC (written with a "Z").
QDateTime utcTime(qint64 ms);

class StoreError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

struct User
{
    QString id;
    QString name;
    QString email;
};

struct Session
{
    QString token;
    QString userId;
    QDateTime expires; // UTC
};

struct Project
{
    QString id;
    QString name;
    std::optional<bool> unsafe; // absent until the service has an opinion about it
    QDateTime createdAt;        // UTC
    QString userId;
    QString mode; // "source" when this Mac compiles; empty when the service builds
    bool templatePublic = false;
    QString forkedFrom; // the job a fork was started from; empty for a project of its own
    QString importRepo;
    QString importRef;
    QString githubRepo;        // empty while not linked
    QString githubJob;         // the job last pushed there
    qint64 githubSyncedAt = 0; // ms since the epoch, 0 before the first push
};

// What a new project starts with; everything else is filled in by the store.
struct NewProject
{
    QString name;
    std::optional<bool> unsafe;
    QString mode;
    QString forkedFrom;
    QString importRepo;
    QString importRef;
    bool templatePublic = false;
};

struct Message
{
    QString id;
    QString role;
    QString content;
};

// A build job. `step` counts the clock's steps since the job was made; status and stage follow it.
struct Job
{
    QString id;
    QString projectId;
    qint64 createdAt = 0; // ms since the epoch
    QString mode;         // "source", "source-fix" or empty for a build made by the service
    QString prompt;
    QString status;
    int step = 0;
    QString stage;
    QString appName;
    QString version;
    QString summary;
    QString error;
    bool hasSource = true;
    QString fileKey;     // the unguessable folder its files are served from
    QString sourceFault; // how the source archive is to be broken, for tests
    QString failWith;    // when set, the job fails with this text instead of finishing
    QString copiedFrom;  // the job whose result a fork's first job carries
};

struct GalleryEntry
{
    QString slug;
    QString name;
    QString tagline;
    QString blurb;
    QString category;
    bool starred = false;
    bool ai = false;
    qint64 views = 0;
    qint64 favorites = 0; // before this service's own users are counted
    QString templateJob;
};

constexpr std::chrono::seconds sessionLifetime{30 * 24 * 60 * 60};
constexpr std::chrono::seconds oneTimeTokenLifetime{5 * 60};

// The account every fresh data folder starts with, so demos have something to sign in to.
inline constexpr char demoName[] = "Demo";
inline constexpr char demoEmail[] = "demo@brightloom.test";
inline constexpr char demoPassword[] = "brightloom-demo";

class Store
{
public:
    Store();
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    // Opens or creates the database, brings its tables up to the current version and, on the
    // very first start only, adds the demo account.
    void open(const QString& path);

    // nullopt when the e-mail address (compared without regard to case) is taken.
    std::optional<User> createUser(const QString& name, const QString& email, const QString& password);
    std::optional<User> userWithCredentials(const QString& email, const QString& password);
    std::optional<User> user(const QString& id);

    Session createSession(const QString& userId);
    std::optional<Session> session(const QString& token); // nullopt when unknown or expired
    void deleteSession(const QString& token);

    QString createOneTimeToken(const QString& userId);
    // The token's user, once: a second redemption, like an unknown or stale token, gives nullopt.
    std::optional<QString> redeemOneTimeToken(const QString& token);

    QList<Project> projects(const QString& userId); // newest first
    Project createProject(const QString& userId, const QString& name, std::optional<bool> unsafe = {});
    Project createProject(const QString& userId, const NewProject& draft);
    std::optional<Project> project(const QString& id);
    QList<Project> forksOf(const QString& jobId); // oldest first
    void setTemplatePublic(const QString& projectId, bool templatePublic);
    void setProjectName(const QString& projectId, const QString& name);
    void setGithubLink(const QString& projectId, const QString& repo); // empty unlinks
    void setGithubPushed(const QString& projectId, const QString& jobId);

    Message addMessage(const QString& projectId, const QString& role, const QString& content);
    QList<Message> messages(const QString& projectId); // oldest first

    Job createJob(Job draft); // fills in id, file key and creation time
    void saveJob(const Job& job);
    std::optional<Job> job(const QString& id);
    std::optional<Job> jobByFileKey(const QString& fileKey);
    QList<Job> jobs(const QString& projectId); // newest first
    QList<Job> activeJobs();                   // queued or building, oldest first
    int readyJobCount(const QString& projectId);

    QStringList favoriteSlugs(const QString& userId);
    void setFavorite(const QString& userId, const QString& slug, bool favorite);
    qint64 favoriteCount(const QString& slug); // by this service's users

    void addGalleryApp(const GalleryEntry& app);
    QList<GalleryEntry> galleryApps();
    std::optional<GalleryEntry> galleryApp(const QString& slug);

    std::optional<QString> githubLogin(const QString& userId);
    void connectGithub(const QString& userId, const QString& login);

    std::optional<QString> meta(const QString& key);
    void setMeta(const QString& key, const QString& value);

private:
    QSqlDatabase database() const;
    QSqlQuery run(const QString& sql, const QVariantList& values = {});
    void runInTransaction(const std::function<void()>& work);
    int schemaVersion();
    void migrate();
    void seedOnce();
    Job jobFrom(const QSqlQuery& query);
    Project projectFrom(const QSqlQuery& query);

    QString m_connection;
};

} // namespace brightloom::devserver
