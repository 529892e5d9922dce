#include "store.h"

#include "credentials.h"

#include <QAtomicInteger>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QTimeZone>

namespace brightloom::devserver {

QDateTime utcTime(qint64 ms)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    // Qt 6.5 gave QTimeZone a plain UTC and deprecated the overloads taking a Qt::TimeSpec; a
    // zone named "UTC" would read "+00:00" where the service writes "Z".
    return QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::UTC);
#else
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
#endif
}

namespace {

qint64 nowMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

qint64 msFromNow(std::chrono::seconds lifetime)
{
    return nowMs() + std::chrono::duration_cast<std::chrono::milliseconds>(lifetime).count();
}

User userFrom(const QSqlQuery& query)
{
    return User{query.value(0).toString(), query.value(1).toString(), query.value(2).toString()};
}

} // namespace

Store::Store()
{
    // Each store needs its own connection name: tests may open several in one process.
    static QAtomicInteger<int> counter;
    m_connection = QStringLiteral("brightloom-devserver-%1").arg(counter.fetchAndAddRelaxed(1));
}

Store::~Store()
{
    if (!QSqlDatabase::contains(m_connection))
        return;
    {
        QSqlDatabase db = QSqlDatabase::database(m_connection, false);
        db.close();
    }
    QSqlDatabase::removeDatabase(m_connection);
}

void Store::open(const QString& path)
{
    // Sessions and password hashes live in this file: other local accounts have no business
    // reading it. SQLite gives its journal files the same permissions.
    if (!QFile::exists(path)) {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    db.setDatabaseName(path);
    if (!db.open())
        throw StoreError("cannot open " + path.toStdString() + ": " + db.lastError().text().toStdString());
    run(QStringLiteral("PRAGMA foreign_keys = ON"));
    // WAL keeps each small write cheap; the log is folded back into the file when the server stops.
    run(QStringLiteral("PRAGMA journal_mode = WAL"));
    run(QStringLiteral("PRAGMA synchronous = NORMAL"));
    migrate();
    seedOnce();
    run(QStringLiteral("DELETE FROM sessions WHERE expires <= ?"), {nowMs()});
    run(QStringLiteral("DELETE FROM one_time_tokens WHERE expires <= ?"), {nowMs()});
}

QSqlDatabase Store::database() const
{
    return QSqlDatabase::database(m_connection, false);
}

QSqlQuery Store::run(const QString& sql, const QVariantList& values)
{
    QSqlQuery query(database());
    if (!query.prepare(sql))
        throw StoreError("cannot prepare \"" + sql.toStdString() +
                         "\": " + query.lastError().text().toStdString());
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec())
        throw StoreError("\"" + sql.toStdString() + "\" failed: " + query.lastError().text().toStdString());
    return query;
}

void Store::runInTransaction(const std::function<void()>& work)
{
    QSqlDatabase db = database();
    if (!db.transaction())
        throw StoreError("cannot begin a transaction: " + db.lastError().text().toStdString());
    try {
        work();
    } catch (...) {
        db.rollback();
        throw;
    }
    if (!db.commit())
        throw StoreError("cannot commit: " + db.lastError().text().toStdString());
}

std::optional<User> Store::createUser(const QString& name, const QString& email, const QString& password)
{
    if (run(QStringLiteral("SELECT 1 FROM users WHERE email = ?"), {email}).next())
        return std::nullopt;
    const User user{newId(), name, email};
    run(QStringLiteral(
            "INSERT INTO users (id, name, email, password_hash, created_at) VALUES (?, ?, ?, ?, ?)"),
        {user.id, user.name, user.email, QString::fromLatin1(hashPassword(password)), nowMs()});
    return user;
}

std::optional<User> Store::userWithCredentials(const QString& email, const QString& password)
{
    QSqlQuery query =
        run(QStringLiteral("SELECT id, name, email, password_hash FROM users WHERE email = ?"), {email});
    if (!query.next() || !passwordMatches(password, query.value(3).toString().toLatin1()))
        return std::nullopt;
    return userFrom(query);
}

std::optional<User> Store::user(const QString& id)
{
    QSqlQuery query = run(QStringLiteral("SELECT id, name, email FROM users WHERE id = ?"), {id});
    if (!query.next())
        return std::nullopt;
    return userFrom(query);
}

Session Store::createSession(const QString& userId)
{
    const Session session{newToken(), userId, utcTime(msFromNow(sessionLifetime))};
    run(QStringLiteral("INSERT INTO sessions (token, user_id, expires) VALUES (?, ?, ?)"),
        {session.token, session.userId, session.expires.toMSecsSinceEpoch()});
    return session;
}

std::optional<Session> Store::session(const QString& token)
{
    QSqlQuery query =
        run(QStringLiteral("SELECT user_id, expires FROM sessions WHERE token = ? AND expires > ?"),
            {token, nowMs()});
    if (!query.next())
        return std::nullopt;
    return Session{token, query.value(0).toString(), utcTime(query.value(1).toLongLong())};
}

void Store::deleteSession(const QString& token)
{
    run(QStringLiteral("DELETE FROM sessions WHERE token = ?"), {token});
}

QString Store::createOneTimeToken(const QString& userId)
{
    const QString token = newToken();
    run(QStringLiteral("INSERT INTO one_time_tokens (token, user_id, expires, used) VALUES (?, ?, ?, 0)"),
        {token, userId, msFromNow(oneTimeTokenLifetime)});
    return token;
}

std::optional<QString> Store::redeemOneTimeToken(const QString& token)
{
    std::optional<QString> userId;
    runInTransaction([&] {
        QSqlQuery claim =
            run(QStringLiteral(
                    "UPDATE one_time_tokens SET used = 1 WHERE token = ? AND used = 0 AND expires > ?"),
                {token, nowMs()});
        if (claim.numRowsAffected() != 1)
            return;
        QSqlQuery query = run(QStringLiteral("SELECT user_id FROM one_time_tokens WHERE token = ?"), {token});
        if (query.next())
            userId = query.value(0).toString();
    });
    return userId;
}

} // namespace brightloom::devserver
