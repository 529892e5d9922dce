// Starting a project from the command line: `new` through the new project screen's model, with
// its questions answered by flags or on a terminal, and the gallery with its templates.

#include "child_process.h"
#include "gallery_service.h"
#include "recording_server.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

using namespace brightloom::test;

namespace {

const QString compileRefusal = QStringLiteral(
    "Compile on this Mac? needs an answer: add --yes to compile on this Mac, or --cloud to build "
    "in the cloud.\n");
const QString linkPrompt = QStringLiteral("Rebuild https://github.com/acme/Widgets/tree/v2 as a Mac app");

QJsonObject object(std::initializer_list<QPair<QString, QJsonValue>> fields)
{
    QJsonObject o;
    for (const auto& field : fields)
        o.insert(field.first, field.second);
    return o;
}

// The command line against the scripted gallery and project service over HTTPS, in a fresh home
// whose settings the child processes share.
class StartCommandsTest : public ::testing::Test
{
protected:
    StartCommandsTest()
        : server(TestCertificate::shared().certificate, TestCertificate::shared().key), service(server)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        GalleryEntry first;
        first.slug = QStringLiteral("notes");
        first.name = QStringLiteral("Notes");
        first.tagline = QStringLiteral("Write things down");
        GalleryEntry second;
        second.slug = QStringLiteral("timer");
        second.name = QStringLiteral("Timer");
        second.tagline = QStringLiteral("Count down");
        second.starred = true;
        GalleryEntry third;
        third.slug = QStringLiteral("clock");
        third.name = QStringLiteral("Clock");
        third.tagline = QStringLiteral("Tell the time");
        third.withTemplate = false;
        service.apps = {first, second, third};
    }

    QString settingsFile() const
    {
        return home.path() + QStringLiteral("/.config/Brightloom/Brightloom.conf");
    }

    void storeSettings(const QByteArray& lines)
    {
        QDir().mkpath(home.path() + QStringLiteral("/.config/Brightloom"));
        QFile file(settingsFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[General]\n" + lines);
    }

    QByteArray storedSettings() const
    {
        QFile file(settingsFile());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // The command line with its standard input on a terminal that holds `typed`.
    ProcessResult onTerminal(const QStringList& args, const QByteArray& typed)
    {
        int master = -1;
        int slave = -1;
        char name[256] = {};
        if (openpty(&master, &slave, name, nullptr, nullptr) != 0)
            return {};
        if (::write(master, typed.constData(), size_t(typed.size())) != typed.size())
            return {};
        QProcess process;
        process.setStandardInputFile(QString::fromLocal8Bit(name));
        process.start(QStringLiteral(BRIGHTLOOM_CLI_PATH), args);
        ProcessResult result;
        result.finished = process.waitForStarted(10000) &&
                          spinUntil([&] { return process.state() == QProcess::NotRunning; });
        if (!result.finished)
            process.kill();
        process.waitForFinished(5000);
        ::close(slave);
        ::close(master);
        result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        result.out = QString::fromUtf8(process.readAllStandardOutput());
        result.err = QString::fromUtf8(process.readAllStandardError());
        return result;
    }

    TempHome home;
    RecordingServer server;
    GalleryService service;
    QTemporaryDir emptyTools;
};

} // namespace

TEST_F(StartCommandsTest, NewBuildsInTheCloudWithOnlyThePrompt)
{
    const ProcessResult created = runCli({QStringLiteral("new"), QStringLiteral("  a pomodoro timer \n")});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_EQ(created.out, QStringLiteral("p-new\n"));
    ASSERT_EQ(service.createBodies().size(), 1);
    EXPECT_EQ(service.createBodies()[0],
              object({{QStringLiteral("prompt"), QStringLiteral("a pomodoro timer")}}));
}

TEST_F(StartCommandsTest, NewLocalWithYesAcceptsTheWarningOnceForEveryLaterRun)
{
    const ProcessResult first = runCli({QStringLiteral("new"), QStringLiteral("a timer"),
                                        QStringLiteral("--local"), QStringLiteral("--yes")});
    ASSERT_EQ(first.exitCode, 0) << first.err.toStdString();
    ASSERT_EQ(service.createBodies().size(), 1);
    EXPECT_EQ(service.createBodies()[0], object({{QStringLiteral("prompt"), QStringLiteral("a timer")},
                                                 {QStringLiteral("mode"), QStringLiteral("source")}}));
    EXPECT_TRUE(storedSettings().contains("localBuildAcknowledged=true"));
    EXPECT_FALSE(storedSettings().contains("buildLocation")) << "--local chooses for this run only";

    const ProcessResult second =
        runCli({QStringLiteral("new"), QStringLiteral("a clock"), QStringLiteral("--local")});
    ASSERT_EQ(second.exitCode, 0) << second.err.toStdString();
    EXPECT_EQ(service.createBodies().size(), 2);
    EXPECT_EQ(service.createBodies()[1].value(QStringLiteral("mode")).toString(), QStringLiteral("source"));
}

TEST_F(StartCommandsTest, NewLocalWithoutAnAnswerAndWithoutATerminalNamesTheFlagAndCreatesNothing)
{
    const ProcessResult refused =
        runCli({QStringLiteral("new"), QStringLiteral("a timer"), QStringLiteral("--local")});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.err, compileRefusal);
    EXPECT_TRUE(refused.out.isEmpty());
    EXPECT_TRUE(service.createBodies().isEmpty());
    EXPECT_FALSE(storedSettings().contains("localBuildAcknowledged"));
}

TEST_F(StartCommandsTest, NewFollowsTheLocationTheWindowKept)
{
    storeSettings("buildLocation=local\n");
    const ProcessResult refused = runCli({QStringLiteral("new"), QStringLiteral("a timer")});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.err, compileRefusal);
    EXPECT_TRUE(service.createBodies().isEmpty());
}

TEST_F(StartCommandsTest, NewCloudOverridesTheKeptLocationForThisRunOnly)
{
    storeSettings("buildLocation=local\n");
    const ProcessResult created =
        runCli({QStringLiteral("new"), QStringLiteral("a timer"), QStringLiteral("--cloud")});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_EQ(service.createBodies()[0], object({{QStringLiteral("prompt"), QStringLiteral("a timer")}}));
    EXPECT_TRUE(storedSettings().contains("buildLocation=local"));
}

TEST_F(StartCommandsTest, NewImportSendsTheCanonicalRepositoryAndItsRefWithoutTheCompileWarning)
{
    const ProcessResult created = runCli({QStringLiteral("new"), linkPrompt, QStringLiteral("--import")});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    ASSERT_EQ(service.createBodies().size(), 1);
    EXPECT_EQ(service.createBodies()[0],
              object({{QStringLiteral("prompt"), linkPrompt},
                      {QStringLiteral("mode"), QStringLiteral("source")},
                      {QStringLiteral("importRepo"), QStringLiteral("https://github.com/acme/Widgets")},
                      {QStringLiteral("acknowledgeUnsafe"), true},
                      {QStringLiteral("importRef"), QStringLiteral("v2")}}));
}

TEST_F(StartCommandsTest, NewNoImportMakesACloudBuildThatKeepsTheLinkInItsPrompt)
{
    const ProcessResult created = runCli({QStringLiteral("new"), linkPrompt, QStringLiteral("--no-import")});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_EQ(service.createBodies()[0], object({{QStringLiteral("prompt"), linkPrompt}}));
}

TEST_F(StartCommandsTest, NewWithALinkAndNoAnswerNamesTheImportFlagsAndCreatesNothing)
{
    const ProcessResult refused = runCli({QStringLiteral("new"), linkPrompt});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.err,
              QStringLiteral("Build from the GitHub repo Widgets? needs an answer: add --import to "
                             "import the repository, or --no-import to build without it.\n"));
    EXPECT_TRUE(service.createBodies().isEmpty());
}

TEST_F(StartCommandsTest, NewWithALinkAndNoToolchainFailsWithTheXcodeText)
{
    home.setEnv("BRIGHTLOOM_TOOLS_DIR", emptyTools.path().toUtf8());
    const ProcessResult failed = runCli({QStringLiteral("new"), linkPrompt, QStringLiteral("--import")});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(failed.err,
              QStringLiteral("Importing a GitHub repo needs Xcode on this Mac. Install it from the App "
                             "Store and open it once, or remove the link.\n"));
    EXPECT_TRUE(service.createBodies().isEmpty());
}

TEST_F(StartCommandsTest, NewOnATerminalAsksTheCompileWarningWithItsOwnTexts)
{
    const ProcessResult created = onTerminal(
        {QStringLiteral("new"), QStringLiteral("a timer"), QStringLiteral("--local")}, "maybe\n1\n");
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_EQ(created.out, QStringLiteral("p-new\n"));
    EXPECT_TRUE(created.err.startsWith(QStringLiteral(
        "Compile on this Mac?\n\nBrightloom writes the app's code in the cloud. Your Mac then builds it with "
        "Xcode (swift build) and signs it ad hoc. Package.swift is checked first, but the app's own code is "
        "not "
        "reviewed. It runs with your user's permissions when you open it, so only build apps you trust.\n\n"
        "  1. Compile on this Mac\n  2. Cancel\n")))
        << created.err.toStdString();
    EXPECT_EQ(created.err.count(QStringLiteral("Choose 1-2: ")), 2)
        << "an answer it cannot read is asked again";
    EXPECT_EQ(service.createBodies()[0].value(QStringLiteral("mode")).toString(), QStringLiteral("source"));
    EXPECT_TRUE(storedSettings().contains("localBuildAcknowledged=true"));
}

TEST_F(StartCommandsTest, NewOnATerminalCancelledCreatesNothing)
{
    const ProcessResult cancelled =
        onTerminal({QStringLiteral("new"), QStringLiteral("a timer"), QStringLiteral("--local")}, "cancel\n");
    EXPECT_EQ(cancelled.exitCode, 1);
    EXPECT_TRUE(cancelled.err.endsWith(QStringLiteral("Cancelled; nothing was created.\n")))
        << cancelled.err.toStdString();
    EXPECT_TRUE(service.createBodies().isEmpty());
    EXPECT_FALSE(storedSettings().contains("localBuildAcknowledged"));
}

TEST_F(StartCommandsTest, NewOnATerminalAsksTheRepositoryQuestion)
{
    const ProcessResult created =
        onTerminal({QStringLiteral("new"), linkPrompt}, "Build without importing\n");
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_TRUE(
        created.err.startsWith(QStringLiteral("Build from the GitHub repo Widgets?\n\nThe cloud rewrites")));
    EXPECT_TRUE(created.err.contains(
        QStringLiteral("  1. Import and build\n  2. Build without importing\n  3. Cancel\nChoose 1-3: ")));
    EXPECT_EQ(service.createBodies()[0], object({{QStringLiteral("prompt"), linkPrompt}}));
}

TEST_F(StartCommandsTest, NewWithFlagsThatExcludeEachOtherIsAUsageError)
{
    const ProcessResult both = runCli(
        {QStringLiteral("new"), QStringLiteral("x"), QStringLiteral("--local"), QStringLiteral("--cloud")});
    EXPECT_EQ(both.exitCode, 2);
    EXPECT_TRUE(both.err.startsWith(QStringLiteral("--local and --cloud exclude each other\n")));
    const ProcessResult answers = runCli(
        {QStringLiteral("new"), linkPrompt, QStringLiteral("--import"), QStringLiteral("--no-import")});
    EXPECT_EQ(answers.exitCode, 2);
    EXPECT_TRUE(service.createBodies().isEmpty());
}

TEST_F(StartCommandsTest, GalleryListsStarredAppsFirstAndMarksFavorites)
{
    service.favorites = {QStringLiteral("clock")};
    const ProcessResult listed = runCli({QStringLiteral("gallery")});
    ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    EXPECT_EQ(listed.out, QStringLiteral("timer\tTimer\tCount down\tstarred\ttemplate\n"
                                         "notes\tNotes\tWrite things down\ttemplate\n"
                                         "clock\tClock\tTell the time\tfavorite\n"));
    const ProcessResult favorites = runCli({QStringLiteral("gallery"), QStringLiteral("--favorites")});
    EXPECT_EQ(favorites.out, QStringLiteral("clock\tClock\tTell the time\tfavorite\n"));
    const ProcessResult json = runCli({QStringLiteral("gallery"), QStringLiteral("--json")});
    const QJsonArray apps =
        QJsonDocument::fromJson(json.out.toUtf8()).object().value(QStringLiteral("apps")).toArray();
    ASSERT_EQ(apps.size(), 3);
    EXPECT_EQ(apps[0].toObject().value(QStringLiteral("slug")).toString(), QStringLiteral("timer"));
}

TEST_F(StartCommandsTest, GalleryUseCopiesTheTemplateJobAndPrintsTheNewProject)
{
    const ProcessResult used =
        runCli({QStringLiteral("gallery"), QStringLiteral("use"), QStringLiteral("notes")});
    ASSERT_EQ(used.exitCode, 0) << used.err.toStdString();
    EXPECT_EQ(used.out, QStringLiteral("p-fork\n"));
    ASSERT_EQ(service.forkRequests().size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(service.forkRequests()[0].body).object(),
              object({{QStringLiteral("jobId"), QStringLiteral("job-notes")}}));
}

TEST_F(StartCommandsTest, GalleryUseOfAnAppWithoutATemplateOrUnknownFails)
{
    const ProcessResult none =
        runCli({QStringLiteral("gallery"), QStringLiteral("use"), QStringLiteral("clock")});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.err, QStringLiteral("Clock offers no template.\n"));
    const ProcessResult unknown =
        runCli({QStringLiteral("gallery"), QStringLiteral("use"), QStringLiteral("nope")});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(unknown.err, QStringLiteral("The gallery has no app nope.\n"));
    EXPECT_TRUE(service.forkRequests().isEmpty());
}

TEST_F(StartCommandsTest, GalleryUseRefusedByTheServiceFailsWithItsMessage)
{
    service.forkReply = ScriptedReply::json(403, R"({"message":"This template is private."})");
    const ProcessResult refused =
        runCli({QStringLiteral("gallery"), QStringLiteral("use"), QStringLiteral("timer")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, QStringLiteral("This template is private.\n"));
    EXPECT_TRUE(refused.out.isEmpty());
}
