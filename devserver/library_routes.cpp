// The library: every app the user has built with its versions, the tree of versions and forks, and
// starting a new project from any version ("use as template").

#include "dev_server.h"
#include "http_util.h"
#include "job_files.h"
#include "record_json.h"
#include "routes.h"

#include <QJsonArray>

namespace brightloom::devserver {

namespace {

using Method = DevServer::Method;

// Far deeper than any real tree; stops a fork chain that someone built on purpose from taking
// the server's stack with it.
constexpr int maximumTreeDepth = 200;

QList<Job> readyJobs(Store& store, const QString& projectId) // newest first
{
    QList<Job> ready = store.jobs(projectId);
    ready.removeIf([](const Job& job) { return job.status != QLatin1String("ready"); });
    return ready;
}

bool visibleTo(const Project& project, const QString& userId)
{
    return project.userId == userId || project.templatePublic;
}

QJsonObject versionJson(DevServer& server, const Job& job)
{
    QJsonObject json;
    json.insert(QStringLiteral("jobId"), job.id);
    json.insert(QStringLiteral("version"), job.version);
    json.insert(QStringLiteral("appName"), job.appName);
    if (!job.summary.isEmpty())
        json.insert(QStringLiteral("summary"), job.summary);
    json.insert(QStringLiteral("downloadUrl"), fileAddress(server, job, jobfiles::appArchive));
    json.insert(QStringLiteral("dmgUrl"), fileAddress(server, job, jobfiles::diskImage));
    json.insert(QStringLiteral("hasSource"), job.hasSource);
    json.insert(QStringLiteral("createdAt"), timestamp(job.createdAt));
    return json;
}

// Only projects with at least one finished version are apps; others give an empty object.
QJsonObject libraryAppJson(DevServer& server, const Project& project)
{
    const QList<Job> ready = readyJobs(server.store(), project.id);
    if (ready.isEmpty())
        return {};
    QJsonArray versions;
    for (const Job& job : ready)
        versions.append(versionJson(server, job));
    QJsonObject json;
    json.insert(QStringLiteral("projectId"), project.id);
    json.insert(QStringLiteral("name"), ready[0].appName);
    json.insert(QStringLiteral("versions"), versions);
    json.insert(QStringLiteral("templatePublic"), project.templatePublic);
    if (project.unsafe)
        json.insert(QStringLiteral("unsafe"), *project.unsafe);
    return json;
}

QJsonArray nodesJson(DevServer& server, const Project& project, const QString& userId, int depth);

// One version of the tree, with the forks started from it: the user's own and public ones listed,
// other people's private ones only counted.
QJsonObject nodeJson(DevServer& server, const Job& job, const QString& userId, int depth)
{
    QJsonArray forks;
    int hidden = 0;
    for (const Project& fork : server.store().forksOf(job.id)) {
        if (!visibleTo(fork, userId)) {
            ++hidden;
            continue;
        }
        QJsonObject forkJson;
        forkJson.insert(QStringLiteral("projectId"), fork.id);
        forkJson.insert(QStringLiteral("name"), fork.name);
        forkJson.insert(QStringLiteral("mine"), fork.userId == userId);
        forkJson.insert(QStringLiteral("nodes"),
                        depth < maximumTreeDepth ? nodesJson(server, fork, userId, depth + 1) : QJsonArray());
        forks.append(forkJson);
    }
    QJsonObject json;
    json.insert(QStringLiteral("jobId"), job.id);
    json.insert(QStringLiteral("version"), job.version);
    if (!job.summary.isEmpty())
        json.insert(QStringLiteral("summary"), job.summary);
    json.insert(QStringLiteral("prompt"), job.prompt);
    json.insert(QStringLiteral("createdAt"), timestamp(job.createdAt));
    json.insert(QStringLiteral("hasSource"), job.hasSource);
    json.insert(QStringLiteral("forks"), forks);
    json.insert(QStringLiteral("hiddenForks"), hidden);
    return json;
}

// A project's finished versions, oldest (1.0) first, as the tree shows them top down.
QJsonArray nodesJson(DevServer& server, const Project& project, const QString& userId, int depth)
{
    QList<Job> ready = readyJobs(server.store(), project.id);
    QJsonArray nodes;
    for (auto it = ready.crbegin(); it != ready.crend(); ++it)
        nodes.append(nodeJson(server, *it, userId, depth));
    return nodes;
}

// The project the tree starts at: up through the forks as far as the user may see.
Project treeRoot(Store& store, const Project& project, const QString& userId)
{
    Project root = project;
    for (int hops = 0; !root.forkedFrom.isEmpty() && hops < maximumTreeDepth; ++hops) {
        const std::optional<Job> origin = store.job(root.forkedFrom);
        const std::optional<Project> parent = origin ? store.project(origin->projectId) : std::nullopt;
        if (!parent || !visibleTo(*parent, userId))
            break;
        root = *parent;
    }
    return root;
}

HttpResponse library(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    QJsonArray apps;
    for (const Project& project : server.store().projects(session.userId)) {
        const QJsonObject app = libraryAppJson(server, project);
        if (!app.isEmpty())
            apps.append(app);
    }
    QJsonObject reply;
    reply.insert(QStringLiteral("apps"), apps);
    return jsonResponse(reply);
}

HttpResponse libraryDetail(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const Project project = ownedProject(server, session.userId, request.param(QStringLiteral("id")));
    const QJsonObject app = libraryAppJson(server, project);
    if (app.isEmpty())
        throw HttpError{StatusCode::NotFound, QStringLiteral("This app has no finished version yet.")};
    const Project root = treeRoot(server.store(), project, session.userId);
    QJsonObject reply;
    reply.insert(QStringLiteral("app"), app);
    reply.insert(QStringLiteral("tree"), nodesJson(server, root, session.userId, 0));
    reply.insert(QStringLiteral("treeProjectId"), root.id);
    reply.insert(QStringLiteral("canTemplate"), visibleTo(root, session.userId));
    if (!project.forkedFrom.isEmpty()) {
        // When the origin is gone or no longer shared, the fork only says it has one.
        QJsonObject origin;
        const std::optional<Job> job = server.store().job(project.forkedFrom);
        const std::optional<Project> source = job ? server.store().project(job->projectId) : std::nullopt;
        if (job && source && visibleTo(*source, session.userId)) {
            origin.insert(QStringLiteral("version"), job->version);
            origin.insert(QStringLiteral("name"), job->appName);
        }
        reply.insert(QStringLiteral("origin"), origin);
    }
    return jsonResponse(reply);
}

HttpResponse forkTemplate(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const QString jobId = requiredText(jsonObjectBody(request.http), QStringLiteral("jobId"));
    const std::optional<Job> origin = server.store().job(jobId);
    const std::optional<Project> source = origin ? server.store().project(origin->projectId) : std::nullopt;
    if (!origin || !source || !visibleTo(*source, session.userId))
        throw HttpError{StatusCode::NotFound, QStringLiteral("Template not found")};
    if (origin->status != QLatin1String("ready"))
        throw HttpError{StatusCode::Conflict, QStringLiteral("This version is not finished yet.")};
    if (!origin->hasSource)
        throw HttpError{StatusCode::Conflict,
                        QStringLiteral("This version did not keep its source, so it cannot be a template.")};
    NewProject draft;
    draft.name = origin->appName;
    draft.mode = source->mode;
    draft.forkedFrom = origin->id;
    draft.unsafe = source->unsafe;
    const Project fork = server.store().createProject(session.userId, draft);
    server.store().addMessage(fork.id, QStringLiteral("assistant"),
                              QStringLiteral("Started from version %1 of %2. Tell me what to change.")
                                  .arg(origin->version, origin->appName));
    server.clock().copyJob(fork, *origin);
    QJsonObject reply;
    reply.insert(QStringLiteral("projectId"), fork.id);
    return jsonResponse(reply);
}

} // namespace

void addLibraryRoutes(DevServer& server)
{
    server.addRoute(Method::Get, QStringLiteral("api/library"), library);
    server.addRoute(Method::Get, QStringLiteral("api/library/{id}"), libraryDetail);
    server.addRoute(Method::Post, QStringLiteral("api/templates/fork"), forkTemplate);
}

} // namespace brightloom::devserver
