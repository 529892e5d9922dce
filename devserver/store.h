#pragma once

// Everything the service remembers, in one SQLite file, so accounts, sessions and projects survive
// a restart. Every method either succeeds or throws StoreError; the dispatcher turns that into a
// 500 answer, so route code never has to check for database failures.

#include <QDateTime>
#include <QList>
#include <QSqlQuery>
#include <QString>
#include <QVariant>
#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>

class QSqlDatabase;

namespace brightloom::devserver {

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

private:
    QSqlDatabase database() const;
    QSqlQuery run(const QString& sql, const QVariantList& values = {});
    void runInTransaction(const std::function<void()>& work);
    int schemaVersion();
    void migrate();
    void seedOnce();

    QString m_connection;
};

} // namespace brightloom::devserver
