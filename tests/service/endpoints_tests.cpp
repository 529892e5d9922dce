#include "recording_server.h"
#include "service/api.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

QJsonObject jsonBody(const RecordedRequest& request)
{
    return QJsonDocument::fromJson(request.body).object();
}

QStringList sortedKeys(const QJsonObject& object)
{
    QStringList keys = object.keys();
    keys.sort();
    return keys;
}

class EndpointTest : public ::testing::Test
{
protected:
    EndpointTest()
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        server.on(QStringLiteral("GET /api/projects"),
                  ScriptedReply::json(200, R"({"projects":[{"id":"new1","name":"Fresh"}]})"));
    }

    // The one request that reached `path`, or an empty record after a test failure.
    RecordedRequest only(const QString& path)
    {
        const auto found = server.requestsTo(path);
        EXPECT_EQ(found.size(), 1) << path.toStdString();
        return found.value(0);
    }

    TempHome home;
    RecordingServer server;
};

} // namespace

TEST_F(EndpointTest, CreateProjectWithoutSourceOrImportSendsOnlyThePrompt)
{
    server.on(QStringLiteral("POST /api/projects"), ScriptedReply::json(200, R"({"id":"new1"})"));
    API api;
    const auto id = run(api.createProject(QStringLiteral("A timer"), false, std::nullopt, std::nullopt));
    ASSERT_TRUE(id.ok()) << id.errorText().toStdString();
    EXPECT_EQ(*id.value, QStringLiteral("new1"));
    const QJsonObject body = jsonBody(server.requests()[0]);
    EXPECT_EQ(sortedKeys(body), QStringList(QStringLiteral("prompt")));
    EXPECT_EQ(body.value(QStringLiteral("prompt")).toString(), QStringLiteral("A timer"));
}

TEST_F(EndpointTest, CreateProjectForThisMacAsksForSourceOnly)
{
    server.on(QStringLiteral("POST /api/projects"), ScriptedReply::json(200, R"({"id":"new1"})"));
    API api;
    run(api.createProject(QStringLiteral("A timer"), true, std::nullopt, QStringLiteral("main")));
    const QJsonObject body = jsonBody(server.requests()[0]);
    EXPECT_EQ(sortedKeys(body), (QStringList{QStringLiteral("mode"), QStringLiteral("prompt")}));
    EXPECT_EQ(body.value(QStringLiteral("mode")).toString(), QStringLiteral("source"));
}

TEST_F(EndpointTest, CreateProjectWithImportAndEmptyRefSendsNoRef)
{
    server.on(QStringLiteral("POST /api/projects"), ScriptedReply::json(200, R"({"id":"new1"})"));
    API api;
    run(api.createProject(QStringLiteral("p"), true, QStringLiteral("https://github.com/o/r"), QString()));
    const QJsonObject body = jsonBody(server.requests()[0]);
    EXPECT_EQ(sortedKeys(body),
              (QStringList{QStringLiteral("acknowledgeUnsafe"), QStringLiteral("importRepo"),
                           QStringLiteral("mode"), QStringLiteral("prompt")}));
    EXPECT_EQ(body.value(QStringLiteral("acknowledgeUnsafe")), QJsonValue(true));
    EXPECT_EQ(body.value(QStringLiteral("importRepo")).toString(), QStringLiteral("https://github.com/o/r"));
}

TEST_F(EndpointTest, CreateProjectWithImportAndRefSendsTheRef)
{
    server.on(QStringLiteral("POST /api/projects"), ScriptedReply::json(200, R"({"id":"new1"})"));
    API api;
    run(api.createProject(QStringLiteral("p"), false, QStringLiteral("https://github.com/o/r"),
                          QStringLiteral("v2")));
    const QJsonObject body = jsonBody(server.requests()[0]);
    EXPECT_EQ(body.value(QStringLiteral("importRef")).toString(), QStringLiteral("v2"));
    EXPECT_FALSE(body.contains(QStringLiteral("mode")));
}

TEST_F(EndpointTest, CreateProjectReloadsTheListBeforeAnsweringTheId)
{
    server.on(QStringLiteral("POST /api/projects"), ScriptedReply::json(200, R"({"id":"new1"})"));
    API api;
    run(api.createProject(QStringLiteral("p"), false, std::nullopt, std::nullopt));
    ASSERT_EQ(server.requests().size(), 2);
    EXPECT_EQ(server.requests()[1].path(), QStringLiteral("/api/projects"));
    EXPECT_EQ(server.requests()[1].method, QByteArray("GET"));
    ASSERT_EQ(api.projects().size(), 1);
    EXPECT_EQ(api.projects()[0].id, QStringLiteral("new1"));
}

TEST_F(EndpointTest, FailedCreationLeavesTheListUntouched)
{
    server.on(QStringLiteral("POST /api/projects"),
              ScriptedReply::json(402, R"({"error":"Out of credits"})"));
    API api;
    EXPECT_EQ(run(api.createProject(QStringLiteral("p"), false, std::nullopt, std::nullopt)).errorText(),
              QStringLiteral("Out of credits"));
    EXPECT_EQ(server.requests().size(), 1);
    EXPECT_TRUE(api.projects().isEmpty());
}

TEST_F(EndpointTest, SendWithoutFixSendsOnlyThePrompt)
{
    server.on(QStringLiteral("POST /api/projects/p1/messages"), ScriptedReply::json(201, "not read"));
    API api;
    ASSERT_TRUE(run(api.send(QStringLiteral("Make it blue"), QStringLiteral("p1"), false)).ok());
    const QJsonObject body = jsonBody(only(QStringLiteral("/api/projects/p1/messages")));
    EXPECT_EQ(sortedKeys(body), QStringList(QStringLiteral("prompt")));
}

TEST_F(EndpointTest, SendForAFixMarksItSourceFix)
{
    server.on(QStringLiteral("POST /api/projects/p1/messages"), ScriptedReply::json(200, "{}"));
    API api;
    run(api.send(QStringLiteral("errors…"), QStringLiteral("p1"), true));
    const QJsonObject body = jsonBody(only(QStringLiteral("/api/projects/p1/messages")));
    EXPECT_EQ(body.value(QStringLiteral("mode")).toString(), QStringLiteral("source-fix"));
    EXPECT_EQ(body.value(QStringLiteral("prompt")).toString(), QStringLiteral("errors…"));
}

TEST_F(EndpointTest, DetailReadsTheProjectWithItsHistory)
{
    server.on(QStringLiteral("GET /api/projects/p1"),
              ScriptedReply::json(
                  200,
                  R"({"project":{"id":"p1","name":"N"},"messages":[{"id":"m","role":"user","content":"c"}],)"
                  R"("jobs":[{"id":"j","status":"building","stage":"compiling"}]})"));
    API api;
    const auto detail = run(api.detail(QStringLiteral("p1")));
    ASSERT_TRUE(detail.ok()) << detail.errorText().toStdString();
    EXPECT_EQ(detail.value->jobs[0].stage, QStringLiteral("compiling"));
    EXPECT_EQ(detail.value->messages[0].role, QStringLiteral("user"));
}

TEST_F(EndpointTest, DetailWhoseJobsAreGivenTwiceKeepsTheLastList)
{
    server.on(
        QStringLiteral("GET /api/projects/p1"),
        ScriptedReply::json(200, R"({"project":{"id":"p1","name":"N"},"messages":[],)"
                                 R"("jobs":[{"id":"old1","status":"failed"},{"id":"old2","status":"ready"}],)"
                                 R"("jobs":[{"id":"new","status":"queued"}]})"));
    API api;
    const auto detail = run(api.detail(QStringLiteral("p1")));
    ASSERT_TRUE(detail.ok()) << detail.errorText().toStdString();
    ASSERT_EQ(detail.value->jobs.size(), 1) << "the two lists are not joined";
    EXPECT_EQ(detail.value->jobs[0].id, QStringLiteral("new"));
    EXPECT_EQ(detail.value->jobs[0].status, JobStatus::queued);
}

TEST_F(EndpointTest, LibraryAndLibraryDetailReadTheirRecords)
{
    server.on(QStringLiteral("GET /api/library"),
              ScriptedReply::json(
                  200, R"({"apps":[{"projectId":"p","name":"A","versions":[],"templatePublic":true}]})"));
    server.on(QStringLiteral("GET /api/library/p"),
              ScriptedReply::json(
                  200, R"({"app":{"projectId":"p","name":"A","versions":[],"templatePublic":false},)"
                       R"("tree":[],"treeProjectId":"root","canTemplate":false})"));
    API api;
    const auto apps = run(api.library());
    ASSERT_TRUE(apps.ok());
    EXPECT_TRUE(apps.value->at(0).templatePublic);
    const auto detail = run(api.libraryDetail(QStringLiteral("p")));
    ASSERT_TRUE(detail.ok());
    EXPECT_EQ(detail.value->treeProjectId, QStringLiteral("root"));
}

TEST_F(EndpointTest, ForkTemplateSendsTheJobAndReloadsTheList)
{
    server.on(QStringLiteral("POST /api/templates/fork"),
              ScriptedReply::json(200, R"({"projectId":"new1"})"));
    API api;
    const auto id = run(api.forkTemplate(QStringLiteral("job-7")));
    ASSERT_TRUE(id.ok());
    EXPECT_EQ(*id.value, QStringLiteral("new1"));
    const QJsonObject body = jsonBody(only(QStringLiteral("/api/templates/fork")));
    EXPECT_EQ(sortedKeys(body), QStringList(QStringLiteral("jobId")));
    EXPECT_EQ(body.value(QStringLiteral("jobId")).toString(), QStringLiteral("job-7"));
    EXPECT_EQ(api.projects().size(), 1);
}

TEST_F(EndpointTest, GalleryOfAnUnreachableServiceIsEmptyWithoutAnError)
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    home.setEnv("BRIGHTLOOM_URL", QStringLiteral("http://127.0.0.1:%1/").arg(port).toUtf8());
    API api;
    const auto apps = run(api.gallery());
    ASSERT_TRUE(apps.ok());
    EXPECT_TRUE(apps.value->isEmpty());
    const auto slugs = run(api.favoriteSlugs());
    ASSERT_TRUE(slugs.ok());
    EXPECT_TRUE(slugs.value->isEmpty());
    const auto panel = run(api.githubPanel(QStringLiteral("p")));
    ASSERT_TRUE(panel.ok());
    EXPECT_FALSE(panel.value->has_value());
}

TEST_F(EndpointTest, CallsThatNeverFailAnswerEmptyOnErrorStatusOrBadReply)
{
    server.on(QStringLiteral("GET /api/gallery"), ScriptedReply::json(200, R"({"apps":[{"slug":"x"}]})"));
    server.on(QStringLiteral("GET /api/apps/favorites"), ScriptedReply::json(500, R"({"message":"x"})"));
    server.on(QStringLiteral("GET /api/projects/p/github"), ScriptedReply::html(200, "<html>"));
    API api;
    EXPECT_TRUE(run(api.gallery()).value->isEmpty());
    EXPECT_TRUE(run(api.favoriteSlugs()).value->isEmpty());
    EXPECT_FALSE(run(api.githubPanel(QStringLiteral("p"))).value->has_value());
}

TEST_F(EndpointTest, GalleryAndFavoritesReadTheirLists)
{
    server.on(QStringLiteral("GET /api/gallery"),
              ScriptedReply::json(
                  200, R"({"apps":[{"slug":"s","name":"n","tagline":"t","blurb":"b","category":"c",)"
                       R"("starred":true,"ai":false,"iconUrl":"/i.png","views":5,"favorites":2}]})"));
    server.on(QStringLiteral("GET /api/apps/favorites"),
              ScriptedReply::json(200, R"({"slugs":["a","b","a"]})"));
    API api;
    EXPECT_EQ(run(api.gallery()).value->at(0).views, 5);
    EXPECT_EQ(*run(api.favoriteSlugs()).value, (QSet<QString>{QStringLiteral("a"), QStringLiteral("b")}));
}

TEST_F(EndpointTest, SetFavoriteSendsAJsonBoolean)
{
    server.on(QStringLiteral("PUT /api/apps/pomodoro/favorite"), ScriptedReply::json(200, "{}"));
    API api;
    run(api.setFavorite(QStringLiteral("pomodoro"), true));
    run(api.setFavorite(QStringLiteral("pomodoro"), false));
    const auto sent = server.requestsTo(QStringLiteral("/api/apps/pomodoro/favorite"));
    ASSERT_EQ(sent.size(), 2);
    EXPECT_EQ(sent[0].method, QByteArray("PUT"));
    EXPECT_EQ(sent[0].body, QByteArray(R"({"favorite":true})"));
    EXPECT_EQ(sent[1].body, QByteArray(R"({"favorite":false})"));
}

TEST_F(EndpointTest, GithubPanelReadsTheRecord)
{
    server.on(QStringLiteral("GET /api/projects/p/github"),
              ScriptedReply::json(200, R"({"state":"ready","login":"me","pushVersion":"1.2"})"));
    API api;
    const auto panel = run(api.githubPanel(QStringLiteral("p")));
    ASSERT_TRUE(panel.value->has_value());
    EXPECT_EQ((*panel.value)->pushVersion, QStringLiteral("1.2"));
}

TEST_F(EndpointTest, GithubReposAndLinkSendWhatTheServiceExpects)
{
    server.on(QStringLiteral("GET /api/github/repos"),
              ScriptedReply::json(200, R"({"repos":[{"fullName":"me/a"},{"fullName":"me/b"}]})"));
    server.on(QStringLiteral("POST /api/projects/p/github"), ScriptedReply::json(200, "{}"));
    API api;
    const auto repos = run(api.githubRepos());
    ASSERT_EQ(repos.value->size(), 2);
    EXPECT_EQ(repos.value->at(1).fullName, QStringLiteral("me/b"));
    run(api.githubLinkRepo(QStringLiteral("p"), QStringLiteral("me/b")));
    const auto link = only(QStringLiteral("/api/projects/p/github"));
    EXPECT_EQ(link.method, QByteArray("POST"));
    EXPECT_EQ(link.body, QByteArray(R"({"repo":"me/b"})"));
}

TEST_F(EndpointTest, GithubUnlinkSendsDeleteWithNoBodyAndNoContentType)
{
    server.on(QStringLiteral("DELETE /api/projects/p/github"), ScriptedReply::json(200, "{}"));
    API api;
    ASSERT_TRUE(run(api.githubUnlink(QStringLiteral("p"))).ok());
    const auto sent = only(QStringLiteral("/api/projects/p/github"));
    EXPECT_EQ(sent.method, QByteArray("DELETE"));
    EXPECT_TRUE(sent.body.isEmpty());
    EXPECT_FALSE(sent.hasHeader("Content-Type"));
}

TEST_F(EndpointTest, GithubPushSendsAnEmptyObjectAndReadsTheResult)
{
    server.on(QStringLiteral("POST /api/projects/p/github/push"),
              ScriptedReply::json(
                  200, R"({"changed":true,"commitUrl":"https://github.com/me/a/commit/1","version":"1.1"})"));
    API api;
    const auto result = run(api.githubPush(QStringLiteral("p")));
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value->changed, true);
    const auto sent = only(QStringLiteral("/api/projects/p/github/push"));
    EXPECT_EQ(sent.body, QByteArray("{}"));
    EXPECT_EQ(sent.header("Content-Type"), QByteArray("application/json"));
}

TEST_F(EndpointTest, WorkerStatusReadsTheRecord)
{
    server.on(QStringLiteral("GET /api/worker-status"),
              ScriptedReply::json(200, R"({"online":true,"delayed":true,"reason":"busy"})"));
    API api;
    const auto status = run(api.workerStatus());
    ASSERT_TRUE(status.ok());
    EXPECT_TRUE(status.value->delayed);
    EXPECT_EQ(status.value->reason, QStringLiteral("busy"));
}

TEST_F(EndpointTest, ThrowingCallsPassTheServiceTextOn)
{
    server.on(QStringLiteral("GET /api/library"), ScriptedReply::json(401, R"({"message":"Unauthorized"})"));
    server.on(QStringLiteral("POST /api/projects/p/github/push"),
              ScriptedReply::html(502, "<h1>Bad gateway</h1>"));
    API api;
    EXPECT_EQ(run(api.library()).errorText(), QStringLiteral("Unauthorized"));
    EXPECT_EQ(run(api.githubPush(QStringLiteral("p"))).errorText(), QStringLiteral("Request failed (502)"));
}

TEST_F(EndpointTest, IconTextStartingWithHttpIsTakenAsItStands)
{
    API api;
    EXPECT_EQ(api.iconURL(QStringLiteral("https://cdn.test/a.png")),
              QUrl(QStringLiteral("https://cdn.test/a.png")));
    EXPECT_EQ(api.iconURL(QStringLiteral("http://cdn.test/a.png")),
              QUrl(QStringLiteral("http://cdn.test/a.png")));
    // Not an absolute address, yet not resolved against the base either.
    const auto odd = api.iconURL(QStringLiteral("httpicons/a.png"));
    ASSERT_TRUE(odd.has_value());
    EXPECT_EQ(*odd, QUrl(QStringLiteral("httpicons/a.png")));
    EXPECT_TRUE(odd->isRelative());
    EXPECT_FALSE(api.iconURL(QStringLiteral("http://[bad")).has_value());
}

TEST_F(EndpointTest, IconPathWithOrWithoutSlashLandsOnTheServiceHost)
{
    home.setEnv("BRIGHTLOOM_URL", "https://svc.test/");
    API api;
    EXPECT_EQ(api.iconURL(QStringLiteral("/icons/a.png")),
              QUrl(QStringLiteral("https://svc.test/icons/a.png")));
    EXPECT_EQ(api.iconURL(QStringLiteral("icons/a.png")),
              QUrl(QStringLiteral("https://svc.test/icons/a.png")));
    EXPECT_FALSE(api.iconURL(QStringLiteral("ic ons/%zz")).has_value());
}
