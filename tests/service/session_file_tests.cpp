// The session kept in the owner-only file (the store left out with BRIGHTLOOM_SESSION_STORE=file):
// how clients in one home share it through the marker beside it. The roads through a real secret
// service are in session_store_tests.cpp.

#include "api_fixture.h"
#include "recording_server.h"
#include "service/api.h"
#include "task_runner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QNetworkCookie>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

const QByteArray sessionCookie = QByteArrayLiteral("brightloom.session_token=tok-1");
const auto ownerGroupOther = QFile::Permissions(0x7000 | 0x0070 | 0x0007);

ScriptedReply withCookie(ScriptedReply reply, const QByteArray& cookie)
{
    reply.headers.append(qMakePair(QByteArray("Set-Cookie"), cookie));
    return reply;
}

class SessionFileTest : public ApiTest
{
protected:
    SessionFileTest()
    {
        server.on(QStringLiteral("POST /api/auth/sign-in/email"),
                  withCookie(ScriptedReply::json(200, R"({"user":{}})"),
                             sessionCookie + "; Path=/; HttpOnly; Max-Age=3600"));
        // The service's answer leaves the cookie alone: forgetting it is the client's own doing.
        server.on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(200, "{}"));
        server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[]})"));
    }

    // The cookie that `api` sends with its next request ("" for none).
    QByteArray nextCookie(API& api)
    {
        server.clear();
        run(api.loadProjects());
        return server.requests().isEmpty() ? QByteArray("<no request>")
                                           : server.requests()[0].header("Cookie");
    }

    QString cookieFile() const { return home.dataFolder() + QStringLiteral("/cookies"); }
    QString markerFile() const { return home.dataFolder() + QStringLiteral("/session"); }
    QByteArray marker() const
    {
        QFile file(markerFile());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

} // namespace

TEST_F(SessionFileTest, AClientSeesAnotherSignInAndSignOutOnItsNextRequest)
{
    API window;
    API commandLine;
    EXPECT_EQ(nextCookie(window), QByteArray());

    ASSERT_TRUE(run(commandLine.signIn(QStringLiteral("a"), QStringLiteral("b"))).ok());
    EXPECT_EQ(nextCookie(window), sessionCookie);

    ASSERT_TRUE(run(commandLine.signOut()).ok());
    EXPECT_EQ(nextCookie(window), QByteArray());

    // And the other way round, from the client that has been running all along.
    ASSERT_TRUE(run(window.signIn(QStringLiteral("a"), QStringLiteral("b"))).ok());
    EXPECT_EQ(nextCookie(commandLine), sessionCookie);
}

TEST_F(SessionFileTest, SignInKeepsTheSessionInAnOwnerOnlyFileBesideAMarkerWithoutTheSecret)
{
    API api;
    ASSERT_TRUE(run(api.signIn(QStringLiteral("a"), QStringLiteral("b"))).ok());
    QFile file(cookieFile());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains(sessionCookie));
    EXPECT_EQ(QFile::permissions(cookieFile()) & ownerGroupOther, QFile::ReadOwner | QFile::WriteOwner);

    const QByteArray signedIn = marker();
    EXPECT_TRUE(signedIn.startsWith("file ")) << signedIn.constData();
    EXPECT_FALSE(signedIn.contains("tok-1"));
    EXPECT_EQ(QFile::permissions(markerFile()) & ownerGroupOther, QFile::ReadOwner | QFile::WriteOwner);

    // Every change stamps the marker anew, so that a change back to an earlier state is seen too.
    ASSERT_TRUE(run(api.signOut()).ok());
    EXPECT_TRUE(marker().startsWith("none ")) << marker().constData();
    ASSERT_TRUE(run(api.signIn(QStringLiteral("a"), QStringLiteral("b"))).ok());
    EXPECT_TRUE(marker().startsWith("file "));
    EXPECT_NE(marker(), signedIn);
}

TEST_F(SessionFileTest, SignOutRemovesTheSessionEvenWhenTheServiceFailsToEndIt)
{
    server.on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(500, R"({"message":"Down"})"));
    {
        API api;
        ASSERT_TRUE(run(api.signIn(QStringLiteral("a"), QStringLiteral("b"))).ok());
        ASSERT_TRUE(QFile::exists(cookieFile()));
        ASSERT_TRUE(run(api.signOut()).ok());
        EXPECT_FALSE(api.signedIn());
    }
    EXPECT_FALSE(QFile::exists(cookieFile()));
    API next;
    EXPECT_EQ(nextCookie(next), QByteArray());
}

TEST_F(SessionFileTest, AFileWithoutAMarkerLeftByAnEarlierClientIsStillRead)
{
    QNetworkCookie cookie("brightloom.session_token", "old");
    cookie.setDomain(QStringLiteral("127.0.0.1"));
    cookie.setPath(QStringLiteral("/"));
    ASSERT_TRUE(QDir().mkpath(home.dataFolder()));
    QFile file(cookieFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(cookie.toRawForm(QNetworkCookie::Full) + '\n');
    file.close();
    ASSERT_FALSE(QFile::exists(markerFile()));

    API api;
    EXPECT_EQ(nextCookie(api), QByteArray("brightloom.session_token=old"));
}

TEST_F(SessionFileTest, ALinkPlantedAtTheFileIsNeitherReadNorFollowed)
{
    const QString elsewhere = home.path() + QStringLiteral("/elsewhere");
    QFile target(elsewhere);
    ASSERT_TRUE(target.open(QIODevice::WriteOnly));
    target.write("brightloom.session_token=planted; domain=127.0.0.1; path=/\n");
    target.close();
    ASSERT_TRUE(QDir().mkpath(home.dataFolder()));
    ASSERT_TRUE(QFile::link(elsewhere, cookieFile()));

    API api;
    EXPECT_EQ(nextCookie(api), QByteArray());
    ASSERT_TRUE(run(api.signIn(QStringLiteral("a"), QStringLiteral("b"))).ok());
    // The link was replaced by a file of the client's own; what it pointed at is as it was.
    EXPECT_FALSE(QFileInfo(cookieFile()).isSymLink());
    ASSERT_TRUE(target.open(QIODevice::ReadOnly));
    EXPECT_EQ(target.readAll(), QByteArray("brightloom.session_token=planted; domain=127.0.0.1; path=/\n"));
}
