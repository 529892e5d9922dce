// Projects, their conversations and their build jobs.

#include "credentials.h"
#include "store.h"

namespace brightloom::devserver {

namespace {

const QString projectColumns =
    QStringLiteral("id, name, unsafe, created_at, user_id, mode, template_public, forked_from, import_repo, "
                   "import_ref, github_repo, github_job, github_synced_at");

const QString jobColumns =
    QStringLiteral("id, project_id, created_at, mode, prompt, status, step, stage, app_name, version, "
                   "summary, error, has_source, file_key, source_fault, fail_with, copied_from");

QVariant nullableText(const QString& text)
{
    return text.isEmpty() ? QVariant(QMetaType::fromType<QString>()) : QVariant(text);
}

// An empty text as '' rather than NULL, for the columns that are never NULL.
QString text(const QString& value)
{
    return value.isNull() ? QString(QLatin1String("")) : value;
}

} // namespace

Project Store::projectFrom(const QSqlQuery& query)
{
    Project project;
    project.id = query.value(0).toString();
    project.name = query.value(1).toString();
    if (!query.value(2).isNull())
        project.unsafe = query.value(2).toBool();
    project.createdAt = utcTime(query.value(3).toLongLong());
    project.userId = query.value(4).toString();
    project.mode = query.value(5).toString();
    project.templatePublic = query.value(6).toBool();
    project.forkedFrom = query.value(7).toString();
    project.importRepo = query.value(8).toString();
    project.importRef = query.value(9).toString();
    project.githubRepo = query.value(10).toString();
    project.githubJob = query.value(11).toString();
    project.githubSyncedAt = query.value(12).toLongLong();
    return project;
}

Job Store::jobFrom(const QSqlQuery& query)
{
    Job job;
    job.id = query.value(0).toString();
    job.projectId = query.value(1).toString();
    job.createdAt = query.value(2).toLongLong();
    job.mode = query.value(3).toString();
    job.prompt = query.value(4).toString();
    job.status = query.value(5).toString();
    job.step = query.value(6).toInt();
    job.stage = query.value(7).toString();
    job.appName = query.value(8).toString();
    job.version = query.value(9).toString();
    job.summary = query.value(10).toString();
    job.error = query.value(11).toString();
    job.hasSource = query.value(12).toBool();
    job.fileKey = query.value(13).toString();
    job.sourceFault = query.value(14).toString();
    job.failWith = query.value(15).toString();
    job.copiedFrom = query.value(16).toString();
    return job;
}

QList<Project> Store::projects(const QString& userId)
{
    QSqlQuery query = run(QStringLiteral("SELECT ") + projectColumns +
                              QStringLiteral(" FROM projects WHERE user_id = ? "
                                             "ORDER BY created_at DESC, ordering DESC"),
                          {userId});
    QList<Project> projects;
    while (query.next())
        projects.append(projectFrom(query));
    return projects;
}

Project Store::createProject(const QString& userId, const QString& name, std::optional<bool> unsafe)
{
    NewProject draft;
    draft.name = name;
    draft.unsafe = unsafe;
    return createProject(userId, draft);
}

Project Store::createProject(const QString& userId, const NewProject& draft)
{
    const QString id = newId();
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    // Projects made within the same millisecond still list in the order they were made.
    run(QStringLiteral("INSERT INTO projects (id, user_id, name, unsafe, created_at, ordering, mode, "
                       "template_public, forked_from, import_repo, import_ref) VALUES (?, ?, ?, ?, ?, "
                       "(SELECT COALESCE(MAX(ordering), 0) + 1 FROM projects), ?, ?, ?, ?, ?)"),
        {id, userId, draft.name,
         draft.unsafe ? QVariant(*draft.unsafe) : QVariant(QMetaType::fromType<bool>()), now,
         nullableText(draft.mode), draft.templatePublic, nullableText(draft.forkedFrom),
         nullableText(draft.importRepo), nullableText(draft.importRef)});
    return *project(id);
}

std::optional<Project> Store::project(const QString& id)
{
    QSqlQuery query =
        run(QStringLiteral("SELECT ") + projectColumns + QStringLiteral(" FROM projects WHERE id = ?"), {id});
    if (!query.next())
        return std::nullopt;
    return projectFrom(query);
}

QList<Project> Store::forksOf(const QString& jobId)
{
    QSqlQuery query = run(QStringLiteral("SELECT ") + projectColumns +
                              QStringLiteral(" FROM projects WHERE forked_from = ? ORDER BY ordering"),
                          {jobId});
    QList<Project> forks;
    while (query.next())
        forks.append(projectFrom(query));
    return forks;
}

void Store::setTemplatePublic(const QString& projectId, bool templatePublic)
{
    run(QStringLiteral("UPDATE projects SET template_public = ? WHERE id = ?"), {templatePublic, projectId});
}

void Store::setProjectName(const QString& projectId, const QString& name)
{
    run(QStringLiteral("UPDATE projects SET name = ? WHERE id = ?"), {name, projectId});
}

void Store::setGithubLink(const QString& projectId, const QString& repo)
{
    // A new repository has seen nothing of this project yet.
    run(QStringLiteral("UPDATE projects SET github_repo = ?, github_job = NULL, github_synced_at = NULL "
                       "WHERE id = ?"),
        {nullableText(repo), projectId});
}

void Store::setGithubPushed(const QString& projectId, const QString& jobId)
{
    run(QStringLiteral("UPDATE projects SET github_job = ?, github_synced_at = ? WHERE id = ?"),
        {jobId, QDateTime::currentMSecsSinceEpoch(), projectId});
}

Message Store::addMessage(const QString& projectId, const QString& role, const QString& content)
{
    const Message message{newId(), role, content};
    run(QStringLiteral("INSERT INTO messages (id, project_id, role, content, ordering) VALUES (?, ?, ?, ?, "
                       "(SELECT COALESCE(MAX(ordering), 0) + 1 FROM messages))"),
        {message.id, projectId, role, content});
    return message;
}

QList<Message> Store::messages(const QString& projectId)
{
    QSqlQuery query =
        run(QStringLiteral("SELECT id, role, content FROM messages WHERE project_id = ? ORDER BY ordering"),
            {projectId});
    QList<Message> messages;
    while (query.next())
        messages.append(
            Message{query.value(0).toString(), query.value(1).toString(), query.value(2).toString()});
    return messages;
}

Job Store::createJob(Job draft)
{
    draft.id = newId();
    draft.fileKey = newToken();
    draft.createdAt = QDateTime::currentMSecsSinceEpoch();
    run(QStringLiteral("INSERT INTO jobs (id, project_id, ordering, created_at, mode, prompt, status, step, "
                       "stage, app_name, version, summary, error, has_source, file_key, source_fault, "
                       "fail_with, copied_from) VALUES (?, ?, (SELECT COALESCE(MAX(ordering), 0) + 1 FROM "
                       "jobs), ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
        {draft.id, draft.projectId, draft.createdAt, text(draft.mode), text(draft.prompt), draft.status,
         draft.step, text(draft.stage), text(draft.appName), text(draft.version), text(draft.summary),
         text(draft.error), draft.hasSource, draft.fileKey, text(draft.sourceFault), text(draft.failWith),
         text(draft.copiedFrom)});
    return draft;
}

void Store::saveJob(const Job& job)
{
    run(QStringLiteral("UPDATE jobs SET status = ?, step = ?, stage = ?, app_name = ?, version = ?, "
                       "summary = ?, error = ?, has_source = ? WHERE id = ?"),
        {job.status, job.step, text(job.stage), text(job.appName), text(job.version), text(job.summary),
         text(job.error), job.hasSource, job.id});
}

std::optional<Job> Store::job(const QString& id)
{
    QSqlQuery query =
        run(QStringLiteral("SELECT ") + jobColumns + QStringLiteral(" FROM jobs WHERE id = ?"), {id});
    if (!query.next())
        return std::nullopt;
    return jobFrom(query);
}

std::optional<Job> Store::jobByFileKey(const QString& fileKey)
{
    QSqlQuery query = run(
        QStringLiteral("SELECT ") + jobColumns + QStringLiteral(" FROM jobs WHERE file_key = ?"), {fileKey});
    if (!query.next())
        return std::nullopt;
    return jobFrom(query);
}

QList<Job> Store::jobs(const QString& projectId)
{
    QSqlQuery query = run(QStringLiteral("SELECT ") + jobColumns +
                              QStringLiteral(" FROM jobs WHERE project_id = ? ORDER BY ordering DESC"),
                          {projectId});
    QList<Job> jobs;
    while (query.next())
        jobs.append(jobFrom(query));
    return jobs;
}

QList<Job> Store::activeJobs()
{
    QSqlQuery query =
        run(QStringLiteral("SELECT ") + jobColumns +
            QStringLiteral(" FROM jobs WHERE status IN ('queued', 'building') ORDER BY ordering"));
    QList<Job> jobs;
    while (query.next())
        jobs.append(jobFrom(query));
    return jobs;
}

int Store::readyJobCount(const QString& projectId)
{
    QSqlQuery query = run(
        QStringLiteral("SELECT COUNT(*) FROM jobs WHERE project_id = ? AND status = 'ready'"), {projectId});
    return query.next() ? query.value(0).toInt() : 0;
}

} // namespace brightloom::devserver
