// The signed-in user's projects and their conversations: listing, creating, reading one, and
// sending a message, which starts a new build job.

#include "dev_server.h"
#include "http_util.h"
#include "record_json.h"
#include "routes.h"

#include <QJsonArray>
#include <QRegularExpression>

namespace brightloom::devserver {

namespace {

using Method = DevServer::Method;

HttpResponse listProjects(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    QJsonArray projects;
    const QList<Project> stored = server.store().projects(session.userId);
    for (const Project& project : stored)
        projects.append(projectJson(project));
    QJsonObject reply;
    reply.insert(QStringLiteral("projects"), projects);
    return jsonResponse(reply);
}

// "https://github.com/owner/name", optionally with ".git" or a trailing slash; gives "name".
QString importedRepoName(const QString& url)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(^https://github\.com/[A-Za-z0-9_.-]+/([A-Za-z0-9_.-]+?)(\.git)?/?$)"));
    const QRegularExpressionMatch match = pattern.match(url);
    if (!match.hasMatch())
        throw HttpError{StatusCode::BadRequest,
                        QStringLiteral("importRepo must be the address of a GitHub repository")};
    return match.captured(1);
}

HttpResponse createProject(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const QJsonObject body = jsonObjectBody(request.http);
    const QString prompt = requiredText(body, QStringLiteral("prompt"));
    NewProject draft;
    draft.mode = optionalText(body, QStringLiteral("mode"));
    if (!draft.mode.isEmpty() && draft.mode != QLatin1String("source"))
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Unknown mode \"%1\"").arg(draft.mode)};
    draft.importRepo = optionalText(body, QStringLiteral("importRepo"));
    draft.importRef = optionalText(body, QStringLiteral("importRef"));
    if (!draft.importRef.isEmpty() && draft.importRepo.isEmpty())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("importRef needs importRepo")};
    draft.name = appNameFromPrompt(prompt);
    if (!draft.importRepo.isEmpty()) {
        // Someone else's code goes into the app: the person must have said they accept that.
        if (body.value(QStringLiteral("acknowledgeUnsafe")) != QJsonValue(true))
            throw HttpError{StatusCode::BadRequest,
                            QStringLiteral("Importing a repository needs acknowledgeUnsafe set to true")};
        const QString repoName = importedRepoName(draft.importRepo);
        draft.name = repoName.left(1).toUpper() + repoName.mid(1);
        draft.unsafe = true;
    }
    const Project project = server.store().createProject(session.userId, draft);
    server.store().addMessage(project.id, QStringLiteral("user"), prompt);
    server.store().addMessage(
        project.id, QStringLiteral("assistant"),
        draft.importRepo.isEmpty()
            ? QStringLiteral("Building %1 for you now.").arg(project.name)
            : QStringLiteral("Importing %1 and building on top of it.").arg(draft.importRepo));
    server.clock().startJob(project, prompt, draft.mode);
    QJsonObject reply;
    reply.insert(QStringLiteral("id"), project.id);
    return jsonResponse(reply);
}

HttpResponse projectDetail(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const Project project = ownedProject(server, session.userId, request.param(QStringLiteral("id")));
    QJsonArray messages;
    for (const Message& message : server.store().messages(project.id))
        messages.append(messageJson(message));
    QJsonArray jobs;
    for (const Job& job : server.store().jobs(project.id))
        jobs.append(jobJson(server, job));
    QJsonObject reply;
    reply.insert(QStringLiteral("project"), projectJson(project));
    reply.insert(QStringLiteral("messages"), messages);
    reply.insert(QStringLiteral("jobs"), jobs);
    return jsonResponse(reply);
}

HttpResponse sendMessage(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const Project project = ownedProject(server, session.userId, request.param(QStringLiteral("id")));
    const QJsonObject body = jsonObjectBody(request.http);
    const QString prompt = requiredText(body, QStringLiteral("prompt"));
    const QString mode = optionalText(body, QStringLiteral("mode"));
    if (!mode.isEmpty() && mode != QLatin1String("source-fix"))
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Unknown mode \"%1\"").arg(mode)};
    const QList<Job> jobs = server.store().jobs(project.id);
    if (!jobs.isEmpty() &&
        (jobs[0].status == QLatin1String("queued") || jobs[0].status == QLatin1String("building")))
        throw HttpError{StatusCode::Conflict, QStringLiteral("Wait for the current build to finish.")};
    server.store().addMessage(project.id, QStringLiteral("user"), prompt);
    server.store().addMessage(project.id, QStringLiteral("assistant"),
                              mode.isEmpty() ? QStringLiteral("Working on that change now.")
                                             : QStringLiteral("Fixing the compile errors now."));
    const Job job = server.clock().startJob(project, prompt, mode.isEmpty() ? project.mode : mode);
    QJsonObject reply;
    reply.insert(QStringLiteral("jobId"), job.id);
    return jsonResponse(reply);
}

} // namespace

void addProjectRoutes(DevServer& server)
{
    server.addRoute(Method::Get, QStringLiteral("api/projects"), listProjects);
    server.addRoute(Method::Post, QStringLiteral("api/projects"), createProject);
    server.addRoute(Method::Get, QStringLiteral("api/projects/{id}"), projectDetail);
    server.addRoute(Method::Post, QStringLiteral("api/projects/{id}/messages"), sendMessage);
}

} // namespace brightloom::devserver
