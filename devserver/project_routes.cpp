// The signed-in user's projects.

#include "dev_server.h"
#include "http_util.h"
#include "routes.h"

#include <QJsonArray>

namespace brightloom::devserver {

namespace {

QJsonObject projectJson(const Project& project)
{
    QJsonObject json;
    json.insert(QStringLiteral("id"), project.id);
    json.insert(QStringLiteral("name"), project.name);
    // Only once the service has judged the project; never sent as null.
    if (project.unsafe)
        json.insert(QStringLiteral("unsafe"), *project.unsafe);
    return json;
}

QHttpServerResponse listProjects(DevServer& server, const Request& request)
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

} // namespace

void addProjectRoutes(DevServer& server)
{
    server.addRoute(DevServer::Method::Get, QStringLiteral("api/projects"), listProjects);
}

} // namespace brightloom::devserver
