#include "api_fixture.h"
#include "recording_server.h"
#include "service/api.h"
#include "service/api_error.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QFile>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTcpServer>
#include <QThread>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

const QByteArray projectsReply =
    R"({"projects":[{"id":"p1","name":"Timer"},{"id":"p2","name":"Imported","unsafe":true}]})";

QJsonObject jsonBody(const RecordedRequest& request)
{
    return QJsonDocument::fromJson(request.body).object();
}

// An address where nothing listens: a port that was free a moment ago.
QString unreachableAddress()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return QStringLiteral("http://127.0.0.1:%1/").arg(port);
}

} // namespace

TEST_F(ApiTest, EveryRequestGoesToTheAddressOfTheEnvironmentWithItAsOrigin)
{
    const QString address = QStringLiteral("http://127.0.0.1:%1").arg(server.baseUrl().port());
    home.setEnv("BRIGHTLOOM_URL", address.toUtf8());
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, projectsReply));
    API api;
    run(api.loadProjects());
    run(api.signOut());
    ASSERT_EQ(server.requests().size(), 2);
    for (const auto& request : server.requests())
        EXPECT_EQ(request.header("Origin"), address.toUtf8()) << request.target.constData();
    EXPECT_EQ(server.requests()[0].target, QByteArray("/api/projects"));
    EXPECT_EQ(server.requests()[1].target, QByteArray("/api/auth/sign-out"));
}

TEST_F(ApiTest, PathIsAppendedToABaseThatHasAPath)
{
    home.setEnv("BRIGHTLOOM_URL", (server.baseUrl().toString() + QStringLiteral("root")).toUtf8());
    API api;
    run(api.request(QStringLiteral("api/projects/abc"), "GET"));
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].target, QByteArray("/root/api/projects/abc"));
}

TEST_F(ApiTest, AddressThatIsNotAUrlFallsBackToTheBuiltInService)
{
    EXPECT_EQ(API::chooseBase(QStringLiteral("not a url")), QUrl(QString::fromLatin1(API::builtInAddress)));
    EXPECT_EQ(API::chooseBase(QStringLiteral("")), QUrl(QString::fromLatin1(API::builtInAddress)));
    EXPECT_EQ(API::chooseBase(QStringLiteral("http://[::1")), QUrl(QString::fromLatin1(API::builtInAddress)));
    EXPECT_EQ(API::chooseBase(QStringLiteral("http://127.0.0.1:9/")),
              QUrl(QStringLiteral("http://127.0.0.1:9/")));
    EXPECT_EQ(QUrl(QString::fromLatin1(API::builtInAddress)).scheme(), QStringLiteral("https"));
}

TEST_F(ApiTest, RequestWithoutBodyHasNoContentType)
{
    API api;
    run(api.request(QStringLiteral("api/projects"), "GET"));
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_FALSE(server.requests()[0].hasHeader("Content-Type"));
    EXPECT_TRUE(server.requests()[0].body.isEmpty());
    EXPECT_EQ(server.requests()[0].method, QByteArray("GET"));
}

TEST_F(ApiTest, ErrorStatusWithJsonMessageFailsWithExactlyThatText)
{
    server.on(QStringLiteral("/api/x"),
              ScriptedReply::json(404, R"({"message":"Project not found","error":"nf"})"));
    API api;
    const auto outcome = run(api.request(QStringLiteral("api/x"), "GET"));
    EXPECT_EQ(outcome.errorText(), QStringLiteral("Project not found"));
    try {
        std::rethrow_exception(outcome.error);
    } catch (const APIError& e) {
        EXPECT_EQ(e.message(), QStringLiteral("Project not found"));
    } catch (...) {
        ADD_FAILURE() << "not an APIError";
    }
}

TEST_F(ApiTest, ErrorStatusWithOnlyAnErrorStringUsesIt)
{
    server.on(QStringLiteral("/api/x"),
              ScriptedReply::json(403, R"({"message":42,"error":"Forbidden here"})"));
    API api;
    EXPECT_EQ(run(api.request(QStringLiteral("api/x"), "GET")).errorText(), QStringLiteral("Forbidden here"));
}

TEST_F(ApiTest, ErrorStatusWhoseMessageIsGivenTwiceFailsWithTheLastOne)
{
    server.on(QStringLiteral("/api/x"), ScriptedReply::json(422, R"({"message":"a","message":"b"})"));
    server.on(QStringLiteral("/api/y"),
              ScriptedReply::json(409, R"({"message":"a","error":"first","message":7,"error":"last"})"));
    API api;
    EXPECT_EQ(run(api.request(QStringLiteral("api/x"), "GET")).errorText(), QStringLiteral("b"));
    // A message whose last value is no text is no message, whatever came before it.
    EXPECT_EQ(run(api.request(QStringLiteral("api/y"), "GET")).errorText(), QStringLiteral("last"));
}

TEST_F(ApiTest, ErrorStatusWithHtmlFailsWithRequestFailedAndTheStatus)
{
    server.on(QStringLiteral("/api/x"), ScriptedReply::html(500, "<html><body>Oops</body></html>"));
    server.on(QStringLiteral("/api/y"), ScriptedReply::json(502, R"(["message"])"));
    server.on(QStringLiteral("/api/z"), ScriptedReply::json(400, R"({"message":null,"error":false})"));
    API api;
    EXPECT_EQ(run(api.request(QStringLiteral("api/x"), "GET")).errorText(),
              QStringLiteral("Request failed (500)"));
    EXPECT_EQ(run(api.request(QStringLiteral("api/y"), "GET")).errorText(),
              QStringLiteral("Request failed (502)"));
    EXPECT_EQ(run(api.request(QStringLiteral("api/z"), "GET")).errorText(),
              QStringLiteral("Request failed (400)"));
}

TEST_F(ApiTest, StatusBelowFourHundredSucceedsWhateverTheBody)
{
    server.on(QStringLiteral("/api/x"), ScriptedReply::html(200, "not json at all"));
    server.on(QStringLiteral("/api/n"), ScriptedReply::html(304, ""));
    API api;
    const auto plain = run(api.request(QStringLiteral("api/x"), "GET"));
    ASSERT_TRUE(plain.ok()) << plain.errorText().toStdString();
    EXPECT_EQ(*plain.value, QByteArray("not json at all"));
    EXPECT_TRUE(run(api.request(QStringLiteral("api/n"), "GET")).ok());
}

TEST_F(ApiTest, OkReplyThatIsNotJsonFailsOnlyWhenDecoded)
{
    server.on(QStringLiteral("/api/projects"), ScriptedReply::html(200, "<html>hello</html>"));
    API api;
    EXPECT_TRUE(run(api.request(QStringLiteral("api/projects"), "GET")).ok());
    const auto decoded = run(api.decode<ProjectsResp>(QStringLiteral("api/projects")));
    ASSERT_FALSE(decoded.ok());
    try {
        std::rethrow_exception(decoded.error);
    } catch (const DecodeError&) {
    } catch (...) {
        ADD_FAILURE() << "expected a decoding error, got " << decoded.errorText().toStdString();
    }
}

TEST_F(ApiTest, JobWithoutStatusFailsTheCallThatAskedForIt)
{
    server.on(
        QStringLiteral("/api/projects/p1"),
        ScriptedReply::json(200, R"({"project":{"id":"p1","name":"N"},"messages":[],"jobs":[{"id":"j"}]})"));
    API api;
    const auto outcome = run(api.decode<ProjectDetail>(QStringLiteral("api/projects/p1")));
    EXPECT_TRUE(outcome.errorText().contains(QStringLiteral("\"status\" is missing")))
        << outcome.errorText().toStdString();
}

TEST_F(ApiTest, DecodingResumesOnTheMainThread)
{
    server.on(QStringLiteral("/api/projects"), ScriptedReply::json(200, projectsReply));
    API api;
    QThread* resumedOn = nullptr;
    auto body = [](API& api, QThread** where) -> QCoro::Task<ProjectsResp> {
        ProjectsResp resp = co_await api.decode<ProjectsResp>(QStringLiteral("api/projects"));
        *where = QThread::currentThread();
        co_return resp;
    };
    const auto outcome = run(body(api, &resumedOn));
    ASSERT_TRUE(outcome.ok());
    EXPECT_EQ(outcome.value->projects.size(), 2);
    EXPECT_EQ(resumedOn, QThread::currentThread());
}

TEST_F(ApiTest, UnreachableServiceThrowsTheTransportError)
{
    home.setEnv("BRIGHTLOOM_URL", unreachableAddress().toUtf8());
    API api;
    const auto outcome = run(api.request(QStringLiteral("api/projects"), "GET"));
    ASSERT_FALSE(outcome.ok());
    try {
        std::rethrow_exception(outcome.error);
    } catch (const TransportError& e) {
        EXPECT_TRUE(QString::fromUtf8(e.what()).startsWith(QStringLiteral("Could not reach the service: ")));
    } catch (...) {
        ADD_FAILURE() << "not a transport error: " << outcome.errorText().toStdString();
    }
}

TEST_F(ApiTest, ReplyCutShortIsATransportError)
{
    ScriptedReply cut = ScriptedReply::json(200, QByteArray(4000, 'x'));
    cut.cutShort = true;
    server.on(QStringLiteral("/api/cut"), cut);
    API api;
    const auto outcome = run(api.request(QStringLiteral("api/cut"), "GET"));
    EXPECT_TRUE(outcome.errorText().startsWith(QStringLiteral("Could not reach the service: ")))
        << outcome.errorText().toStdString();
}

TEST_F(ApiTest, StartsSignedOutCheckingWithNoProjects)
{
    API api;
    EXPECT_FALSE(api.signedIn());
    EXPECT_TRUE(api.checking());
    EXPECT_TRUE(api.projects().isEmpty());
}

TEST_F(ApiTest, SessionReplyOfNullLeavesSignedOutAndEndsTheCheck)
{
    server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
    API api;
    QSignalSpy checking(&api, &API::checkingChanged);
    run(api.restoreSession());
    EXPECT_FALSE(api.signedIn());
    EXPECT_FALSE(api.checking());
    EXPECT_EQ(checking.count(), 1);
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/api/projects")).isEmpty());
}

TEST_F(ApiTest, SessionWithUserKeyHoldingNullCountsAsSignedInAndLoadsProjects)
{
    server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, R"({"user":null})"));
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, projectsReply));
    API api;
    QSignalSpy signedIn(&api, &API::signedInChanged);
    QSignalSpy projects(&api, &API::projectsChanged);
    run(api.restoreSession());
    EXPECT_TRUE(api.signedIn());
    EXPECT_FALSE(api.checking());
    EXPECT_EQ(signedIn.count(), 1);
    EXPECT_EQ(projects.count(), 1);
    ASSERT_EQ(api.projects().size(), 2);
    EXPECT_EQ(api.projects()[1].unsafe, true);
}

TEST_F(ApiTest, SessionReplyThatIsNotJsonOrHasNoUserLeavesSignedOut)
{
    for (const QByteArray& body : {QByteArray("<html>"), QByteArray(R"({"session":{}})"), QByteArray("[]")}) {
        server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::html(200, body));
        API api;
        run(api.restoreSession());
        EXPECT_FALSE(api.signedIn()) << body.constData();
        EXPECT_FALSE(api.checking());
    }
}

TEST_F(ApiTest, FailedSessionCheckEndsSignedOut)
{
    server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(401, R"({"message":"no"})"));
    API api;
    run(api.restoreSession());
    EXPECT_FALSE(api.signedIn());
    EXPECT_FALSE(api.checking());

    home.setEnv("BRIGHTLOOM_URL", unreachableAddress().toUtf8());
    API offline;
    EXPECT_TRUE(run(offline.restoreSession()).ok());
    EXPECT_FALSE(offline.signedIn());
    EXPECT_FALSE(offline.checking());
}

TEST_F(ApiTest, SignInSendsEmailAndPasswordThenLoadsProjects)
{
    server.on(QStringLiteral("POST /api/auth/sign-in/email"), ScriptedReply::json(200, R"({"user":{}})"));
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, projectsReply));
    API api;
    const auto outcome = run(api.signIn(QStringLiteral("a@b.test"), QStringLiteral(" pass word ")));
    ASSERT_TRUE(outcome.ok()) << outcome.errorText().toStdString();
    const auto sent = server.requestsTo(QStringLiteral("/api/auth/sign-in/email"));
    ASSERT_EQ(sent.size(), 1);
    EXPECT_EQ(sent[0].method, QByteArray("POST"));
    EXPECT_EQ(sent[0].header("Content-Type"), QByteArray("application/json"));
    QJsonObject expected;
    expected.insert(QStringLiteral("email"), QStringLiteral("a@b.test"));
    expected.insert(QStringLiteral("password"), QStringLiteral(" pass word "));
    EXPECT_EQ(jsonBody(sent[0]), expected);
    EXPECT_TRUE(api.signedIn());
    EXPECT_EQ(api.projects().size(), 2);
}

TEST_F(ApiTest, FailedSignInThrowsTheServiceTextAndStaysSignedOut)
{
    server.on(QStringLiteral("POST /api/auth/sign-in/email"),
              ScriptedReply::json(401, R"({"message":"Invalid email or password"})"));
    API api;
    EXPECT_EQ(run(api.signIn(QStringLiteral("a@b.test"), QStringLiteral("x"))).errorText(),
              QStringLiteral("Invalid email or password"));
    EXPECT_FALSE(api.signedIn());
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/api/projects")).isEmpty());
}

TEST_F(ApiTest, SignUpSendsNameEmailAndPassword)
{
    server.on(QStringLiteral("POST /api/auth/sign-up/email"), ScriptedReply::json(200, "{}"));
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[]})"));
    API api;
    ASSERT_TRUE(
        run(api.signUp(QStringLiteral("Ann"), QStringLiteral("a@b.test"), QStringLiteral("pw"))).ok());
    const auto sent = server.requestsTo(QStringLiteral("/api/auth/sign-up/email"));
    ASSERT_EQ(sent.size(), 1);
    const QJsonObject body = jsonBody(sent[0]);
    EXPECT_EQ(body.keys(),
              (QStringList{QStringLiteral("email"), QStringLiteral("name"), QStringLiteral("password")}));
    EXPECT_EQ(body.value(QStringLiteral("name")).toString(), QStringLiteral("Ann"));
    EXPECT_TRUE(api.signedIn());
    EXPECT_EQ(server.requestsTo(QStringLiteral("/api/projects")).size(), 1);
}

TEST_F(ApiTest, SignOutSendsAnEmptyJsonObjectAndEndsSignedOut)
{
    server.on(QStringLiteral("POST /api/auth/sign-in/email"), ScriptedReply::json(200, "{}"));
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, projectsReply));
    server.on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(200, R"({"success":true})"));
    API api;
    run(api.signIn(QStringLiteral("a"), QStringLiteral("b")));
    ASSERT_EQ(api.projects().size(), 2);
    run(api.signOut());
    const auto sent = server.requestsTo(QStringLiteral("/api/auth/sign-out"));
    ASSERT_EQ(sent.size(), 1);
    EXPECT_EQ(sent[0].method, QByteArray("POST"));
    EXPECT_EQ(sent[0].header("Content-Type"), QByteArray("application/json"));
    EXPECT_EQ(sent[0].body, QByteArray("{}"));
    EXPECT_FALSE(api.signedIn());
    EXPECT_TRUE(api.projects().isEmpty());
}

TEST_F(ApiTest, SignOutWhileOfflineStillEndsSignedOutWithNoProjects)
{
    server.on(QStringLiteral("POST /api/auth/sign-in/email"), ScriptedReply::json(200, "{}"));
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, projectsReply));
    API api;
    run(api.signIn(QStringLiteral("a"), QStringLiteral("b")));
    ASSERT_TRUE(api.signedIn());
    server.setHandler([](const RecordedRequest&) { return ScriptedReply::html(503, "down"); });
    const auto outcome = run(api.signOut());
    EXPECT_TRUE(outcome.ok());
    EXPECT_FALSE(api.signedIn());
    EXPECT_TRUE(api.projects().isEmpty());
}

TEST_F(ApiTest, FailedProjectReloadKeepsTheList)
{
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, projectsReply));
    API api;
    run(api.loadProjects());
    ASSERT_EQ(api.projects().size(), 2);
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(500, R"({"message":"down"})"));
    EXPECT_TRUE(run(api.loadProjects()).ok());
    EXPECT_EQ(api.projects().size(), 2);
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[{"id":"x"}]})"));
    EXPECT_TRUE(run(api.loadProjects()).ok());
    EXPECT_EQ(api.projects().size(), 2);
}

TEST_F(ApiTest, OverlappingProjectReloadsLetTheLastToFinishWin)
{
    int calls = 0;
    server.setHandler([&calls](const RecordedRequest&) {
        // The first reload answers late with one list, the second at once with another.
        ScriptedReply reply =
            ScriptedReply::json(200, ++calls == 1 ? R"({"projects":[{"id":"late","name":"L"}]})"
                                                  : R"({"projects":[{"id":"early","name":"E"}]})");
        if (calls == 1)
            reply.delayMs = 300;
        return reply;
    });
    API api;
    bool firstDone = false, secondDone = false;
    auto reload = [](API& api, bool* done) -> QCoro::Task<> {
        co_await api.loadProjects();
        *done = true;
    };
    auto first = reload(api, &firstDone);
    spinUntil([&] { return calls == 1; });
    auto second = reload(api, &secondDone);
    ASSERT_TRUE(spinUntil([&] { return firstDone && secondDone; }));
    ASSERT_EQ(api.projects().size(), 1);
    EXPECT_EQ(api.projects()[0].id, QStringLiteral("late"));
}

TEST_F(ApiTest, SessionCookieIsKeptInAnOwnerOnlyFileAndSentByTheNextClient)
{
    ScriptedReply signIn = ScriptedReply::json(200, "{}");
    signIn.headers.append(
        qMakePair(QByteArray("Set-Cookie"),
                  QByteArray("brightloom.session_token=secret123; Path=/; HttpOnly; Max-Age=3600")));
    server.on(QStringLiteral("POST /api/auth/sign-in/email"), signIn);
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, projectsReply));
    {
        API api;
        run(api.signIn(QStringLiteral("a"), QStringLiteral("b")));
    }
    const QString file = home.dataFolder() + QStringLiteral("/cookies");
    ASSERT_TRUE(QFile::exists(file));
    const auto ownerGroupOther = QFile::Permissions(0x7000 | 0x0070 | 0x0007);
    EXPECT_EQ(QFile::permissions(file) & ownerGroupOther, QFile::ReadOwner | QFile::WriteOwner);
    server.clear();
    API next;
    run(next.loadProjects());
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].header("Cookie"), QByteArray("brightloom.session_token=secret123"));
}

TEST_F(ApiTest, ExpiredCookieIsForgotten)
{
    ScriptedReply signOut = ScriptedReply::json(200, "{}");
    signOut.headers.append(qMakePair(QByteArray("Set-Cookie"),
                                     QByteArray("brightloom.session_token=secret123; Path=/; Max-Age=3600")));
    server.on(QStringLiteral("POST /api/auth/sign-in/email"), signOut);
    ScriptedReply clear = ScriptedReply::json(200, "{}");
    clear.headers.append(
        qMakePair(QByteArray("Set-Cookie"), QByteArray("brightloom.session_token=; Path=/; Max-Age=0")));
    server.on(QStringLiteral("POST /api/auth/sign-out"), clear);
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, projectsReply));
    {
        API api;
        run(api.signIn(QStringLiteral("a"), QStringLiteral("b")));
        run(api.signOut());
    }
    server.clear();
    API next;
    run(next.loadProjects());
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_FALSE(server.requests()[0].hasHeader("Cookie"));
}
