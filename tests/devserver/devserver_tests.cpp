// brightloom-devserver as demos and end-to-end tests meet it: the real program, started on a free
// port with its own data folder, spoken to over real HTTPS that trusts only its own certificate.

#include "child_process.h"
#include "devserver_client.h"
#include "task_runner.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSslCertificate>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

using namespace brightloom::test;

namespace {

class DevServerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        startServer();
    }

    void startServer(const QStringList& extraArgs = {})
    {
        client.reset();
        server.reset();
        try {
            server = std::make_unique<DevServer>(dataFolder(), extraArgs);
        } catch (const std::exception& error) {
            FAIL() << error.what();
        }
        client = std::make_unique<Client>(*server);
    }

    QString dataFolder() const { return folder.filePath(QStringLiteral("data")); }

    Reply signInAsDemo()
    {
        return client->postJson(QStringLiteral("api/auth/sign-in/email"),
                                credentials(demoEmail, demoPassword));
    }

    QTemporaryDir folder;
    std::unique_ptr<DevServer> server;
    std::unique_ptr<Client> client;
};

} // namespace

TEST_F(DevServerTest, FirstLineIsAnHttpsBaseAddressOnLoopback)
{
    const QUrl base = server->baseUrl();
    EXPECT_EQ(base.scheme(), QStringLiteral("https"));
    EXPECT_EQ(base.host(), QStringLiteral("127.0.0.1"));
    EXPECT_GT(base.port(), 0);
    EXPECT_EQ(base.path(), QStringLiteral("/"));
}

TEST_F(DevServerTest, CertificateAndOwnerOnlyKeyAreMadeInTheDataFolder)
{
    const QList<QSslCertificate> certificates = QSslCertificate::fromPath(server->caFile());
    ASSERT_EQ(certificates.size(), 1);
    EXPECT_EQ(certificates[0].subjectInfo(QSslCertificate::CommonName),
              QStringList{QStringLiteral("127.0.0.1")});
    const QString key = dataFolder() + QStringLiteral("/key.pem");
    ASSERT_TRUE(QFile::exists(key));
    const QFileDevice::Permissions permissions = QFile::permissions(key);
    EXPECT_TRUE(permissions.testFlags(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    const QFileDevice::Permissions others = QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                            QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                            QFileDevice::WriteOther | QFileDevice::ExeOther;
    EXPECT_FALSE(permissions & others);
}

TEST_F(DevServerTest, CertificateIsReusedAfterARestart)
{
    const QList<QSslCertificate> before = QSslCertificate::fromPath(server->caFile());
    startServer();
    EXPECT_EQ(QSslCertificate::fromPath(server->caFile()), before);
}

TEST_F(DevServerTest, DemoAccountSignsInAndGetSessionShowsIt)
{
    const Reply signIn = signInAsDemo();
    ASSERT_EQ(signIn.status, 200) << signIn.transport.toStdString() << signIn.body.constData();
    EXPECT_EQ(signIn.user().value(QStringLiteral("email")).toString(), demoEmail);
    EXPECT_EQ(signIn.user().value(QStringLiteral("name")).toString(), QStringLiteral("Demo"));

    const Reply session = client->get(QStringLiteral("api/auth/get-session"));
    ASSERT_EQ(session.status, 200);
    EXPECT_EQ(session.user(), signIn.user());
    const QString expiresAt = session.json()
                                  .value(QStringLiteral("session"))
                                  .toObject()
                                  .value(QStringLiteral("expiresAt"))
                                  .toString();
    EXPECT_TRUE(QRegularExpression(QStringLiteral(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$)"))
                    .match(expiresAt)
                    .hasMatch())
        << expiresAt.toStdString();
    const qint64 daysLeft =
        QDateTime::currentDateTimeUtc().daysTo(QDateTime::fromString(expiresAt, Qt::ISODateWithMs));
    EXPECT_GE(daysLeft, 29);
    EXPECT_LE(daysLeft, 30);
}

TEST_F(DevServerTest, SessionCookieIsHttpOnlySecureAndLastsThirtyDays)
{
    const Reply signIn = signInAsDemo();
    ASSERT_EQ(signIn.setCookies.size(), 1);
    const QByteArray cookie = signIn.setCookies[0];
    EXPECT_TRUE(cookie.startsWith(QByteArray(sessionCookieName + '='))) << cookie.constData();
    for (const char* attribute :
         {"; Path=/", "; HttpOnly", "; SameSite=Lax", "; Max-Age=2592000", "; Secure"})
        EXPECT_TRUE(cookie.contains(attribute)) << attribute << " missing from " << cookie.constData();
    EXPECT_GE(client->sessionToken().size(), 43);
}

TEST_F(DevServerTest, GetSessionWithoutCookieIsExactlyNull)
{
    const Reply session = client->get(QStringLiteral("api/auth/get-session"));
    EXPECT_EQ(session.status, 200);
    EXPECT_EQ(session.body, QByteArray("null"));
}

TEST_F(DevServerTest, GetSessionWithUnknownCookieIsNull)
{
    client->useSessionToken(QStringLiteral("not-a-session"));
    const Reply session = client->get(QStringLiteral("api/auth/get-session"));
    EXPECT_EQ(session.status, 200);
    EXPECT_EQ(session.body, QByteArray("null"));
}

TEST_F(DevServerTest, WrongPasswordIsRefusedWith401)
{
    const Reply reply = client->postJson(QStringLiteral("api/auth/sign-in/email"),
                                         credentials(demoEmail, QStringLiteral("not-the-password")));
    EXPECT_EQ(reply.status, 401);
    EXPECT_EQ(reply.message(), QStringLiteral("Invalid email or password"));
    EXPECT_TRUE(reply.setCookies.isEmpty());
}

TEST_F(DevServerTest, SignUpSignsTheNewAccountIn)
{
    const Reply signUp = client->postJson(
        QStringLiteral("api/auth/sign-up/email"),
        signUpBody(QStringLiteral("Ada"), QStringLiteral("ada@example.test"), QStringLiteral("long enough")));
    ASSERT_EQ(signUp.status, 200) << signUp.body.constData();
    EXPECT_FALSE(signUp.user().value(QStringLiteral("id")).toString().isEmpty());
    const Reply session = client->get(QStringLiteral("api/auth/get-session"));
    EXPECT_EQ(session.user().value(QStringLiteral("email")).toString(), QStringLiteral("ada@example.test"));
    EXPECT_EQ(session.user().value(QStringLiteral("name")).toString(), QStringLiteral("Ada"));
}

TEST_F(DevServerTest, SignUpWithATakenEmailInAnyCaseIs422)
{
    const QString path = QStringLiteral("api/auth/sign-up/email");
    const QString password = QStringLiteral("long enough");
    ASSERT_EQ(
        client
            ->postJson(path, signUpBody(QStringLiteral("Ada"), QStringLiteral("ada@example.test"), password))
            .status,
        200);
    const Reply again = client->postJson(
        path, signUpBody(QStringLiteral("Ada"), QStringLiteral("ADA@Example.test"), password));
    EXPECT_EQ(again.status, 422);
    EXPECT_EQ(again.message(), QStringLiteral("User already exists"));
}

TEST_F(DevServerTest, SignUpWithAShortPasswordIs400)
{
    const Reply reply = client->postJson(
        QStringLiteral("api/auth/sign-up/email"),
        signUpBody(QStringLiteral("Ada"), QStringLiteral("ada@example.test"), QStringLiteral("short")));
    EXPECT_EQ(reply.status, 400);
    EXPECT_EQ(reply.message(), QStringLiteral("Password is too short"));
}

TEST_F(DevServerTest, ProjectsWithoutSessionIs401)
{
    const Reply reply = client->get(QStringLiteral("api/projects"));
    EXPECT_EQ(reply.status, 401);
    EXPECT_EQ(reply.message(), QStringLiteral("Unauthorized"));
}

TEST_F(DevServerTest, DemoAccountHasTheTwoSeededProjectsNewestFirst)
{
    ASSERT_EQ(signInAsDemo().status, 200);
    const Reply reply = client->get(QStringLiteral("api/projects"));
    ASSERT_EQ(reply.status, 200);
    const QJsonArray projects = reply.json().value(QStringLiteral("projects")).toArray();
    ASSERT_EQ(projects.size(), 2);
    EXPECT_EQ(projects[0].toObject().value(QStringLiteral("name")).toString(),
              QStringLiteral("Pomodoro Timer"));
    EXPECT_EQ(projects[1].toObject().value(QStringLiteral("name")).toString(), QStringLiteral("Recipe Box"));
    for (const QJsonValue& project : projects) {
        EXPECT_FALSE(project.toObject().value(QStringLiteral("id")).toString().isEmpty());
        EXPECT_FALSE(project.toObject().contains(QStringLiteral("unsafe")));
    }
}

TEST_F(DevServerTest, SignOutEndsTheSessionOnTheServer)
{
    ASSERT_EQ(signInAsDemo().status, 200);
    const QString token = client->sessionToken();
    const Reply signOut = client->postJson(QStringLiteral("api/auth/sign-out"), QJsonObject());
    EXPECT_EQ(signOut.status, 200);
    EXPECT_EQ(signOut.json().value(QStringLiteral("success")), QJsonValue(true));
    ASSERT_EQ(signOut.setCookies.size(), 1);
    EXPECT_TRUE(signOut.setCookies[0].contains("Max-Age=0"));

    // Even a client that kept the cookie is no longer signed in.
    Client keeper(*server);
    keeper.useSessionToken(token);
    EXPECT_EQ(keeper.get(QStringLiteral("api/auth/get-session")).body, QByteArray("null"));
}

TEST_F(DevServerTest, SignOutWithoutSessionStillSucceeds)
{
    const Reply signOut = client->postJson(QStringLiteral("api/auth/sign-out"), QJsonObject());
    EXPECT_EQ(signOut.status, 200);
    EXPECT_EQ(signOut.setCookies.size(), 1);
}

TEST_F(DevServerTest, BrowserSignInPageIsAFormWhenNotSignedIn)
{
    const Reply page = client->get(QStringLiteral("native-sign-in"));
    EXPECT_EQ(page.status, 200);
    EXPECT_TRUE(page.contentType.startsWith("text/html")) << page.contentType.constData();
    EXPECT_TRUE(page.body.contains("<form method=\"post\" action=\"native-sign-in\""));
    EXPECT_TRUE(page.body.contains("name=\"email\""));
    EXPECT_TRUE(page.body.contains("name=\"password\""));
    EXPECT_TRUE(page.body.contains("type=\"submit\""));
}

TEST_F(DevServerTest, BrowserSignInTokenSignsTheAppIn)
{
    Client& browser = *client;
    const Reply form = browser.postRaw(QStringLiteral("native-sign-in"), signInForm(demoEmail, demoPassword),
                                       "application/x-www-form-urlencoded");
    ASSERT_EQ(form.status, 302) << form.body.constData();
    const QString token = tokenFromCallback(form.location);
    ASSERT_GE(token.size(), 43) << form.location.constData();

    Client app(*server);
    const Reply verify = app.postJson(QStringLiteral("api/auth/one-time-token/verify"), tokenBody(token));
    ASSERT_EQ(verify.status, 200) << verify.body.constData();
    EXPECT_EQ(verify.user().value(QStringLiteral("email")).toString(), demoEmail);
    EXPECT_EQ(
        app.get(QStringLiteral("api/auth/get-session")).user().value(QStringLiteral("email")).toString(),
        demoEmail);
}

TEST_F(DevServerTest, BrowserSignInWithWrongPasswordShowsTheFormAgain)
{
    const Reply page =
        client->postRaw(QStringLiteral("native-sign-in"), signInForm(demoEmail, QStringLiteral("nope")),
                        "application/x-www-form-urlencoded");
    EXPECT_EQ(page.status, 401);
    EXPECT_TRUE(page.body.contains("Invalid email or password"));
    EXPECT_TRUE(page.body.contains("<form"));
}

TEST_F(DevServerTest, BrowserAlreadySignedInGoesStraightBackToTheApp)
{
    ASSERT_EQ(client
                  ->postRaw(QStringLiteral("native-sign-in"), signInForm(demoEmail, demoPassword),
                            "application/x-www-form-urlencoded")
                  .status,
              302);
    const Reply again = client->get(QStringLiteral("native-sign-in"));
    EXPECT_EQ(again.status, 302);
    EXPECT_FALSE(tokenFromCallback(again.location).isEmpty()) << again.location.constData();
}

TEST_F(DevServerTest, OneTimeTokenVerifiesOnlyOnce)
{
    const Reply form = client->postRaw(QStringLiteral("native-sign-in"), signInForm(demoEmail, demoPassword),
                                       "application/x-www-form-urlencoded");
    const QString token = tokenFromCallback(form.location);
    ASSERT_FALSE(token.isEmpty());
    Client app(*server);
    const QString path = QStringLiteral("api/auth/one-time-token/verify");
    ASSERT_EQ(app.postJson(path, tokenBody(token)).status, 200);
    const Reply second = app.postJson(path, tokenBody(token));
    EXPECT_EQ(second.status, 400);
    EXPECT_EQ(second.message(), QStringLiteral("Invalid or expired token"));
}

TEST_F(DevServerTest, BodyThatIsNotAJsonObjectIs400)
{
    const QString path = QStringLiteral("api/auth/sign-in/email");
    for (const QByteArray& body : {QByteArray("{not json"), QByteArray("[1, 2]"), QByteArray()}) {
        const Reply reply = client->postRaw(path, body, "application/json");
        EXPECT_EQ(reply.status, 400) << body.constData();
        EXPECT_EQ(reply.message(), QStringLiteral("Invalid JSON body")) << body.constData();
    }
}

TEST_F(DevServerTest, MissingFieldIs400NamingIt)
{
    QJsonObject body;
    body.insert(QStringLiteral("email"), demoEmail);
    const Reply reply = client->postJson(QStringLiteral("api/auth/sign-in/email"), body);
    EXPECT_EQ(reply.status, 400);
    EXPECT_TRUE(reply.message().contains(QStringLiteral("password"))) << reply.message().toStdString();
}

TEST_F(DevServerTest, UnknownPathIs404Json)
{
    const Reply reply = client->get(QStringLiteral("api/nothing-here"));
    EXPECT_EQ(reply.status, 404);
    EXPECT_TRUE(reply.contentType.startsWith("application/json"));
    EXPECT_EQ(reply.message(), QStringLiteral("Not found"));
}

TEST_F(DevServerTest, WrongMethodOnAKnownPathIs405Json)
{
    const Reply reply = client->get(QStringLiteral("api/auth/sign-in/email"));
    EXPECT_EQ(reply.status, 405);
    EXPECT_EQ(reply.message(), QStringLiteral("Method not allowed"));
}

TEST_F(DevServerTest, RestartKeepsANewAccount)
{
    const QJsonObject account = signUpBody(QStringLiteral("Grace"), QStringLiteral("grace@example.test"),
                                           QStringLiteral("hopper-1906"));
    ASSERT_EQ(client->postJson(QStringLiteral("api/auth/sign-up/email"), account).status, 200);
    startServer();
    const Reply signIn =
        client->postJson(QStringLiteral("api/auth/sign-in/email"),
                         credentials(QStringLiteral("grace@example.test"), QStringLiteral("hopper-1906")));
    EXPECT_EQ(signIn.status, 200) << signIn.body.constData();
}

TEST_F(DevServerTest, RestartKeepsTheSessionCookieValid)
{
    const QJsonObject account = signUpBody(QStringLiteral("Grace"), QStringLiteral("grace@example.test"),
                                           QStringLiteral("hopper-1906"));
    ASSERT_EQ(client->postJson(QStringLiteral("api/auth/sign-up/email"), account).status, 200);
    const QString token = client->sessionToken();
    ASSERT_FALSE(token.isEmpty());
    startServer();
    client->useSessionToken(token);
    const Reply session = client->get(QStringLiteral("api/auth/get-session"));
    EXPECT_EQ(session.user().value(QStringLiteral("email")).toString(), QStringLiteral("grace@example.test"))
        << session.body.constData();
}

TEST_F(DevServerTest, SigtermStopsTheServerWithExitCodeZero)
{
    QProcess& process = server->process();
    process.terminate();
    ASSERT_TRUE(spinUntil([&] { return process.state() == QProcess::NotRunning; }, std::chrono::seconds(5)));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
}

TEST_F(DevServerTest, HttpOptionServesPlainHttpWithoutSecureCookies)
{
    startServer({QStringLiteral("--http")});
    EXPECT_EQ(server->baseUrl().scheme(), QStringLiteral("http"));
    const Reply signIn = signInAsDemo();
    ASSERT_EQ(signIn.status, 200) << signIn.transport.toStdString();
    ASSERT_EQ(signIn.setCookies.size(), 1);
    EXPECT_FALSE(signIn.setCookies[0].contains("Secure"));
}
