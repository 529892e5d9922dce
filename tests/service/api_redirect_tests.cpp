// Redirects of service calls: followed within the service, never elsewhere.

#include "api_fixture.h"
#include "service/api.h"
#include "task_runner.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

ScriptedReply movedTo(int status, const QByteArray& location)
{
    ScriptedReply reply = ScriptedReply::redirect(status, location);
    reply.body = "moved";
    return reply;
}

} // namespace

TEST_F(ApiTest, RedirectOfTheSignInToAnotherHostNeverCarriesThePasswordThere)
{
    RecordingServer elsewhere;
    server.on(QStringLiteral("POST /api/auth/sign-in/email"),
              ScriptedReply::redirect(307, elsewhere.baseUrl().toString().toUtf8() + "collect"));
    API api;
    const auto signedIn = run(api.signIn(QStringLiteral("a@example.com"), QStringLiteral("hunter2")));
    EXPECT_TRUE(signedIn.ok()) << "a redirect that is not followed counts as success: "
                               << signedIn.errorText().toStdString();
    EXPECT_TRUE(elsewhere.requests().isEmpty());
    EXPECT_EQ(server.requestsTo(QStringLiteral("/api/auth/sign-in/email")).size(), 1);
}

TEST_F(ApiTest, RedirectToAnotherSchemeHostOrPortIsNotFollowedAndCountsAsSuccess)
{
    RecordingServer elsewhere;
    const int port = server.baseUrl().port();
    const QList<QByteArray> locations = {
        "https://127.0.0.1:" + QByteArray::number(port) + "/api/target",
        "http://localhost:" + QByteArray::number(port) + "/api/target",
        elsewhere.baseUrl().toString().toUtf8() + "api/target",
        "ftp://127.0.0.1/api/target",
        "//localhost:" + QByteArray::number(port) + "/api/target",
    };
    server.on(QStringLiteral("/api/target"), ScriptedReply::json(200, "\"followed\""));
    elsewhere.on(QStringLiteral("/api/target"), ScriptedReply::json(200, "\"followed\""));
    API api;
    for (const QByteArray& location : locations) {
        server.on(QStringLiteral("/api/moved"), movedTo(302, location));
        const auto outcome = run(api.request(QStringLiteral("api/moved"), "GET"));
        ASSERT_TRUE(outcome.ok()) << location.constData() << ": " << outcome.errorText().toStdString();
        EXPECT_EQ(*outcome.value, QByteArray("moved")) << location.constData();
    }
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/api/target")).isEmpty());
    EXPECT_TRUE(elsewhere.requests().isEmpty());
}

TEST_F(ApiTest, RedirectWithoutALocationCountsAsSuccess)
{
    server.on(QStringLiteral("/api/nowhere"), movedTo(302, QByteArray()));
    server.on(QStringLiteral("/api/unmodified"), movedTo(304, QByteArray()));
    API api;
    const auto moved = run(api.request(QStringLiteral("api/nowhere"), "GET"));
    ASSERT_TRUE(moved.ok()) << moved.errorText().toStdString();
    EXPECT_EQ(*moved.value, QByteArray("moved"));
    EXPECT_TRUE(run(api.request(QStringLiteral("api/unmodified"), "GET")).ok());
}

TEST_F(ApiTest, RedirectWithinTheServiceIsFollowedWithTheRulesOfEachStatus)
{
    server.on(QStringLiteral("/api/old"), movedTo(301, "/api/new"));
    server.on(QStringLiteral("/api/new"), ScriptedReply::json(200, "\"new\""));
    server.on(QStringLiteral("POST /api/keep"), movedTo(307, "keep-here"));
    server.on(QStringLiteral("POST /api/keep-here"), ScriptedReply::json(200, "\"kept\""));
    server.on(QStringLiteral("POST /api/see"),
              movedTo(303, server.baseUrl().toString().toUtf8() + "api/other"));
    server.on(QStringLiteral("GET /api/other"), ScriptedReply::json(200, "\"other\""));
    API api;
    const QByteArray origin = server.baseUrl().toString().toUtf8();

    const auto followed = run(api.request(QStringLiteral("api/old"), "GET"));
    ASSERT_TRUE(followed.ok()) << followed.errorText().toStdString();
    EXPECT_EQ(*followed.value, QByteArray("\"new\""));
    ASSERT_EQ(server.requestsTo(QStringLiteral("/api/new")).size(), 1);
    EXPECT_EQ(server.requestsTo(QStringLiteral("/api/new"))[0].header("Origin"), origin);

    QJsonObject body;
    body.insert(QStringLiteral("text"), QStringLiteral("hello"));
    const auto kept = run(api.request(QStringLiteral("api/keep"), "POST", body));
    ASSERT_TRUE(kept.ok()) << kept.errorText().toStdString();
    const auto keptRequests = server.requestsTo(QStringLiteral("/api/keep-here"));
    ASSERT_EQ(keptRequests.size(), 1);
    EXPECT_EQ(keptRequests[0].method, QByteArray("POST"));
    EXPECT_EQ(QJsonDocument::fromJson(keptRequests[0].body).object(), body) << "a 307 sends the body again";

    const auto seen = run(api.request(QStringLiteral("api/see"), "POST", body));
    ASSERT_TRUE(seen.ok()) << seen.errorText().toStdString();
    const auto seeRequests = server.requestsTo(QStringLiteral("/api/other"));
    ASSERT_EQ(seeRequests.size(), 1);
    EXPECT_EQ(seeRequests[0].method, QByteArray("GET")) << "a 303 asks for the new place with GET";
    EXPECT_TRUE(seeRequests[0].body.isEmpty());
}

TEST_F(ApiTest, RedirectsWithinTheServiceThatNeverEndStopAsSuccessOfTheLast)
{
    server.on(QStringLiteral("/api/loop"), movedTo(302, "/api/loop"));
    API api;
    const auto outcome = run(api.request(QStringLiteral("api/loop"), "GET"));
    ASSERT_TRUE(outcome.ok()) << outcome.errorText().toStdString();
    EXPECT_EQ(*outcome.value, QByteArray("moved"));
    EXPECT_EQ(server.requestsTo(QStringLiteral("/api/loop")).size(), 1 + API::redirectLimit);
}
