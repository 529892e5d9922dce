// The whole road through real processes: the stand-in service, the command line following a project,
// and for source jobs the local build with the stand-in developer tools.

#include "child_process.h"
#include "devserver_client.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <gtest/gtest.h>

using namespace brightloom::test;

namespace {

class RoadTest : public ::testing::Test
{
protected:
    RoadTest()
        : server(home.path() + QStringLiteral("/service"),
                 {QStringLiteral("--control"), QStringLiteral("--speed"), QStringLiteral("3600")}),
          control(server)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", server.caFile().toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        const ProcessResult login = runCli({QStringLiteral("login"), QStringLiteral("--email"), demoEmail,
                                            QStringLiteral("--password"), demoPassword});
        EXPECT_EQ(login.exitCode, 0) << login.err.toStdString();
    }

    QString newProject(const QString& prompt, bool local)
    {
        QStringList args{QStringLiteral("new"), prompt};
        if (local) {
            // The local compile warning is accepted beforehand, as a user on a terminal would.
            args.append(QStringLiteral("--local"));
            args.append(QStringLiteral("--yes"));
        }
        const ProcessResult created = runCli(args);
        EXPECT_EQ(created.exitCode, 0) << created.err.toStdString();
        return created.out.trimmed();
    }

    void lineUpSourceFault(const QString& fault)
    {
        const Reply reply = control.postJson(QStringLiteral("control/source/next"),
                                             QJsonObject{{QStringLiteral("fault"), fault}});
        ASSERT_EQ(reply.status, 200) << reply.body.toStdString();
    }

    ProcessResult follow(const QString& project)
    {
        return whileFinishingJobs(
            {QStringLiteral("follow"), project, QStringLiteral("--interval"), QStringLiteral("0.05")});
    }

    // Runs the command line while finishing the service's jobs as they appear, until it ends.
    ProcessResult whileFinishingJobs(const QStringList& args)
    {
        return runProcess(QStringLiteral(BRIGHTLOOM_CLI_PATH), args, QProcessEnvironment::systemEnvironment(),
                          {}, std::chrono::seconds(90), [this] {
                              control.postJson(QStringLiteral("control/clock/finish"), QJsonObject());
                          });
    }

    QJsonObject detail(const QString& project)
    {
        const ProcessResult shown = runCli({QStringLiteral("show"), project, QStringLiteral("--json")});
        EXPECT_EQ(shown.exitCode, 0) << shown.err.toStdString();
        return QJsonDocument::fromJson(shown.out.toUtf8()).object();
    }

    QStringList fixPrompts(const QString& project)
    {
        QStringList prompts;
        for (const QJsonValue message : detail(project).value(QStringLiteral("messages")).toArray()) {
            const QString content = message.toObject().value(QStringLiteral("content")).toString();
            if (message.toObject().value(QStringLiteral("role")).toString() == QLatin1String("user") &&
                content.startsWith(QStringLiteral("The release build failed when compiled")))
                prompts.append(content);
        }
        return prompts;
    }

    QStringList jobModes(const QString& project)
    {
        QStringList modes;
        for (const QJsonValue job : detail(project).value(QStringLiteral("jobs")).toArray())
            modes.append(job.toObject().value(QStringLiteral("mode")).toString());
        return modes;
    }

    static QString lastLine(const QString& text) { return text.trimmed().split(QLatin1Char('\n')).last(); }

    TempHome home;
    DevServer server;
    Client control;
};

} // namespace

TEST_F(RoadTest, CloudRoadCreatesFollowsToReadyAndDownloadsTheImageAndTheApp)
{
    const QString project = newProject(QStringLiteral("a notes app with tags"), false);
    ASSERT_FALSE(project.isEmpty());
    const ProcessResult followed = follow(project);
    ASSERT_TRUE(followed.finished);
    EXPECT_EQ(followed.exitCode, 0) << followed.err.toStdString();
    EXPECT_TRUE(followed.out.contains(QStringLiteral("Built in the cloud: "))) << followed.out.toStdString();

    const ProcessResult image = runCli({QStringLiteral("download"), project, QStringLiteral("--dmg")});
    ASSERT_EQ(image.exitCode, 0) << image.err.toStdString();
    EXPECT_TRUE(image.out.trimmed().endsWith(QStringLiteral(".dmg")));
    EXPECT_TRUE(QFileInfo(image.out.trimmed()).isFile());

    const ProcessResult app = runCli({QStringLiteral("download"), project, QStringLiteral("--zip")});
    ASSERT_EQ(app.exitCode, 0) << app.err.toStdString();
    EXPECT_TRUE(app.out.trimmed().endsWith(QStringLiteral(".app")));
    EXPECT_TRUE(QFileInfo(app.out.trimmed() + QStringLiteral("/Contents/Info.plist")).isFile());
}

TEST_F(RoadTest, NewWithFollowPrintsTheIdAndFollowsTheProjectToItsEnd)
{
    const ProcessResult followed =
        whileFinishingJobs({QStringLiteral("new"), QStringLiteral("a stopwatch"), QStringLiteral("--follow"),
                            QStringLiteral("--interval"), QStringLiteral("0.05")});
    ASSERT_TRUE(followed.finished);
    EXPECT_EQ(followed.exitCode, 0) << followed.err.toStdString();
    const QString id = followed.out.split(QLatin1Char('\n')).first();
    EXPECT_EQ(detail(id).value(QStringLiteral("project")).toObject().value(QStringLiteral("id")).toString(),
              id);
    EXPECT_TRUE(followed.out.contains(QStringLiteral("Built in the cloud: Stopwatch 1.0")))
        << followed.out.toStdString();
}

TEST_F(RoadTest, GalleryUseWithFollowPrintsTheNewProjectAndFollowsItToItsEnd)
{
    const ProcessResult followed = whileFinishingJobs(
        {QStringLiteral("gallery"), QStringLiteral("use"), QStringLiteral("recipe-box"),
         QStringLiteral("--follow"), QStringLiteral("--interval"), QStringLiteral("0.05")});
    ASSERT_TRUE(followed.finished);
    EXPECT_EQ(followed.exitCode, 0) << followed.err.toStdString();
    const QString id = followed.out.split(QLatin1Char('\n')).first();
    ASSERT_FALSE(id.isEmpty()) << followed.out.toStdString();
    const QJsonObject copy = detail(id);
    EXPECT_EQ(copy.value(QStringLiteral("project")).toObject().value(QStringLiteral("id")).toString(), id);
    const QJsonArray jobs = copy.value(QStringLiteral("jobs")).toArray();
    ASSERT_EQ(jobs.size(), 1);
    EXPECT_EQ(jobs[0].toObject().value(QStringLiteral("status")).toString(), QStringLiteral("ready"));
    EXPECT_EQ(lastLine(followed.out), QStringLiteral("Built in the cloud: Recipe Box 1.0"))
        << followed.out.toStdString();
}

TEST_F(RoadTest, FailedCloudBuildEndsTheFollowWithItsError)
{
    const Reply reply =
        control.postJson(QStringLiteral("control/jobs/fail-next"),
                         QJsonObject{{QStringLiteral("error"), QStringLiteral("The signing step broke.")}});
    ASSERT_EQ(reply.status, 200) << reply.body.toStdString();
    const QString project = newProject(QStringLiteral("a doomed timer"), false);
    const ProcessResult followed = follow(project);
    ASSERT_TRUE(followed.finished);
    EXPECT_EQ(followed.exitCode, 1);
    EXPECT_TRUE(followed.out.contains(QStringLiteral("Build failed. Send another message to try again.")));
    EXPECT_TRUE(followed.err.contains(QStringLiteral("The signing step broke.")))
        << followed.err.toStdString();
}

TEST_F(RoadTest, LocalRoadBuildsTheSourceAndASecondFollowGoesStraightToTheSameApp)
{
    const QString project = newProject(QStringLiteral("a pocket timer"), true);
    const ProcessResult first = follow(project);
    ASSERT_TRUE(first.finished);
    ASSERT_EQ(first.exitCode, 0) << first.out.toStdString() << first.err.toStdString();
    const QString app = lastLine(first.out);
    EXPECT_TRUE(app.endsWith(QStringLiteral(".app"))) << first.out.toStdString();
    EXPECT_TRUE(QFileInfo(app + QStringLiteral("/Contents/Info.plist")).isFile());
    EXPECT_TRUE(first.out.contains(QStringLiteral("Compiled on this Mac. Saved to ")));

    // Without the source folder a new build would have to fetch it again; the remembered app is
    // shown instead.
    const QString sources = home.path() + QStringLiteral("/.local/share/Brightloom/Local");
    ASSERT_TRUE(QDir(sources).removeRecursively());
    const ProcessResult second = follow(project);
    ASSERT_EQ(second.exitCode, 0) << second.err.toStdString();
    EXPECT_EQ(lastLine(second.out), app);
    EXPECT_FALSE(QFileInfo::exists(sources));
}

TEST_F(RoadTest, SourceThatNeverCompilesSendsThreeFixRequestsThenGivesUp)
{
    for (int i = 0; i < 4; ++i)
        lineUpSourceFault(QStringLiteral("compile"));
    const QString project = newProject(QStringLiteral("a broken clock"), true);
    const ProcessResult followed = follow(project);
    ASSERT_TRUE(followed.finished);
    EXPECT_EQ(followed.exitCode, 1);
    EXPECT_TRUE(followed.err.contains(QStringLiteral("Still not compiling after 3 fix attempts.")))
        << followed.err.toStdString();
    EXPECT_EQ(fixPrompts(project).size(), 3);
    EXPECT_EQ(jobModes(project), (QStringList{QStringLiteral("source-fix"), QStringLiteral("source-fix"),
                                              QStringLiteral("source-fix"), QStringLiteral("source")}));
}

TEST_F(RoadTest, FixChainWhoseSecondFixCompilesEndsWithTheApp)
{
    lineUpSourceFault(QStringLiteral("compile"));
    lineUpSourceFault(QStringLiteral("compile"));
    const QString project = newProject(QStringLiteral("a shaky counter"), true);
    const ProcessResult followed = follow(project);
    ASSERT_TRUE(followed.finished);
    EXPECT_EQ(followed.exitCode, 0) << followed.err.toStdString();
    EXPECT_TRUE(lastLine(followed.out).endsWith(QStringLiteral(".app")));
    const QStringList prompts = fixPrompts(project);
    ASSERT_EQ(prompts.size(), 2);
    EXPECT_TRUE(prompts[0].contains(QStringLiteral("error:"))) << prompts[0].toStdString();
    EXPECT_TRUE(followed.out.contains(QStringLiteral("Compiling on this Mac\u2026 (fix 2 of 3)")))
        << followed.out.toStdString();
    EXPECT_TRUE(
        followed.out.contains(QStringLiteral("Compile errors found. Asking the cloud to fix them\u2026")));
}

TEST_F(RoadTest, HostileSourceFromTheServiceFailsTheJobAndWritesNothingOutsideItsFolder)
{
    const QString local = home.path() + QStringLiteral("/.local/share/Brightloom/Local");
    ASSERT_TRUE(QDir().mkpath(local + QStringLiteral("/sentinel")));
    for (const QString& fault :
         {QStringLiteral("symlink"), QStringLiteral("escape"), QStringLiteral("manifest")}) {
        lineUpSourceFault(fault);
        const QString project = newProject(QStringLiteral("a hostile ") + fault, true);
        const ProcessResult followed = follow(project);
        ASSERT_TRUE(followed.finished);
        EXPECT_EQ(followed.exitCode, 1) << fault.toStdString();
        const bool refused = followed.err.contains(QStringLiteral("Refused to build this source: ")) ||
                             followed.err.contains(QStringLiteral("Could not unpack the source: "));
        EXPECT_TRUE(refused) << fault.toStdString() << ": " << followed.err.toStdString();
    }
    EXPECT_TRUE(QDir(local + QStringLiteral("/sentinel")).isEmpty());
    EXPECT_FALSE(QFileInfo::exists(local + QStringLiteral("/x")));
    EXPECT_FALSE(QFileInfo::exists(home.path() + QStringLiteral("/.local/share/Brightloom/x")));
}
