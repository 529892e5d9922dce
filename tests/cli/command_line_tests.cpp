// The command line as a user of other tools expects it: help every way, refusals with the command's
// usage, the password kept off the command line, exit statuses, completions and the browser sign-in
// handed over by the desktop.

#include "cli_fixture.h"
#include "commandline/completion_scripts.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace brightloom::test;

namespace {

QStringList signInWords()
{
    return {QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
            QStringLiteral("--password"), QStringLiteral("b")};
}

QString sentPassword(const RecordingServer& server)
{
    const auto signIns = server.requestsTo(QStringLiteral("/api/auth/sign-in/email"));
    if (signIns.isEmpty())
        return {};
    return QJsonDocument::fromJson(signIns.last().body).object().value(QStringLiteral("password")).toString();
}

// Runs the event loop until `done` or half a minute has passed; answers `done()`.
bool runUntil(const std::function<bool()>& done)
{
    QDeadlineTimer deadline(std::chrono::seconds(30));
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    return done();
}

QString cliFolder()
{
    return QFileInfo(QStringLiteral(BRIGHTLOOM_CLI_PATH)).absolutePath();
}

} // namespace

TEST_F(CliTest, CommandHelpIsTheSameThroughHelpDashDashHelpAndDashH)
{
    const auto help = runCli({QStringLiteral("help"), QStringLiteral("projects")});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.startsWith(QStringLiteral("usage: brightloom-cli projects [--json]\n")))
        << help.out.toStdString();
    EXPECT_TRUE(help.out.contains(QStringLiteral("--json")));
    for (const QString& asking : {QStringLiteral("--help"), QStringLiteral("-h")}) {
        const auto run = runCli({QStringLiteral("projects"), asking});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.out, help.out);
        EXPECT_TRUE(run.err.isEmpty());
    }
    const auto all = runCli({QStringLiteral("-h")});
    EXPECT_EQ(all.exitCode, 0);
    EXPECT_TRUE(all.out.contains(QStringLiteral("\n  worker-status  ")));
    EXPECT_EQ(runCli({QStringLiteral("help")}).out, all.out);
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(CliTest, ExtraOrUnknownWordsAreRefusedWithTheCommandsOwnUsage)
{
    const auto extra = runCli({QStringLiteral("projects"), QStringLiteral("foo"), QStringLiteral("bar")});
    EXPECT_EQ(extra.exitCode, 2);
    EXPECT_EQ(extra.err, QStringLiteral("unexpected argument foo\nusage: brightloom-cli projects [--json]\n"
                                        "Run \"brightloom-cli help projects\" for its options.\n"));
    EXPECT_TRUE(extra.out.isEmpty());
    const auto unknown =
        runCli({QStringLiteral("show"), QStringLiteral("p1"), QStringLiteral("--favorites")});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_TRUE(unknown.err.contains(QStringLiteral("usage: brightloom-cli show PROJECT [--json]\n")))
        << unknown.err.toStdString();
    EXPECT_EQ(runCli({QStringLiteral("help"), QStringLiteral("frobnicate")}).exitCode, 2);
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(CliTest, OptionValueAfterAnEqualsSignReachesTheCommand)
{
    ASSERT_EQ(runCli(signInWords()).exitCode, 0);
    // The interval is read, and the command goes on to ask the service.
    const auto follow =
        runCli({QStringLiteral("follow"), QStringLiteral("gone"), QStringLiteral("--interval=1")});
    EXPECT_EQ(follow.exitCode, 1) << follow.err.toStdString();
    EXPECT_EQ(follow.err, QStringLiteral("Not found\n"));
    const auto wrong =
        runCli({QStringLiteral("follow"), QStringLiteral("gone"), QStringLiteral("--interval=soon")});
    EXPECT_EQ(wrong.exitCode, 2);
}

TEST_F(CliTest, PasswordFromStandardInputSignsIn)
{
    const auto login = runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
                               QStringLiteral("--password-stdin")},
                              "pass word with spaces\r\nnext line\n");
    ASSERT_EQ(login.exitCode, 0) << login.err.toStdString();
    EXPECT_EQ(login.out, QStringLiteral("signed in\n"));
    EXPECT_EQ(sentPassword(server), QStringLiteral("pass word with spaces"));
}

TEST_F(CliTest, PasswordNeedsAnOptionWhenStandardInputIsNoTerminal)
{
    const auto none = runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a")});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_TRUE(none.err.startsWith(QStringLiteral("missing --password-stdin"))) << none.err.toStdString();
    const auto both =
        runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
                QStringLiteral("--password"), QStringLiteral("b"), QStringLiteral("--password-stdin")});
    EXPECT_EQ(both.exitCode, 2);
    const auto empty = runCli({QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("a"),
                               QStringLiteral("--password-stdin")});
    EXPECT_EQ(empty.exitCode, 1);
    EXPECT_EQ(empty.err, QStringLiteral("No password on standard input.\n"));
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/api/auth/sign-in/email")).isEmpty());
}

TEST_F(CliTest, PasswordAskedOnATerminalIsNotEchoed)
{
    // util-linux's script gives the command a terminal of its own and passes our input to it.
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    QProcess probe;
    probe.start(script, {QStringLiteral("--version")});
    if (script.isEmpty() || !probe.waitForFinished(5000) ||
        !probe.readAllStandardOutput().contains("util-linux"))
        GTEST_SKIP() << "needs util-linux's script to give the command a terminal";
    const QString command = QStringLiteral("'") + QStringLiteral(BRIGHTLOOM_CLI_PATH) +
                            QStringLiteral("' login --email a; echo status=$?");
    QProcess terminal;
    terminal.setProcessChannelMode(QProcess::MergedChannels);
    terminal.start(script, {QStringLiteral("-q"), QStringLiteral("-e"), QStringLiteral("-c"), command,
                            QStringLiteral("/dev/null")});
    ASSERT_TRUE(terminal.waitForStarted());
    QByteArray shown;
    const auto waitFor = [&](const QByteArray& text) {
        QDeadlineTimer deadline(std::chrono::seconds(30));
        // The scripted service answers on this thread's event loop, so the wait keeps it running.
        while (!shown.contains(text) && !deadline.hasExpired() && terminal.state() == QProcess::Running) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
            shown += terminal.readAll();
        }
        shown += terminal.readAll();
        return shown.contains(text);
    };
    // Typed once the prompt is up, as a person does.
    ASSERT_TRUE(waitFor("Password:")) << shown.toStdString();
    terminal.write("typed-secret\n");
    ASSERT_TRUE(waitFor("status=")) << shown.toStdString();
    runUntil([&] { return terminal.state() == QProcess::NotRunning; });
    EXPECT_TRUE(shown.contains("signed in")) << shown.toStdString();
    EXPECT_TRUE(shown.contains("status=0"));
    EXPECT_FALSE(shown.contains("typed-secret")) << shown.toStdString();
    EXPECT_EQ(sentPassword(server), QStringLiteral("typed-secret"));
}

TEST_F(CliTest, SessionExitsZeroSignedInAndOneSignedOut)
{
    const auto out = runCli({QStringLiteral("session")});
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.out, QStringLiteral("signed out\n"));
    ASSERT_EQ(runCli(signInWords()).exitCode, 0);
    const auto in = runCli({QStringLiteral("session")});
    EXPECT_EQ(in.exitCode, 0);
    EXPECT_EQ(in.out, QStringLiteral("signed in\n"));
}

TEST_F(CliTest, CommandThatNeedsASessionSaysHowToSignIn)
{
    const auto list = runCli({QStringLiteral("projects")});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_EQ(list.err, QStringLiteral("Not signed in. Run: brightloom-cli login\n"));
    EXPECT_TRUE(list.out.isEmpty());
    // Signing in is not such a command: a refused password keeps the service's own words.
    signInReply = ScriptedReply::json(401, R"({"message":"Invalid email or password"})");
    EXPECT_EQ(runCli(signInWords()).err, QStringLiteral("Invalid email or password\n"));
}

TEST_F(CliTest, CompletionListsProjectIdsSignedInAndNothingSignedOut)
{
    const QStringList words{QString::fromLatin1(brightloom::commandline::completeCommand),
                            QStringLiteral("projects")};
    const auto signedOut = runCli(words);
    EXPECT_EQ(signedOut.exitCode, 1);
    EXPECT_TRUE(signedOut.out.isEmpty());
    EXPECT_TRUE(signedOut.err.isEmpty());
    ASSERT_EQ(runCli(signInWords()).exitCode, 0);
    const auto signedIn = runCli(words);
    EXPECT_EQ(signedIn.exitCode, 0);
    EXPECT_EQ(signedIn.out, QStringLiteral("p1\np2\np3\n"));

    // Through the bash completion, as a shell asks it.
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("completion.bash")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(brightloom::commandline::bashCompletion(brightloom::commandline::cliProgram()).toUtf8());
    file.close();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("PATH"), cliFolder() + QLatin1Char(':') + env.value(QStringLiteral("PATH")));
    const auto bash = runProcess(QStringLiteral("bash"),
                                 {QStringLiteral("--norc"), QStringLiteral("-c"),
                                  QStringLiteral("source '") + file.fileName() +
                                      QStringLiteral("'; COMP_WORDS=(brightloom-cli show p); COMP_CWORD=2; "
                                                     "_brightloom_cli; printf '%s\\n' \"${COMPREPLY[@]}\"")},
                                 env);
    EXPECT_EQ(bash.out, QStringLiteral("p1\np2\np3\n")) << bash.err.toStdString();
}

TEST_F(CliTest, CompletionFallsSilentWhenTheServiceGivesNoAnswerWithinASecond)
{
    ASSERT_EQ(runCli(signInWords()).exitCode, 0);
    server.setHandler([](const RecordedRequest&) {
        ScriptedReply slow = ScriptedReply::json(200, projectsReply);
        slow.delayMs = 20000;
        return slow;
    });
    QElapsedTimer clock;
    clock.start();
    const auto run =
        runCli({QString::fromLatin1(brightloom::commandline::completeCommand), QStringLiteral("projects")},
               {}, std::chrono::seconds(15));
    EXPECT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.isEmpty());
    // Well short of the reply's delay: the command gave up on its own.
    EXPECT_LT(clock.elapsed(), 10000);
}

TEST_F(CliTest, WindowProgramHelpAndVersionPrintWithoutOpeningAWindow)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    // Making any application would abort on this platform.
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("no-such-platform"));
    const auto help = runProcess(QStringLiteral(BRIGHTLOOM_WINDOW_PATH), {QStringLiteral("--help")}, env);
    EXPECT_EQ(help.exitCode, 0) << help.err.toStdString();
    EXPECT_TRUE(help.out.startsWith(QStringLiteral("usage: brightloom [ADDRESS]\n")))
        << help.out.toStdString();
    EXPECT_TRUE(help.out.contains(QStringLiteral("--version")));
    const auto version =
        runProcess(QStringLiteral(BRIGHTLOOM_WINDOW_PATH), {QStringLiteral("--version")}, env);
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.out.startsWith(QStringLiteral("brightloom ")));
}

TEST_F(CliTest, BrowserSignInCompletesWhenTheDesktopHandsTheAddressToTheSchemeHandler)
{
    const QString xdgOpen = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (xdgOpen.isEmpty())
        GTEST_SKIP() << "xdg-open is not installed (scripts/setup installs xdg-utils)";
    // The desktop entry as installed, the scheme's default handler, and the programs on the path.
    const QString applications = home.path() + QStringLiteral("/.local/share/applications");
    ASSERT_TRUE(QDir().mkpath(applications));
    ASSERT_TRUE(QFile::copy(QStringLiteral(BRIGHTLOOM_DESKTOP_ENTRY),
                            applications + QStringLiteral("/app.brightloom.Brightloom.desktop")));
    ASSERT_TRUE(QDir().mkpath(home.path() + QStringLiteral("/.config")));
    QFile defaults(home.path() + QStringLiteral("/.config/mimeapps.list"));
    ASSERT_TRUE(defaults.open(QIODevice::WriteOnly));
    defaults.write("[Default Applications]\nx-scheme-handler/brightloom=app.brightloom.Brightloom.desktop\n");
    defaults.close();
    const QString runtime = home.path() + QStringLiteral("/run");
    ASSERT_TRUE(QDir().mkpath(runtime));
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    home.setEnv("XDG_RUNTIME_DIR", runtime.toUtf8());
    home.setEnv("PATH", (QFileInfo(QStringLiteral(BRIGHTLOOM_WINDOW_PATH)).absolutePath() + QLatin1Char(':') +
                         cliFolder() + QLatin1Char(':') + qEnvironmentVariable("PATH"))
                            .toUtf8());
    // A desktop session as xdg-open sees one: a display, and a browser that opens nothing.
    home.setEnv("XDG_CURRENT_DESKTOP", "");
    home.setEnv("DISPLAY", ":99");
    home.setEnv("BROWSER", "true");

    QProcess login;
    login.start(QStringLiteral(BRIGHTLOOM_CLI_PATH), {QStringLiteral("login"), QStringLiteral("--browser")});
    ASSERT_TRUE(login.waitForStarted());
    login.setReadChannel(QProcess::StandardError);
    QByteArray said;
    QDeadlineTimer deadline(std::chrono::seconds(30));
    while (!said.contains("Waiting for the browser") && !deadline.hasExpired() &&
           login.state() == QProcess::Running) {
        login.waitForReadyRead(200);
        said += login.readAllStandardError();
    }
    ASSERT_TRUE(said.contains("Waiting for the browser")) << said.toStdString();

    const auto opened = runProcess(xdgOpen, {QStringLiteral("brightloom://callback?token=ott-desktop")},
                                   QProcessEnvironment::systemEnvironment());
    EXPECT_EQ(opened.exitCode, 0) << opened.err.toStdString();
    // The scripted service answers on this thread's event loop, so the wait keeps it running.
    ASSERT_TRUE(runUntil([&] { return login.state() == QProcess::NotRunning; }));
    EXPECT_EQ(login.exitCode(), 0) << login.readAllStandardError().toStdString();
    EXPECT_EQ(login.readAllStandardOutput(), QByteArray("signed in\n"));
    const auto verify = server.requestsTo(QStringLiteral("/api/auth/one-time-token/verify"));
    ASSERT_EQ(verify.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(verify[0].body).object().value(QStringLiteral("token")).toString(),
              QStringLiteral("ott-desktop"));
}
