#pragma once

// The stand-in service for the library's tests: a running brightloom-devserver in a fresh home, a
// client signed in as the demo account, and the control calls that prepare an app with versions,
// forks and a GitHub account. The job clock is slowed to an hour a step, so jobs only move when
// a test finishes them.

#include "child_process.h"
#include "devserver_client.h"
#include "temp_home.h"

#include <QJsonObject>
#include <QString>
#include <memory>

namespace brightloom {
class API;
}

namespace brightloom::test {

class LibraryService
{
public:
    LibraryService();
    ~LibraryService();

    // The signed-in demo account's client.
    API& api() { return *m_api; }
    QUrl base() const { return m_server->baseUrl(); }

    // A new project of the demo account, built to its first version.
    QString builtProject(const QString& prompt);
    // Asks the demo project for another version and builds it.
    void newVersion(const QString& projectId, const QString& prompt);
    // The job ids of a project's versions, oldest first.
    QStringList versionJobs(const QString& projectId);
    // Publishes a project as a template.
    void publish(const QString& projectId);
    // Another account forks the version `jobId`; answers the fork's project id.
    QString forkAsSomeoneElse(const QString& jobId, const QString& email);
    // Connects the demo account to GitHub, as opening the service's library page in a browser does.
    void connectGithub(const QString& projectId);

    void finishJobs();
    QJsonObject control(const QByteArray& verb, const QString& path, const QJsonObject& body = {});

private:
    TempHome m_home;
    std::unique_ptr<DevServer> m_server;
    std::unique_ptr<Client> m_controller;
    std::unique_ptr<API> m_api;
};

} // namespace brightloom::test
