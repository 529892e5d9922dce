#include "localbuild/local_builds.h"
#include "localbuild/local_pipeline.h"
#include "platform/settings.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "service/api.h"
#include "source_package.h"
#include "stand_in_tools.h"
#include "task_runner.h"
#include "temp_home.h"
#include "text/characters.h"
#include "zip_maker.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

QByteArray sourceZip(const QByteArray& appSwift, const QByteArray& assetsJson = {})
{
    ZipMaker zip = sourcePackage(appSwift, "Pocket Timer");
    if (!assetsJson.isEmpty())
        zip.file(QStringLiteral("assets.json"), assetsJson);
    return zip.zip();
}

const QByteArray& goodSwift = compilingSwift;
const QByteArray brokenSwift = "import SwiftUI\n#error(\"missing brace\")\nlet x = 1\n";

Job sourceJob(const QString& id, const QString& url, const QString& mode = QStringLiteral("source"))
{
    Job job;
    job.id = id;
    job.status = JobStatus::ready;
    job.mode = Coded<JobMode>::fromText(mode);
    job.sourceUrl = url;
    job.version = QStringLiteral("1.0");
    return job;
}

// A service over HTTPS that serves source archives and takes fix requests; the build runs the
// real pipeline with the stand-in developer tools.
class LocalBuildsTest : public ::testing::Test
{
protected:
    LocalBuildsTest() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        server.on(QStringLiteral("POST /api/projects/p1/messages"), ScriptedReply::json(200, "{}"));
        // Made only now: the client reads the service's address and trust when it is created.
        m_api = std::make_unique<API>();
    }

    QString serve(const QString& name, const QByteArray& zip, int delayMs = 0)
    {
        ScriptedReply reply = ScriptedReply::archive(zip);
        reply.delayMs = delayMs;
        return server.offer(QStringLiteral("files/") + name, reply);
    }

    int fetches(const QString& name) const
    {
        return server.requestsTo(QStringLiteral("/files/") + name).size();
    }

    QList<RecordedRequest> fixRequests() const
    {
        return server.requestsTo(QStringLiteral("/api/projects/p1/messages"));
    }

    // Runs handle() and waits for the job's task to end.
    LocalState build(LocalBuilds& local, const Job& job, int fixesSoFar = 0)
    {
        local.handle(QStringLiteral("p1"), job, fixesSoFar, *m_api);
        EXPECT_TRUE(spinUntil([&] { return !local.isRunning(job.id); }, std::chrono::seconds(60)));
        // Output chunks arrive as their own main-thread events: let the queued ones land.
        QCoreApplication::processEvents();
        return local.state(job.id).value_or(LocalState{});
    }

    TempHome home;
    RecordingServer server;
    std::unique_ptr<API> m_api;
};

} // namespace

TEST_F(LocalBuildsTest, JobWithoutASourceAddressOrOfAnotherModeIsIgnored)
{
    LocalBuilds local;
    Job noAddress = sourceJob(QStringLiteral("a"), {});
    noAddress.sourceUrl.reset();
    Job cloud = sourceJob(QStringLiteral("b"), QStringLiteral("https://x/b.zip"), QStringLiteral("cloud"));
    Job noMode = sourceJob(QStringLiteral("c"), QStringLiteral("https://x/c.zip"));
    noMode.mode.reset();
    Job building = sourceJob(QStringLiteral("d"), QStringLiteral("https://x/d.zip"));
    building.status = JobStatus::building;
    for (const Job& job : {noAddress, cloud, noMode, building})
        local.handle(QStringLiteral("p1"), job, 0, *m_api);
    EXPECT_TRUE(local.states().isEmpty());
}

TEST_F(LocalBuildsTest, HandlingAJobTwiceWhileItBuildsStartsOneBuild)
{
    const QString url = serve(QStringLiteral("slow.zip"), sourceZip(goodSwift), 300);
    LocalBuilds local;
    const Job job = sourceJob(QStringLiteral("job-twice"), url);
    local.handle(QStringLiteral("p1"), job, 0, *m_api);
    EXPECT_EQ(local.state(job.id)->phase, LocalState::Phase::downloading);
    local.handle(QStringLiteral("p1"), job, 0, *m_api);
    ASSERT_TRUE(spinUntil([&] { return !local.isRunning(job.id); }, std::chrono::seconds(60)));
    EXPECT_EQ(fetches(QStringLiteral("slow.zip")), 1);
    EXPECT_EQ(local.state(job.id)->phase, LocalState::Phase::done)
        << local.state(job.id)->error.value_or(QString()).toStdString();
}

TEST_F(LocalBuildsTest, FailedJobIsNotBuiltAgainUntilItsEntryIsRemoved)
{
    server.on(QStringLiteral("GET /files/gone.zip"), ScriptedReply::html(404, "<html>Not here</html>"));
    const QString url = server.baseUrl().toString() + QStringLiteral("files/gone.zip");
    LocalBuilds local;
    const Job job = sourceJob(QStringLiteral("job-gone"), url);
    const LocalState failed = build(local, job);
    EXPECT_EQ(failed.phase, LocalState::Phase::failed);
    EXPECT_TRUE(failed.error.value_or(QString()).startsWith(QStringLiteral("Could not unpack the source: ")))
        << failed.error.value_or(QString()).toStdString();
    local.handle(QStringLiteral("p1"), job, 0, *m_api);
    EXPECT_FALSE(local.isRunning(job.id));
    EXPECT_EQ(fetches(QStringLiteral("gone.zip")), 1);

    local.remove(job.id);
    build(local, job);
    EXPECT_EQ(fetches(QStringLiteral("gone.zip")), 2);
}

TEST_F(LocalBuildsTest, SuccessfulBuildIsDoneSavedAndRemembered)
{
    const QString url = serve(QStringLiteral("good.zip"), sourceZip(goodSwift));
    LocalBuilds local;
    // Each phase as it was published, once however often the log changed within it.
    QList<LocalState::Phase> phases;
    QObject::connect(&local, &LocalBuilds::statesChanged, &local, [&] {
        const auto state = local.state(QStringLiteral("abcdef123456"));
        if (state && (phases.isEmpty() || phases.last() != state->phase))
            phases.append(state->phase);
    });
    const LocalState done = build(local, sourceJob(QStringLiteral("abcdef123456"), url));
    ASSERT_EQ(done.phase, LocalState::Phase::done) << done.error.value_or(QString()).toStdString();
    ASSERT_TRUE(done.app);
    EXPECT_TRUE(QFileInfo(*done.app).isDir());
    EXPECT_TRUE(done.app->endsWith(QStringLiteral(".app")));
    EXPECT_EQ(done.attempt, 0);
    EXPECT_FALSE(done.error);
    EXPECT_EQ(phases, (QList<LocalState::Phase>{LocalState::Phase::downloading, LocalState::Phase::compiling,
                                                LocalState::Phase::packaging, LocalState::Phase::done}));
    const auto settings = Settings::store();
    EXPECT_EQ(
        settings->value(Settings::localBuiltAppsKey).toMap().value(QStringLiteral("abcdef123456")).toString(),
        *done.app);
}

TEST_F(LocalBuildsTest, RememberedAppThatStillExistsGoesStraightToDoneWithNoLog)
{
    const QString app = home.path() + QStringLiteral("/Downloads/Timer.app");
    ASSERT_TRUE(QDir().mkpath(app));
    {
        auto settings = Settings::store();
        settings->setValue(Settings::localBuiltAppsKey, QVariantMap{{QStringLiteral("j-saved"), app}});
    }
    LocalBuilds local;
    local.handle(QStringLiteral("p1"),
                 sourceJob(QStringLiteral("j-saved"), QStringLiteral("https://x/none.zip")), 2, *m_api);
    const auto state = local.state(QStringLiteral("j-saved"));
    ASSERT_TRUE(state);
    EXPECT_EQ(state->phase, LocalState::Phase::done);
    EXPECT_EQ(state->app, app);
    EXPECT_EQ(state->attempt, 2);
    EXPECT_TRUE(state->log.isEmpty());
    EXPECT_FALSE(local.isRunning(QStringLiteral("j-saved")));
}

TEST_F(LocalBuildsTest, RememberedAppThatWasDeletedIsBuiltAgain)
{
    {
        auto settings = Settings::store();
        settings->setValue(Settings::localBuiltAppsKey,
                           QVariantMap{{QStringLiteral("j-deleted"),
                                        QString(home.path() + QStringLiteral("/gone/Timer.app"))}});
    }
    const QString url = serve(QStringLiteral("again.zip"), sourceZip(goodSwift));
    LocalBuilds local;
    const LocalState state = build(local, sourceJob(QStringLiteral("j-deleted"), url));
    EXPECT_EQ(fetches(QStringLiteral("again.zip")), 1);
    EXPECT_EQ(state.phase, LocalState::Phase::done);
}

TEST_F(LocalBuildsTest, MalformedRememberedAppsCountAsEmptyAndAreReplacedWhenRemembering)
{
    {
        auto settings = Settings::store();
        settings->setValue(Settings::localBuiltAppsKey, QStringLiteral("not a map"));
    }
    const QString url = serve(QStringLiteral("fresh.zip"), sourceZip(goodSwift));
    LocalBuilds local;
    const LocalState state = build(local, sourceJob(QStringLiteral("j-fresh"), url));
    ASSERT_EQ(state.phase, LocalState::Phase::done);
    const auto settings = Settings::store();
    EXPECT_EQ(
        settings->value(Settings::localBuiltAppsKey).toMap().value(QStringLiteral("j-fresh")).toString(),
        *state.app);
}

TEST_F(LocalBuildsTest, CompileFailureWithTwoFixesSoFarSendsOneFixRequest)
{
    const QString url = serve(QStringLiteral("broken.zip"), sourceZip(brokenSwift));
    LocalBuilds local;
    const LocalState state =
        build(local, sourceJob(QStringLiteral("j-fix2"), url, QStringLiteral("source-fix")), 2);
    EXPECT_EQ(state.phase, LocalState::Phase::askingForFix);
    EXPECT_EQ(state.attempt, 2);
    const auto sent = fixRequests();
    ASSERT_EQ(sent.size(), 1);
    const QJsonObject body = QJsonDocument::fromJson(sent[0].body).object();
    EXPECT_EQ(body.value(QStringLiteral("mode")).toString(), QStringLiteral("source-fix"));
    const QString prompt = body.value(QStringLiteral("prompt")).toString();
    EXPECT_TRUE(prompt.startsWith(QStringLiteral("The release build failed when compiled")));
    EXPECT_TRUE(prompt.contains(QStringLiteral("Sources/App/App.swift:2:1: error: missing brace")))
        << prompt.toStdString();
    EXPECT_FALSE(prompt.contains(QStringLiteral("/Brightloom/Local/"))) << "paths are relative";
}

TEST_F(LocalBuildsTest, CompileFailureWithThreeFixesSoFarFailsWithTheLimitAndSendsNothing)
{
    const QString url = serve(QStringLiteral("broken3.zip"), sourceZip(brokenSwift));
    LocalBuilds local;
    const LocalState state =
        build(local, sourceJob(QStringLiteral("j-fix3"), url, QStringLiteral("source-fix")), 3);
    EXPECT_EQ(state.phase, LocalState::Phase::failed);
    EXPECT_EQ(state.error, QStringLiteral("Still not compiling after 3 fix attempts."));
    EXPECT_TRUE(fixRequests().isEmpty());
    EXPECT_TRUE(state.log.contains(QStringLiteral("error: missing brace")))
        << "the compiler's output is logged";
}

TEST_F(LocalBuildsTest, FixRequestTheServiceRefusesFailsTheJobWithItsText)
{
    server.on(QStringLiteral("POST /api/projects/p1/messages"),
              ScriptedReply::json(403, R"({"message":"Your plan has no fixes left"})"));
    const QString url = serve(QStringLiteral("broken-refused.zip"), sourceZip(brokenSwift));
    LocalBuilds local;
    const LocalState state = build(local, sourceJob(QStringLiteral("j-refused"), url));
    EXPECT_EQ(state.phase, LocalState::Phase::failed);
    EXPECT_EQ(state.error, QStringLiteral("Your plan has no fixes left"));
}

TEST_F(LocalBuildsTest, SourceTheVettingRefusesFailsWithTheRefusal)
{
    ZipMaker zip = sourcePackage();
    zip.symlink(QStringLiteral("Sources/App/link"), QStringLiteral("App.swift"));
    const QString url = serve(QStringLiteral("linked.zip"), zip.zip());
    LocalBuilds local;
    const LocalState state = build(local, sourceJob(QStringLiteral("j-linked"), url));
    EXPECT_EQ(state.phase, LocalState::Phase::failed);
    EXPECT_EQ(state.error, QStringLiteral("Refused to build this source: the zip contains a symbolic link"));
}

TEST_F(LocalBuildsTest, AssetFailureIsLoggedAndTheBuildGoesOn)
{
    const QString url = serve(QStringLiteral("assets.zip"), sourceZip(goodSwift, "this is not json"));
    LocalBuilds local;
    const LocalState state = build(local, sourceJob(QStringLiteral("j-assets"), url));
    EXPECT_EQ(state.phase, LocalState::Phase::done) << state.error.value_or(QString()).toStdString();
    EXPECT_TRUE(state.log.startsWith(QStringLiteral("Assets skipped: "))) << state.log.toStdString();
}

TEST_F(LocalBuildsTest, LogKeepsOnlyItsNewest4000Characters)
{
    QByteArray swift = "import SwiftUI\n";
    for (int i = 0; i < 120; ++i)
        swift += "#error(\"problem number " + QByteArray::number(i) +
                 " in a rather long line of compiler output\")\n";
    const QString url = serve(QStringLiteral("noisy.zip"), sourceZip(swift));
    LocalBuilds local;
    const LocalState state = build(local, sourceJob(QStringLiteral("j-noisy"), url), 3);
    EXPECT_EQ(state.phase, LocalState::Phase::failed);
    EXPECT_EQ(state.log.size(), 4000);
    EXPECT_TRUE(state.log.endsWith(QStringLiteral("error: fatalError\n")))
        << state.log.right(100).toStdString();
}

TEST_F(LocalBuildsTest, LogKeepsItsNewest4000CharactersAsAPersonCountsThem)
{
    // Each error line holds emoji and accents written as combining marks, so 4000 characters are
    // many more code units, and a cut by code units could start inside one.
    QByteArray swift = "import SwiftUI\n";
    for (int i = 0; i < 120; ++i)
        swift += "#error(\"probl\x65\xcc\x80me \xf0\x9f\x98\x80\xf0\x9f\x91\xa8\xe2\x80\x8d\xf0\x9f\x91\xa9 "
                 "num\x65\xcc\x81ro " +
                 QByteArray::number(i) + " in a rather long line\")\n";
    const QString url = serve(QStringLiteral("accents.zip"), sourceZip(swift));
    LocalBuilds local;
    const LocalState state = build(local, sourceJob(QStringLiteral("j-accents"), url), 3);
    EXPECT_EQ(state.phase, LocalState::Phase::failed);
    EXPECT_EQ(brightloom::text::characterCount(state.log), 4000);
    EXPECT_GT(state.log.size(), 4000);
    EXPECT_FALSE(state.log.front().isLowSurrogate() || state.log.front().isMark() ||
                 state.log.front() == QChar(0x200D))
        << state.log.left(20).toStdString();
    EXPECT_TRUE(state.log.endsWith(QStringLiteral("error: fatalError\n")))
        << state.log.right(100).toStdString();
}

TEST_F(LocalBuildsTest, ToolchainAndItsCheckArePublished)
{
    LocalBuilds local;
    QSignalSpy toolchain(&local, &LocalBuilds::toolchainChanged);
    QSignalSpy checked(&local, &LocalBuilds::toolchainCheckedChanged);
    EXPECT_FALSE(local.toolchain());
    EXPECT_FALSE(local.toolchainChecked());
    local.setToolchain(QStringLiteral("Swift version 5.10"));
    local.setToolchainChecked(true);
    EXPECT_EQ(local.toolchain(), QStringLiteral("Swift version 5.10"));
    EXPECT_TRUE(local.toolchainChecked());
    EXPECT_EQ(toolchain.size(), 1);
    EXPECT_EQ(checked.size(), 1);
}

namespace {

// The stand-in tools, with a compiler that writes a line, waits until `release` exists, writes
// another and leaves `done` behind when it has ended.
QString pausingTools(const QString& folder)
{
    const QByteArray quoted = "'" + folder.toUtf8();
    return toolsWithReleaseBuildPrelude(QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR), folder,
                                        "  echo 'Compiling App'\n"
                                        "  while [ ! -e " +
                                            quoted +
                                            "/release' ]; do sleep 0.02; done\n"
                                            "  echo 'late output'\n"
                                            "  touch " +
                                            quoted + "/done'");
}

// Runs a compile step and notes that it ended; named, as GCC 12 mishandles capturing lambdas that
// are coroutines.
QCoro::Task<std::optional<QByteArray>> compileThenNote(decltype(LocalPipeline::compile) real, QString dir,
                                                       LocalPipeline::Log log, std::shared_ptr<bool> compiled)
{
    std::optional<QByteArray> errors = co_await real(std::move(dir), std::move(log));
    *compiled = true;
    co_return errors;
}

} // namespace

TEST_F(LocalBuildsTest, OutputArrivingAfterTheControllerIsGoneIsDropped)
{
    const QString tools = pausingTools(home.path() + QStringLiteral("/tools"));
    home.setEnv("BRIGHTLOOM_TOOLS_DIR", tools.toUtf8());
    const QString url = serve(QStringLiteral("paused.zip"), sourceZip(goodSwift));
    // The real steps, with word of when the compile ended and whether packaging began.
    auto compiled = std::make_shared<bool>(false);
    auto packaged = std::make_shared<bool>(false);
    LocalPipeline steps = LocalPipeline::standard();
    steps.compile = [real = steps.compile, compiled](QString dir, LocalPipeline::Log log) {
        return compileThenNote(real, std::move(dir), std::move(log), compiled);
    };
    const auto realPackage = steps.package;
    steps.package = [realPackage, packaged](QString dir, QString job, std::optional<QString> version) {
        *packaged = true;
        return realPackage(std::move(dir), std::move(job), std::move(version));
    };
    auto local = std::make_unique<LocalBuilds>(steps);
    const Job job = sourceJob(QStringLiteral("j-gone"), url);
    local->handle(QStringLiteral("p1"), job, 0, *m_api);
    ASSERT_TRUE(spinUntil([&] { return local->state(job.id)->log.contains(QStringLiteral("Compiling App")); },
                          std::chrono::seconds(30)));
    local.reset();
    QFile(tools + QStringLiteral("/release")).open(QIODevice::WriteOnly);
    // The build's task wakes to find its controller gone: the late chunk has nowhere to land and
    // nothing is packaged or remembered. It resumes right after the compile step ends.
    ASSERT_TRUE(spinUntil([&] { return *compiled; }, std::chrono::seconds(30)));
    drainPostedEvents();
    EXPECT_FALSE(*packaged);
    EXPECT_TRUE(QDir(home.downloadsFolder()).isEmpty() || !QFileInfo::exists(home.downloadsFolder()));
    EXPECT_FALSE(Settings::store()->value(Settings::localBuiltAppsKey).toMap().contains(job.id));
}

TEST_F(LocalBuildsTest, ControllerThatGoesEndsTheToolsOfItsBuildsAndWhatTheyStarted)
{
    // The window closes while a build compiles: nobody is left to use what it would make.
    const QString helper = home.path() + QStringLiteral("/helper.pid");
    const QString tools = toolsWithReleaseBuildPrelude(
        QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR), home.path() + QStringLiteral("/tools"),
        "sleep 600 &\necho $! > '" + helper.toUtf8() + "'\necho compiling\nsleep 600\n");
    home.setEnv("BRIGHTLOOM_TOOLS_DIR", tools.toUtf8());
    const QString url = serve(QStringLiteral("hangs.zip"), sourceZip(goodSwift));
    auto local = std::make_unique<LocalBuilds>();
    const Job job = sourceJob(QStringLiteral("j-closed"), url);
    local->handle(QStringLiteral("p1"), job, 0, *m_api);
    ASSERT_TRUE(spinUntil([&] { return QFileInfo(helper).size() > 0; }, std::chrono::seconds(30)));
    QFile file(helper);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const pid_t left = pid_t(file.readAll().trimmed().toInt());
    ASSERT_GT(left, 0);
    local.reset();
    EXPECT_TRUE(spinUntil([&] { return ::kill(left, 0) != 0 && errno == ESRCH; }, std::chrono::seconds(10)))
        << "the compiler's group ended with the controller";
}
