// GitHub sync, simulated: a stand-in GitHub account is connected when the person opens the page
// "library/<projectId>" in a browser where they are signed in; after that a project can be linked
// to one of the account's repositories, pushed to, and unlinked. Nothing leaves this machine.

#include "dev_server.h"
#include "http_util.h"
#include "record_json.h"
#include "routes.h"

#include <QCryptographicHash>
#include <QJsonArray>

namespace brightloom::devserver {

namespace {

using Method = DevServer::Method;

QStringList repositories(const QString& login)
{
    QStringList repos;
    for (const char* name : {"brightloom-apps", "mac-experiments", "website"})
        repos.append(login + QLatin1Char('/') + QString::fromLatin1(name));
    return repos;
}

// The account name GitHub would show: the person's name in lower case, letters and digits only.
QString loginFor(const User& user)
{
    QString login;
    for (const QChar c : user.name.toLower()) {
        if ((c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
            (c >= QLatin1Char('0') && c <= QLatin1Char('9')))
            login += c;
    }
    return login.isEmpty() ? QStringLiteral("brightloom-user") : login;
}

// The newest finished version, which is what a push sends.
std::optional<Job> newestReady(Store& store, const QString& projectId)
{
    for (const Job& job : store.jobs(projectId)) {
        if (job.status == QLatin1String("ready"))
            return job;
    }
    return std::nullopt;
}

HttpResponse panel(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const Project project = ownedProject(server, session.userId, request.param(QStringLiteral("id")));
    const std::optional<QString> login = server.store().githubLogin(session.userId);
    const std::optional<Job> newest = newestReady(server.store(), project.id);
    QJsonObject reply;
    reply.insert(QStringLiteral("state"), login ? QStringLiteral("ready") : QStringLiteral("connect"));
    if (login)
        reply.insert(QStringLiteral("login"), *login);
    if (newest && newest->hasSource)
        reply.insert(QStringLiteral("pushVersion"), newest->version);
    if (login && !project.githubRepo.isEmpty()) {
        QJsonObject link;
        link.insert(QStringLiteral("repo"), project.githubRepo);
        link.insert(QStringLiteral("branch"), QStringLiteral("main"));
        if (const std::optional<Job> pushed = server.store().job(project.githubJob))
            link.insert(QStringLiteral("lastVersion"), pushed->version);
        if (project.githubSyncedAt > 0)
            link.insert(QStringLiteral("lastSyncedAt"), timestamp(project.githubSyncedAt));
        link.insert(QStringLiteral("upToDate"), newest && newest->id == project.githubJob);
        reply.insert(QStringLiteral("link"), link);
    }
    return jsonResponse(reply);
}

QString requireGithub(DevServer& server, const Session& session)
{
    const std::optional<QString> login = server.store().githubLogin(session.userId);
    if (!login)
        throw HttpError{StatusCode::Conflict, QStringLiteral("Connect GitHub first.")};
    return *login;
}

HttpResponse repos(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    QJsonArray list;
    for (const QString& name : repositories(requireGithub(server, session))) {
        QJsonObject repo;
        repo.insert(QStringLiteral("fullName"), name);
        list.append(repo);
    }
    QJsonObject reply;
    reply.insert(QStringLiteral("repos"), list);
    return jsonResponse(reply);
}

HttpResponse link(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const Project project = ownedProject(server, session.userId, request.param(QStringLiteral("id")));
    const QString repo = requiredText(jsonObjectBody(request.http), QStringLiteral("repo"));
    if (!repositories(requireGithub(server, session)).contains(repo))
        throw HttpError{StatusCode::NotFound, QStringLiteral("Repository not found")};
    server.store().setGithubLink(project.id, repo);
    QJsonObject reply;
    reply.insert(QStringLiteral("repo"), repo);
    return jsonResponse(reply);
}

HttpResponse unlink(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const Project project = ownedProject(server, session.userId, request.param(QStringLiteral("id")));
    server.store().setGithubLink(project.id, QString());
    QJsonObject reply;
    reply.insert(QStringLiteral("linked"), false);
    return jsonResponse(reply);
}

HttpResponse push(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const Project project = ownedProject(server, session.userId, request.param(QStringLiteral("id")));
    jsonObjectBody(request.http);
    requireGithub(server, session);
    if (project.githubRepo.isEmpty())
        throw HttpError{StatusCode::Conflict, QStringLiteral("Link a repository first.")};
    const std::optional<Job> newest = newestReady(server.store(), project.id);
    if (!newest || !newest->hasSource)
        throw HttpError{
            StatusCode::Conflict,
            QStringLiteral("The newest build did not keep its source, so there is nothing to push.")};
    QJsonObject reply;
    reply.insert(QStringLiteral("version"), newest->version);
    if (newest->id == project.githubJob) {
        reply.insert(QStringLiteral("changed"), false);
        return jsonResponse(reply);
    }
    server.store().setGithubPushed(project.id, newest->id);
    const QByteArray sha =
        QCryptographicHash::hash((project.githubRepo + newest->id).toUtf8(), QCryptographicHash::Sha1)
            .toHex();
    reply.insert(QStringLiteral("changed"), true);
    const QString commitUrl = QStringLiteral("https://github.com/") + project.githubRepo +
                              QStringLiteral("/commit/") + QString::fromLatin1(sha);
    reply.insert(QStringLiteral("commitUrl"), commitUrl);
    return jsonResponse(reply);
}

QString page(const QString& title, const QString& body)
{
    return QStringLiteral(
               "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>%1</title>"
               "<style>body{margin:0 auto;max-width:36rem;padding:2rem;font-family:-apple-system,"
               "BlinkMacSystemFont,\"Segoe UI\",Roboto,sans-serif;background:#f4f1ec;color:#1f1d1a}"
               "</style></head><body>%2</body></html>\n")
        .arg(title.toHtmlEscaped(), body);
}

// The library page of one app on the web, where the GitHub account is connected.
HttpResponse libraryPage(DevServer& server, const Request& request)
{
    const std::optional<Session> session = server.currentSession(request.http);
    const std::optional<User> user = session ? server.store().user(session->userId) : std::nullopt;
    if (!user) {
        return htmlResponse(
            page(QStringLiteral("Sign in"),
                 QStringLiteral("<h1>Sign in first</h1><p><a href=\"../native-sign-in\">Sign in "
                                "to Brightloom</a>, then open this page again to connect "
                                "GitHub.</p>")),
            StatusCode::Unauthorized);
    }
    const std::optional<Project> project = server.store().project(request.param(QStringLiteral("id")));
    if (!project || project->userId != user->id) {
        return htmlResponse(page(QStringLiteral("Not found"), QStringLiteral("<h1>No such app</h1>")),
                            StatusCode::NotFound);
    }
    const QString login = server.store().githubLogin(user->id).value_or(loginFor(*user));
    server.store().connectGithub(user->id, login);
    return htmlResponse(
        page(project->name, QStringLiteral("<h1>%1</h1><p>GitHub is connected as <b>%2</b>. Go "
                                           "back to Brightloom to pick a repository.</p>")
                                .arg(project->name.toHtmlEscaped(), login.toHtmlEscaped())));
}

} // namespace

void addGithubRoutes(DevServer& server)
{
    server.addRoute(Method::Get, QStringLiteral("api/projects/{id}/github"), panel);
    server.addRoute(Method::Post, QStringLiteral("api/projects/{id}/github"), link);
    server.addRoute(Method::Delete, QStringLiteral("api/projects/{id}/github"), unlink);
    server.addRoute(Method::Post, QStringLiteral("api/projects/{id}/github/push"), push);
    server.addRoute(Method::Get, QStringLiteral("api/github/repos"), repos);
    server.addRoute(Method::Get, QStringLiteral("library/{id}"), libraryPage);
}

} // namespace brightloom::devserver
