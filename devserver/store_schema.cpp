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
    // Version 2: conversations, jobs, forks, the gallery, favorites and GitHub links.
    steps.append(QStringList{
        QStringLiteral("ALTER TABLE projects ADD COLUMN mode TEXT"),
        QStringLiteral("ALTER TABLE projects ADD COLUMN template_public INTEGER NOT NULL DEFAULT 0"),
        QStringLiteral("ALTER TABLE projects ADD COLUMN forked_from TEXT"),
        QStringLiteral("ALTER TABLE projects ADD COLUMN import_repo TEXT"),
        QStringLiteral("ALTER TABLE projects ADD COLUMN import_ref TEXT"),
        QStringLiteral("ALTER TABLE projects ADD COLUMN github_repo TEXT"),
        QStringLiteral("ALTER TABLE projects ADD COLUMN github_job TEXT"),
        QStringLiteral("ALTER TABLE projects ADD COLUMN github_synced_at INTEGER"),
        QStringLiteral("CREATE INDEX projects_by_origin ON projects (forked_from)"),
        QStringLiteral("CREATE TABLE messages ("
                       " id TEXT PRIMARY KEY,"
                       " project_id TEXT NOT NULL REFERENCES projects(id) ON DELETE CASCADE,"
                       " role TEXT NOT NULL,"
                       " content TEXT NOT NULL,"
                       " ordering INTEGER NOT NULL)"),
        QStringLiteral("CREATE INDEX messages_by_project ON messages (project_id, ordering)"),
        QStringLiteral("CREATE TABLE jobs ("
                       " id TEXT PRIMARY KEY,"
                       " project_id TEXT NOT NULL REFERENCES projects(id) ON DELETE CASCADE,"
                       " ordering INTEGER NOT NULL,"
                       " created_at INTEGER NOT NULL,"
                       " mode TEXT NOT NULL DEFAULT '',"
                       " prompt TEXT NOT NULL,"
                       " status TEXT NOT NULL,"
                       " step INTEGER NOT NULL DEFAULT 0,"
                       " stage TEXT NOT NULL DEFAULT '',"
                       " app_name TEXT NOT NULL DEFAULT '',"
                       " version TEXT NOT NULL DEFAULT '',"
                       " summary TEXT NOT NULL DEFAULT '',"
                       " error TEXT NOT NULL DEFAULT '',"
                       " has_source INTEGER NOT NULL DEFAULT 1,"
                       " file_key TEXT NOT NULL UNIQUE,"
                       " source_fault TEXT NOT NULL DEFAULT '',"
                       " fail_with TEXT NOT NULL DEFAULT '',"
                       " copied_from TEXT NOT NULL DEFAULT '')"),
        QStringLiteral("CREATE INDEX jobs_by_project ON jobs (project_id, ordering)"),
        QStringLiteral("CREATE INDEX jobs_by_status ON jobs (status)"),
        QStringLiteral("CREATE TABLE favorites ("
                       " user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,"
                       " slug TEXT NOT NULL,"
                       " PRIMARY KEY (user_id, slug))"),
        QStringLiteral("CREATE TABLE gallery_apps ("
                       " slug TEXT PRIMARY KEY,"
                       " ordering INTEGER NOT NULL,"
                       " name TEXT NOT NULL,"
                       " tagline TEXT NOT NULL,"
                       " blurb TEXT NOT NULL,"
                       " category TEXT NOT NULL,"
                       " starred INTEGER NOT NULL,"
                       " ai INTEGER NOT NULL,"
                       " views INTEGER NOT NULL,"
                       " favorites INTEGER NOT NULL,"
                       " template_job TEXT NOT NULL DEFAULT '')"),
        QStringLiteral("CREATE TABLE github_accounts ("
                       " user_id TEXT PRIMARY KEY REFERENCES users(id) ON DELETE CASCADE,"
                       " login TEXT NOT NULL)"),
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
