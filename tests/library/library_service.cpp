#include "library_service.h"

#include "library_fixture.h"
#include "recording_server.h"
#include "service/api.h"
#include "task_runner.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <gtest/gtest.h>

namespace brightloom::test {

namespace {

// The service gets the tests' own certificate, so that one process can talk to it and to scripted
// services alike: a process trusts the first extra certificate it is given, and no other.
void useTestCertificate(const QString& dataFolder)
{
    QDir().mkpath(dataFolder);
    QFile key(dataFolder + QStringLiteral("/key.pem"));
    QFile certificate(dataFolder + QStringLiteral("/cert.pem"));
    EXPECT_TRUE(key.open(QIODevice::WriteOnly) && certificate.open(QIODevice::WriteOnly));
    key.write(TestCertificate::shared().key.toPem());
    certificate.write(TestCertificate::shared().certificate.toPem());
}

} // namespace

LibraryService::LibraryService()
{
    const QString data = m_home.path() + QStringLiteral("/service");
    useTestCertificate(data);
    m_server = std::make_unique<DevServer>(
        data, QStringList{QStringLiteral("--control"), QStringLiteral("--speed"), QStringLiteral("3600")});
    m_controller = std::make_unique<Client>(*m_server);
    m_home.setEnv("BRIGHTLOOM_URL", m_server->baseUrl().toString().toUtf8());
    m_home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
    trustTestCertificate();
    m_api = std::make_unique<API>();
    const auto signedIn = run(m_api->signIn(demoEmail, demoPassword));
    EXPECT_TRUE(signedIn.ok()) << signedIn.errorText().toStdString();
}

LibraryService::~LibraryService() = default;

QString LibraryService::builtProject(const QString& prompt)
{
    const auto created = run(m_api->createProject(prompt, false, std::nullopt, std::nullopt));
    EXPECT_TRUE(created.ok()) << created.errorText().toStdString();
    finishJobs();
    return created.value.value_or(QString());
}

void LibraryService::newVersion(const QString& projectId, const QString& prompt)
{
    const auto sent = run(m_api->send(prompt, projectId, false));
    EXPECT_TRUE(sent.ok()) << sent.errorText().toStdString();
    finishJobs();
}

QStringList LibraryService::versionJobs(const QString& projectId)
{
    const auto detail = run(m_api->libraryDetail(projectId));
    EXPECT_TRUE(detail.ok()) << detail.errorText().toStdString();
    QStringList jobs;
    if (detail.value) {
        for (const LibraryVersion& version : detail.value->app.versions)
            jobs.prepend(version.jobId);
    }
    return jobs;
}

void LibraryService::publish(const QString& projectId)
{
    control("PUT", QStringLiteral("control/projects/") + projectId + QStringLiteral("/template"),
            QJsonObject{{QStringLiteral("public"), true}});
}

QString LibraryService::forkAsSomeoneElse(const QString& jobId, const QString& email)
{
    Client other(*m_server);
    const Reply signedUp =
        other.postJson(QStringLiteral("api/auth/sign-up/email"),
                       signUpBody(QStringLiteral("Other"), email, QStringLiteral("long enough")));
    EXPECT_EQ(signedUp.status, 200) << signedUp.body.constData();
    const Reply forked =
        other.postJson(QStringLiteral("api/templates/fork"), QJsonObject{{QStringLiteral("jobId"), jobId}});
    EXPECT_EQ(forked.status, 200) << forked.body.constData();
    return forked.json().value(QStringLiteral("projectId")).toString();
}

void LibraryService::connectGithub(const QString& projectId)
{
    const auto page = run(m_api->request(QStringLiteral("library/") + projectId, "GET"));
    EXPECT_TRUE(page.ok()) << page.errorText().toStdString();
}

void LibraryService::finishJobs()
{
    control("POST", QStringLiteral("control/clock/finish"));
}

QJsonObject LibraryService::control(const QByteArray& verb, const QString& path, const QJsonObject& body)
{
    const Reply reply = m_controller->send(verb, path, QJsonDocument(body).toJson(QJsonDocument::Compact),
                                           "application/json");
    EXPECT_EQ(reply.status, 200) << path.toStdString() << ": " << reply.body.constData()
                                 << reply.transport.toStdString();
    return reply.json();
}

} // namespace brightloom::test
