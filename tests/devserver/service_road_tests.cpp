// GitHub sync, worker status, injected faults and restarts, through the command line.

#include "road_fixture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>

using namespace brightloom::test;

namespace {

class DevServerServicesTest : public RoadTest
{
protected:
    void SetUp() override
    {
        RoadTest::SetUp();
        signInAsDemo();
    }

    QString readyProject()
    {
        const QString id = newProject(QStringLiteral("a notes app"));
        finishJobs();
        return id;
    }

    // Opens the project's library page in a browser signed in as the demo account.
    void visitLibraryPage(const QString& projectId)
    {
        Client browser(*server);
        ASSERT_EQ(
            browser.postJson(QStringLiteral("api/auth/sign-in/email"), credentials(demoEmail, demoPassword))
                .status,
            200);
        const Reply page = browser.get(QStringLiteral("library/") + projectId);
        EXPECT_EQ(page.status, 200) << page.body.constData();
        EXPECT_TRUE(page.contentType.startsWith("text/html"));
    }

    QStringList github(const QString& projectId, const QStringList& action = {})
    {
        return cliOk(QStringList{QStringLiteral("github"), projectId} + action)
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    // The panel as the service sends it.
    QJsonObject panel(const QString& projectId)
    {
        return cliJson({QStringLiteral("github"), projectId, QStringLiteral("--json")});
    }

    static QJsonObject linkOf(const QJsonObject& panel)
    {
        return panel.value(QStringLiteral("link")).toObject();
    }

    QJsonObject fault(const QString& path)
    {
        QJsonObject body;
        body.insert(QStringLiteral("path"), path);
        return body;
    }

    QStringList downloadedImages()
    {
        return QDir(downloadsFolder() + QStringLiteral("/127.0.0.1"))
            .entryList({QStringLiteral("*.dmg*")}, QDir::Files | QDir::Hidden);
    }
};

} // namespace

TEST_F(DevServerServicesTest, GithubPanelAsksToConnectFirst)
{
    const QString id = readyProject();
    const QJsonObject shown = panel(id);
    EXPECT_EQ(shown.value(QStringLiteral("state")), QJsonValue(QStringLiteral("connect")));
    EXPECT_EQ(shown.value(QStringLiteral("pushVersion")), QJsonValue(QStringLiteral("1.0")));
    EXPECT_EQ(github(id).value(1),
              QStringLiteral("Connect GitHub to keep this app's source in a repository."));
}

TEST_F(DevServerServicesTest, BuildWithoutSourceOffersNothingToPush)
{
    const QString id =
        newProject(QStringLiteral("build on https://github.com/acme/widgets"), {QStringLiteral("--import")});
    finishJobs();
    const QJsonObject shown = panel(id);
    EXPECT_EQ(shown.value(QStringLiteral("state")), QJsonValue(QStringLiteral("connect")));
    EXPECT_FALSE(shown.contains(QStringLiteral("pushVersion")));
}

TEST_F(DevServerServicesTest, VisitingTheLibraryPageConnectsGithub)
{
    const QString id = readyProject();
    visitLibraryPage(id);
    const QJsonObject shown = panel(id);
    EXPECT_EQ(shown.value(QStringLiteral("state")), QJsonValue(QStringLiteral("ready")));
    EXPECT_EQ(shown.value(QStringLiteral("login")), QJsonValue(QStringLiteral("demo")));
    EXPECT_EQ(shown.value(QStringLiteral("pushVersion")), QJsonValue(QStringLiteral("1.0")));
    EXPECT_EQ(github(id).value(1), QStringLiteral("Connected as demo. Pick the repository to push to."));
}

TEST_F(DevServerServicesTest, LibraryPageWithoutASessionAsksToSignIn)
{
    const Reply page = controller->get(QStringLiteral("library/") + readyProject());
    EXPECT_EQ(page.status, 401);
    EXPECT_TRUE(page.contentType.startsWith("text/html"));
    EXPECT_TRUE(page.body.contains("native-sign-in"));
}

TEST_F(DevServerServicesTest, GithubReposNeedAConnectedAccount)
{
    const ProcessResult result = cli({QStringLiteral("github"), readyProject(), QStringLiteral("repos")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("Connect GitHub first."));
}

TEST_F(DevServerServicesTest, ConnectedAccountListsItsRepositories)
{
    const QString id = readyProject();
    visitLibraryPage(id);
    EXPECT_EQ(github(id, {QStringLiteral("repos")}),
              (QStringList{QStringLiteral("demo/brightloom-apps"), QStringLiteral("demo/mac-experiments"),
                           QStringLiteral("demo/website")}));
}

TEST_F(DevServerServicesTest, LinkedProjectShowsItsRepository)
{
    const QString id = readyProject();
    visitLibraryPage(id);
    github(id, {QStringLiteral("link"), QStringLiteral("demo/website")});
    EXPECT_EQ(linkOf(panel(id)).value(QStringLiteral("repo")), QJsonValue(QStringLiteral("demo/website")));
    EXPECT_EQ(github(id).value(1), QStringLiteral("Syncs to demo/website"));
}

TEST_F(DevServerServicesTest, PushSendsTheNewestVersionOnce)
{
    const QString id = readyProject();
    visitLibraryPage(id);
    github(id, {QStringLiteral("link"), QStringLiteral("demo/website")});
    const QJsonObject pushed =
        cliJson({QStringLiteral("github"), id, QStringLiteral("push"), QStringLiteral("--json")});
    EXPECT_EQ(pushed.value(QStringLiteral("changed")), QJsonValue(true));
    EXPECT_EQ(pushed.value(QStringLiteral("version")), QJsonValue(QStringLiteral("1.0")));
    EXPECT_TRUE(pushed.value(QStringLiteral("commitUrl"))
                    .toString()
                    .startsWith(QStringLiteral("https://github.com/demo/website/commit/")));
    EXPECT_EQ(github(id, {QStringLiteral("push")}),
              QStringList{QStringLiteral("Already up to date. The repository matches this build.")});
    EXPECT_EQ(linkOf(panel(id)).value(QStringLiteral("upToDate")), QJsonValue(true));
    EXPECT_TRUE(github(id).contains(QStringLiteral("Push again")));
}

TEST_F(DevServerServicesTest, NewVersionMakesTheLinkOutOfDate)
{
    const QString id = readyProject();
    visitLibraryPage(id);
    github(id, {QStringLiteral("link"), QStringLiteral("demo/website")});
    github(id, {QStringLiteral("push")});
    cliOk({QStringLiteral("send"), id, QStringLiteral("add tags")});
    finishJobs();
    const QJsonObject shown = panel(id);
    EXPECT_EQ(shown.value(QStringLiteral("pushVersion")), QJsonValue(QStringLiteral("1.1")));
    EXPECT_EQ(linkOf(shown).value(QStringLiteral("repo")), QJsonValue(QStringLiteral("demo/website")));
    EXPECT_TRUE(github(id).contains(QStringLiteral("Push version 1.1")));
}

TEST_F(DevServerServicesTest, UnlinkRemovesTheLink)
{
    const QString id = readyProject();
    visitLibraryPage(id);
    github(id, {QStringLiteral("link"), QStringLiteral("demo/website")});
    github(id, {QStringLiteral("unlink")});
    EXPECT_FALSE(panel(id).contains(QStringLiteral("link")));
}

TEST_F(DevServerServicesTest, LinkingAnUnknownRepositoryFails)
{
    const QString id = readyProject();
    visitLibraryPage(id);
    const ProcessResult result =
        cli({QStringLiteral("github"), id, QStringLiteral("link"), QStringLiteral("someone/else")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("Repository not found"));
}

TEST_F(DevServerServicesTest, WorkerStatusIsOnlineByDefault)
{
    EXPECT_EQ(cliOk({QStringLiteral("worker-status")}), QStringLiteral("online\n"));
}

TEST_F(DevServerServicesTest, WorkerStatusShowsWhatControlSet)
{
    QJsonObject status;
    status.insert(QStringLiteral("online"), false);
    status.insert(QStringLiteral("delayed"), true);
    status.insert(QStringLiteral("reason"), QStringLiteral("offline"));
    control("PUT", QStringLiteral("control/worker-status"), status);
    EXPECT_EQ(cliJson({QStringLiteral("worker-status"), QStringLiteral("--json")}), status);
}

TEST_F(DevServerServicesTest, OfflineWorkerKeepsJobsQueued)
{
    QJsonObject status;
    status.insert(QStringLiteral("online"), false);
    status.insert(QStringLiteral("delayed"), true);
    control("PUT", QStringLiteral("control/worker-status"), status);
    const QString id = newProject(QStringLiteral("a notes app"));
    stepClock(3);
    EXPECT_EQ(newestJob(id).value(QStringLiteral("status")), QJsonValue(QStringLiteral("queued")));
}

TEST_F(DevServerServicesTest, InjectedJsonErrorShowsItsMessage)
{
    QJsonObject body = fault(QStringLiteral("api/library"));
    body.insert(QStringLiteral("status"), 503);
    QJsonObject message;
    message.insert(QStringLiteral("message"), QStringLiteral("The library is resting."));
    body.insert(QStringLiteral("json"), message);
    injectFault(body);
    const ProcessResult result = cli({QStringLiteral("library")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("The library is resting."));
}

TEST_F(DevServerServicesTest, InjectedHtmlErrorGivesRequestFailed)
{
    QJsonObject body = fault(QStringLiteral("api/worker-status"));
    body.insert(QStringLiteral("status"), 502);
    body.insert(QStringLiteral("html"), QStringLiteral("<h1>Bad gateway</h1>"));
    injectFault(body);
    const ProcessResult result = cli({QStringLiteral("worker-status")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("Request failed (502)"));
}

TEST_F(DevServerServicesTest, InjectedFaultLastsForItsCount)
{
    QJsonObject body = fault(QStringLiteral("api/worker-status"));
    body.insert(QStringLiteral("status"), 500);
    body.insert(QStringLiteral("count"), 2);
    injectFault(body);
    EXPECT_EQ(cli({QStringLiteral("worker-status")}).exitCode, 1);
    EXPECT_EQ(cli({QStringLiteral("worker-status")}).exitCode, 1);
    EXPECT_EQ(cli({QStringLiteral("worker-status")}).exitCode, 0);
}

TEST_F(DevServerServicesTest, InjectedFaultMatchesAnyProjectWithAStar)
{
    const QString id = newProject(QStringLiteral("a notes app"));
    QJsonObject body = fault(QStringLiteral("api/projects/*"));
    body.insert(QStringLiteral("status"), 500);
    body.insert(QStringLiteral("method"), QStringLiteral("GET"));
    injectFault(body);
    EXPECT_EQ(errorLine(cli({QStringLiteral("show"), id})), QStringLiteral("Injected failure"));
}

TEST_F(DevServerServicesTest, ClearingFaultsForgetsThem)
{
    QJsonObject body = fault(QStringLiteral("api/worker-status"));
    body.insert(QStringLiteral("status"), 500);
    injectFault(body);
    control("DELETE", QStringLiteral("control/faults"));
    EXPECT_EQ(cli({QStringLiteral("worker-status")}).exitCode, 0);
}

TEST_F(DevServerServicesTest, SlowReplyStillArrives)
{
    QJsonObject body = fault(QStringLiteral("api/worker-status"));
    body.insert(QStringLiteral("delayMs"), 700);
    injectFault(body);
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(cliOk({QStringLiteral("worker-status")}), QStringLiteral("online\n"));
    EXPECT_GE(timer.elapsed(), 700);
}

TEST_F(DevServerServicesTest, TruncatedReplyFailsTheCommand)
{
    const QString id = newProject(QStringLiteral("a notes app"));
    QJsonObject body = fault(QStringLiteral("api/projects/") + id);
    body.insert(QStringLiteral("truncate"), true);
    injectFault(body);
    EXPECT_EQ(cli({QStringLiteral("show"), id}).exitCode, 1);
    EXPECT_EQ(cli({QStringLiteral("show"), id}).exitCode, 0);
}

TEST_F(DevServerServicesTest, ResetConnectionFailsTheCommandAsATransportFailure)
{
    const QString id = newProject(QStringLiteral("a notes app"));
    QJsonObject body = fault(QStringLiteral("api/projects/") + id);
    body.insert(QStringLiteral("reset"), true);
    injectFault(body);
    const ProcessResult result = cli({QStringLiteral("show"), id});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(errorLine(result).startsWith(QStringLiteral("Could not reach the service: ")))
        << errorLine(result).toStdString();
    EXPECT_EQ(cli({QStringLiteral("show"), id}).exitCode, 0);
}

TEST_F(DevServerServicesTest, GeneratedBodyOfTheGivenSizeArrivesWhole)
{
    QJsonObject body = fault(QStringLiteral("api/worker-status"));
    body.insert(QStringLiteral("bodySize"), 5 * 1024 * 1024);
    injectFault(body);
    Client client(*server);
    const Reply reply = client.get(QStringLiteral("api/worker-status"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body.size(), 5 * 1024 * 1024);
    EXPECT_EQ(reply.body.count('x'), 5 * 1024 * 1024);
    // The next reply is the real one again.
    EXPECT_EQ(client.get(QStringLiteral("api/worker-status")).status, 200);
    EXPECT_TRUE(client.get(QStringLiteral("api/worker-status")).json().contains(QStringLiteral("online")));
}

TEST_F(DevServerServicesTest, FaultWithoutAnyEffectIsRefused)
{
    const Reply reply =
        controller->postJson(QStringLiteral("control/faults"), fault(QStringLiteral("api/gallery")));
    EXPECT_EQ(reply.status, 400);
    EXPECT_EQ(reply.message(),
              QStringLiteral("A fault needs a status, a delayMs, truncate, reset or a bodySize"));
}

TEST_F(DevServerServicesTest, TruncatedDiskImageLeavesNothingInDownloads)
{
    const QString id = readyProject();
    QJsonObject body = fault(QStringLiteral("files/**"));
    body.insert(QStringLiteral("truncate"), true);
    injectFault(body);
    EXPECT_EQ(cli({QStringLiteral("download"), id, QStringLiteral("--dmg")}).exitCode, 1);
    EXPECT_TRUE(downloadedImages().isEmpty()) << downloadedImages().join(QLatin1Char(' ')).toStdString();
}

TEST_F(DevServerServicesTest, DiskImageErrorStatusNamesTheStatus)
{
    const QString id = readyProject();
    QJsonObject body = fault(QStringLiteral("files/**"));
    body.insert(QStringLiteral("status"), 503);
    injectFault(body);
    const ProcessResult result = cli({QStringLiteral("download"), id, QStringLiteral("--dmg")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("The download failed (503)."));
    EXPECT_TRUE(downloadedImages().isEmpty());
}

TEST_F(DevServerServicesTest, HtmlNotFoundForTheAppArchiveCannotBeUnpacked)
{
    const QString id = readyProject();
    QJsonObject body = fault(QStringLiteral("files/**"));
    body.insert(QStringLiteral("status"), 404);
    body.insert(QStringLiteral("html"), QStringLiteral("<!DOCTYPE html><h1>Not found</h1>"));
    injectFault(body);
    const ProcessResult result = cli({QStringLiteral("download"), id, QStringLiteral("--zip")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("Could not unpack the downloaded app"));
}

TEST_F(DevServerServicesTest, RestartKeepsProjectsJobsAndTheirFiles)
{
    const QString id = readyProject();
    startServer();
    signInAsDemo();
    const QJsonObject job = newestJob(id);
    EXPECT_EQ(job.value(QStringLiteral("status")), QJsonValue(QStringLiteral("ready")));
    EXPECT_EQ(job.value(QStringLiteral("version")), QJsonValue(QStringLiteral("1.0")));
    const QString app = cliOk({QStringLiteral("download"), id, QStringLiteral("--zip")}).trimmed();
    EXPECT_TRUE(app.endsWith(QStringLiteral("/Notes.app"))) << app.toStdString();
}

TEST_F(DevServerServicesTest, RestartKeepsTheCommandLineSignedIn)
{
    startServer();
    EXPECT_EQ(cliOk({QStringLiteral("session")}), QStringLiteral("signed in\n"));
}

TEST_F(DevServerServicesTest, TruncatedAppArchiveFailsAsAClosedConnection)
{
    const QString id = readyProject();
    QJsonObject body = fault(QStringLiteral("files/*/app.zip"));
    body.insert(QStringLiteral("truncate"), true);
    injectFault(body);
    const ProcessResult result = cli({QStringLiteral("download"), id, QStringLiteral("--zip")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("The download failed: Connection closed"));
}

TEST_F(DevServerServicesTest, SlowDownloadStillArrivesWhole)
{
    const QString id = readyProject();
    QJsonObject body = fault(QStringLiteral("files/*/app.dmg"));
    body.insert(QStringLiteral("delayMs"), 500);
    injectFault(body);
    const QString image = cliOk({QStringLiteral("download"), id, QStringLiteral("--dmg")}).trimmed();
    EXPECT_EQ(QFileInfo(image).size(), 512 * 1024);
}

TEST_F(DevServerServicesTest, RestartKeepsFavoritesAndGithubLinks)
{
    const QString id = readyProject();
    visitLibraryPage(id);
    github(id, {QStringLiteral("link"), QStringLiteral("demo/website")});
    cliOk({QStringLiteral("favorite"), QStringLiteral("recipe-box"), QStringLiteral("on")});
    startServer();
    signInAsDemo();
    EXPECT_EQ(linkOf(panel(id)).value(QStringLiteral("repo")), QJsonValue(QStringLiteral("demo/website")));
    EXPECT_TRUE(cliOk({QStringLiteral("gallery"), QStringLiteral("--favorites")})
                    .startsWith(QStringLiteral("recipe-box\t")));
}

TEST_F(DevServerServicesTest, RestartFinishesJobsThatWereRunning)
{
    const QString id = newProject(QStringLiteral("a notes app"));
    stepClock(2);
    startServer();
    finishJobs();
    signInAsDemo();
    EXPECT_EQ(newestJob(id).value(QStringLiteral("status")), QJsonValue(QStringLiteral("ready")));
}

TEST_F(DevServerServicesTest, ControlInterfaceIsAbsentWithoutTheFlag)
{
    startServer({QStringLiteral("--speed"), QStringLiteral("3600")});
    const Reply reply = controller->postJson(QStringLiteral("control/clock/step"), QJsonObject());
    EXPECT_EQ(reply.status, 404);
}

TEST_F(DevServerServicesTest, ControlCallsAreNeverBroken)
{
    QJsonObject body = fault(QStringLiteral("control/clock/step"));
    body.insert(QStringLiteral("status"), 500);
    const Reply reply = controller->postJson(QStringLiteral("control/faults"), body);
    EXPECT_EQ(reply.status, 400);
}
