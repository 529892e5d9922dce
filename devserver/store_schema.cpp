// The tables of the store and how an older data folder is brought up to date. Each entry of
// `migrations` moves the schema one version on; existing entries never change once shipped, since
// data folders made by earlier builds have already run them.

#include "store.h"

#include <QSqlDatabase>
#include <QStringList>

namespace brightloom::devserver {

namespace {

QList<QStringList> migrations()
{
    QList<QStringList> steps;
    // Version 1: accounts, sessions and projects.
    steps.append(QStringList{
        QStringLiteral("CREATE TABLE users ("
                       " id TEXT PRIMARY KEY,"
                       " name TEXT NOT NULL,"
                       " email TEXT NOT NULL UNIQUE COLLATE NOCASE,"
                       " password_hash TEXT NOT NULL,"
                       " created_at INTEGER NOT NULL)"),
        QStringLiteral("CREATE TABLE sessions ("
                       " token TEXT PRIMARY KEY,"
                       " user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,"
                       " expires INTEGER NOT NULL)"),
        QStringLiteral("CREATE TABLE one_time_tokens ("
                       " token TEXT PRIMARY KEY,"
                       " user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,"
                       " expires INTEGER NOT NULL,"
                       " used INTEGER NOT NULL DEFAULT 0)"),
        QStringLiteral("CREATE TABLE projects ("
                       " id TEXT PRIMARY KEY,"
                       " user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,"
                       " name TEXT NOT NULL,"
                       " unsafe INTEGER,"
                       " created_at INTEGER NOT NULL,"
                       " ordering INTEGER NOT NULL)"),
        QStringLiteral("CREATE INDEX projects_by_user ON projects (user_id, created_at)"),
        // Facts about the data folder itself, such as whether the demo account was ever added.
        QStringLiteral("CREATE TABLE meta (key TEXT PRIMARY KEY, value TEXT NOT NULL)"),
    });
    return steps;
}

} // namespace

int Store::schemaVersion()
{
    run(QStringLiteral("CREATE TABLE IF NOT EXISTS schema_version (version INTEGER NOT NULL)"));
    QSqlQuery query = run(QStringLiteral("SELECT version FROM schema_version"));
    return query.next() ? query.value(0).toInt() : 0;
}

void Store::migrate()
{
    const QList<QStringList> steps = migrations();
    const int current = schemaVersion();
    if (current > steps.size())
        throw StoreError("the data folder was made by a newer devserver (schema version " +
                         std::to_string(current) + ")");
    for (int version = current + 1; version <= steps.size(); ++version) {
        runInTransaction([&] {
            for (const QString& statement : steps[version - 1])
                run(statement);
            run(QStringLiteral("DELETE FROM schema_version"));
            run(QStringLiteral("INSERT INTO schema_version (version) VALUES (?)"), {version});
        });
    }
}

void Store::seedOnce()
{
    // Remembered apart from the accounts themselves: a demo account the user deleted stays deleted.
    if (run(QStringLiteral("SELECT 1 FROM meta WHERE key = 'seeded'")).next())
        return;
    runInTransaction([&] {
        const std::optional<User> demo = createUser(
            QString::fromLatin1(demoName), QString::fromLatin1(demoEmail), QString::fromLatin1(demoPassword));
        if (demo) {
            // Made oldest first, so the list reads "Pomodoro Timer", "Recipe Box".
            createProject(demo->id, QStringLiteral("Recipe Box"));
            createProject(demo->id, QStringLiteral("Pomodoro Timer"));
        }
        run(QStringLiteral("INSERT INTO meta (key, value) VALUES ('seeded', ?)"),
            {QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)});
    });
}

} // namespace brightloom::devserver
