#include "child_process.h"
#include "cli_fixture.h"
#include "mac_desktop_log.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "teardown_probe.h"
#include "temp_home.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace brightloom::test;

TEST_F(CliTest, SessionSurvivesIntoTheNextProcess)
{
    const auto login =
        runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("demo@x.test"),
                QStringLiteral("--password"), QStringLiteral("pw")});
    ASSERT_EQ(login.exitCode, 0) << login.err.toStdString();
    EXPECT_EQ(login.out, QStringLiteral("signed in\n"));

    const auto list = runCli({QStringLiteral("projects")});
    ASSERT_EQ(list.exitCode, 0) << list.err.toStdString();
    EXPECT_EQ(list.out, QStringLiteral("p1\tTimer\np2\tImported\tunsafe\np3\tSafe\n"));
    EXPECT_EQ(runCli({QStringLiteral("session")}).out, QStringLiteral("signed in\n"));
}

TEST_F(CliTest, CommandsThatBuildNothingStartWithoutAnyDisplayPlatform)
{
    // A GUI application aborts when its platform cannot be loaded; only a local build needs one.
    home.setEnv("QT_QPA_PLATFORM", "no-such-platform");
    const auto login = runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
                               QStringLiteral("--password"), QStringLiteral("b")});
    EXPECT_EQ(login.exitCode, 0) << login.err.toStdString();
    const auto session = runCli({QStringLiteral("session")});
    EXPECT_EQ(session.exitCode, 0) << session.err.toStdString();
    EXPECT_EQ(session.out, QStringLiteral("signed in\n"));
    const auto list = runCli({QStringLiteral("projects")});
    EXPECT_EQ(list.exitCode, 0) << list.err.toStdString();
    // A command that may build here still starts the GUI application, and so needs the platform.
    EXPECT_NE(runCli({QStringLiteral("follow"), QStringLiteral("p1")}).exitCode, 0);
}

TEST_F(CliTest, EndsWithoutTheLibrariesTeardownWhichRacedTheNetworkThreadsLastSteps)
{
    // The network layer's threads are torn down by the system just after they report themselves
    // finished; a normal exit ran the libraries' teardown beside that and now and then freed a block
    // twice. A preloaded library whose finaliser speaks tells whether that teardown ran.
    preloadTeardownProbe(home);
    // The probe speaks when a program ends the ordinary way, as the version query does.
    const auto version = runCli({QStringLiteral("--version")});
    EXPECT_TRUE(version.err.contains(teardownProbeSays)) << version.err.toStdString();

    const auto login = runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
                               QStringLiteral("--password"), QStringLiteral("b")});
    EXPECT_EQ(login.exitCode, 0) << login.err.toStdString();
    EXPECT_FALSE(login.err.contains(teardownProbeSays));
    const auto failed = runCli({QStringLiteral("show"), QStringLiteral("no-such-project")});
    EXPECT_EQ(failed.exitCode, 1) << failed.err.toStdString();
    EXPECT_FALSE(failed.err.contains(teardownProbeSays));
}

TEST_F(CliTest, ProjectsAsJsonKeepTheRecords)
{
    runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
            QStringLiteral("--password"), QStringLiteral("b")});
    const auto list = runCli({QStringLiteral("projects"), QStringLiteral("--json")});
    ASSERT_EQ(list.exitCode, 0);
    EXPECT_EQ(QJsonDocument::fromJson(list.out.toUtf8()), QJsonDocument::fromJson(projectsReply));
}

TEST_F(CliTest, FailurePrintsTheErrorTextAloneOnOneLineAndExitsOne)
{
    runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
            QStringLiteral("--password"), QStringLiteral("b")});
    const auto shown = runCli({QStringLiteral("show"), QStringLiteral("no-such-project")});
    EXPECT_EQ(shown.exitCode, 1);
    EXPECT_EQ(shown.err, QStringLiteral("Not found\n"));
    EXPECT_TRUE(shown.out.isEmpty());

    signInReply = ScriptedReply::json(401, R"({"message":"Invalid email or password"})");
    const auto login = runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
                               QStringLiteral("--password"), QStringLiteral("b")});
    EXPECT_EQ(login.exitCode, 1);
    EXPECT_EQ(login.err, QStringLiteral("Invalid email or password\n"));
}

TEST_F(CliTest, TerminalControlsInServiceTextAreShownNotObeyedAndJsonStaysExact)
{
    // A message that would set the terminal's title, clear the screen and overwrite its own line.
    const QByteArray detail =
        R"({"project":{"id":"p1","name":"Timer\u001b[2J"},)"
        R"("messages":[{"id":"m1","role":"assistant","content":"Done.\u001b]0;owned\u0007 See\rHIDDEN\u009b31m\u007f"}],)"
        R"("jobs":[{"id":"j1","status":"failed","error":"Broke\u001b[2J"}]})";
    detailReply = ScriptedReply::json(200, detail);
    const auto shown = runCli({QStringLiteral("show"), QStringLiteral("p1")});
    ASSERT_EQ(shown.exitCode, 0) << shown.err.toStdString();
    EXPECT_EQ(shown.out,
              QStringLiteral("project\tp1\tTimer\\u001B[2J\n"
                             "assistant: Done.\\u001B]0;owned\\u0007 See\\u000DHIDDEN\\u009B31m\\u007F\n"
                             "job\tj1\tfailed\t\t\t\t\tBroke\\u001B[2J\n"));
    for (const QChar c : shown.out)
        EXPECT_FALSE(c.unicode() < 0x20 && c != QLatin1Char('\n') && c != QLatin1Char('\t'))
            << int(c.unicode());

    const auto json = runCli({QStringLiteral("show"), QStringLiteral("p1"), QStringLiteral("--json")});
    ASSERT_EQ(json.exitCode, 0);
    EXPECT_FALSE(json.out.contains(QChar(0x1b)) || json.out.contains(QChar(0x9b)) ||
                 json.out.contains(QChar(0x7f)));
    const QJsonObject printed = QJsonDocument::fromJson(json.out.toUtf8()).object();
    const QJsonObject sent = QJsonDocument::fromJson(detail).object();
    EXPECT_EQ(printed.value(QStringLiteral("messages")), sent.value(QStringLiteral("messages")));
    EXPECT_EQ(printed.value(QStringLiteral("project")), sent.value(QStringLiteral("project")));

    // A failure's text from the service goes to standard error the same way.
    detailReply = ScriptedReply::json(500, R"({"message":"Down\u001b]0;owned\u0007"})");
    const auto failed = runCli({QStringLiteral("show"), QStringLiteral("p1")});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(failed.err, QStringLiteral("Down\\u001B]0;owned\\u0007\n"));
}

TEST_F(CliTest, LogoutEndsTheSessionForLaterProcesses)
{
    runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
            QStringLiteral("--password"), QStringLiteral("b")});
    const auto logout = runCli({QStringLiteral("logout")});
    EXPECT_EQ(logout.exitCode, 0);
    EXPECT_EQ(logout.out, QStringLiteral("signed out\n"));
    EXPECT_EQ(runCli({QStringLiteral("session")}).out, QStringLiteral("signed out\n"));
    EXPECT_EQ(runCli({QStringLiteral("projects")}).exitCode, 1);
}

TEST_F(CliTest, NoTokenIsEverPrinted)
{
    const auto login = runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
                               QStringLiteral("--password"), QStringLiteral("b")});
    const auto list = runCli({QStringLiteral("projects"), QStringLiteral("--json")});
    const auto browser = runCli({QStringLiteral("login"), QStringLiteral("--browser")},
                                "brightloom://callback?token=ott-SECRET\n");
    // Each command did its work, so each held a token it could have printed.
    for (const auto* r : {&login, &list, &browser}) {
        EXPECT_EQ(r->exitCode, 0) << r->err.toStdString();
        EXPECT_FALSE(r->out.contains(QStringLiteral("SECRET")) || r->err.contains(QStringLiteral("SECRET")))
            << r->out.toStdString() << r->err.toStdString();
    }
    EXPECT_EQ(QJsonDocument::fromJson(list.out.toUtf8()), QJsonDocument::fromJson(projectsReply));
    const auto verify = server.requestsTo(QStringLiteral("/api/auth/one-time-token/verify"));
    ASSERT_EQ(verify.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(verify[0].body).object().value(QStringLiteral("token")).toString(),
              QStringLiteral("ott-SECRET"));
}

TEST_F(CliTest, ServiceCertificateIsTrustedOnlyThroughTheCaFile)
{
    home.setEnv("BRIGHTLOOM_CA_FILE", "");
    const auto untrusted = runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
                                   QStringLiteral("--password"), QStringLiteral("b")});
    EXPECT_EQ(untrusted.exitCode, 1);
    EXPECT_TRUE(untrusted.err.startsWith(QStringLiteral("Could not reach the service: ")))
        << untrusted.err.toStdString();
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(CliTest, BrowserSignInReadsTheCallbackFromInputAndVerifiesItsToken)
{
    const auto login = runCli({QStringLiteral("login"), QStringLiteral("--browser")},
                              "brightloom://callback?token=ott-1&token=ott-2\n");
    ASSERT_EQ(login.exitCode, 0) << login.err.toStdString();
    EXPECT_EQ(login.out, QStringLiteral("signed in\n"));
    EXPECT_TRUE(login.err.contains(server.baseUrl().toString() + QStringLiteral("native-sign-in")));
    const auto verify = server.requestsTo(QStringLiteral("/api/auth/one-time-token/verify"));
    ASSERT_EQ(verify.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(verify[0].body).object().value(QStringLiteral("token")).toString(),
              QStringLiteral("ott-1"));
    EXPECT_EQ(runCli({QStringLiteral("projects")}).exitCode, 0);
}

TEST_F(CliTest, BrowserSignInOnAMacOpensThePageWithOpenWithoutAskingForADisplay)
{
    MacDesktopLog desktop(home, QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR));
    home.setEnv("DISPLAY", "");
    home.setEnv("WAYLAND_DISPLAY", "");
    const auto login =
        runCli({QStringLiteral("login"), QStringLiteral("--browser")}, "brightloom://callback?token=ott-1\n");
    ASSERT_EQ(login.exitCode, 0) << login.err.toStdString();
    const auto calls = desktop.waitForCalls(1);
    ASSERT_EQ(calls.size(), 1);
    ASSERT_EQ(calls[0].size(), 1);
    EXPECT_TRUE(calls[0][0].startsWith(server.baseUrl().toString() + QStringLiteral("native-sign-in")))
        << calls[0][0].toStdString();
}

TEST_F(CliTest, BrowserSignInEndedWithoutACallbackIsCancelled)
{
    const auto login = runCli({QStringLiteral("login"), QStringLiteral("--browser")}, "");
    EXPECT_EQ(login.exitCode, 1);
    EXPECT_TRUE(login.err.endsWith(QStringLiteral("\nSign-in cancelled.\n"))) << login.err.toStdString();
}

TEST_F(CliTest, BrowserCallbackWithoutTokenDidNotComplete)
{
    const auto login =
        runCli({QStringLiteral("login"), QStringLiteral("--browser")}, "brightloom://callback?error=x\n");
    EXPECT_EQ(login.exitCode, 1);
    EXPECT_TRUE(login.err.endsWith(QStringLiteral("\nSign-in did not complete.\n")))
        << login.err.toStdString();
}

TEST_F(CliTest, UnknownCommandOrMissingOptionIsAUsageError)
{
    const auto unknown = runCli({QStringLiteral("frobnicate")});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_TRUE(unknown.err.startsWith(QStringLiteral("unknown command frobnicate\nusage:")));
    const auto missing = runCli({QStringLiteral("login"), QStringLiteral("--password"), QStringLiteral("a")});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_TRUE(missing.err.startsWith(QStringLiteral("missing --email\nusage: brightloom-cli login")))
        << missing.err.toStdString();
    EXPECT_TRUE(server.requests().isEmpty());
}
