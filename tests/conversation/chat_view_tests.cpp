#include "conversation/chat_view.h"
#include "hand_clock.h"
#include "localbuild/local_builds.h"
#include "platform/desktop.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "service/api.h"
#include "source_package.h"
#include "task_runner.h"
#include "temp_home.h"
#include "zip_maker.h"

#include <QDateTime>
#include <QFuture>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPromise>
#include <QSignalSpy>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <memory>
#include <qcoro/qcorofuture.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

class RecordingDesktop final : public Desktop
{
public:
    void open(const QUrl& url) override { opened.append(url.toLocalFile()); }
    void reveal(const QString& path) override { revealed.append(path); }
    QStringList opened;
    QStringList revealed;
};

QJsonObject job(const QString& id, const QString& status, const QString& mode = {}, const QString& stage = {})
{
    QJsonObject o{{QStringLiteral("id"), id}, {QStringLiteral("status"), status}};
    if (!mode.isEmpty())
        o.insert(QStringLiteral("mode"), mode);
    if (!stage.isEmpty())
        o.insert(QStringLiteral("stage"), stage);
    return o;
}

// Starts the screen polling on a clock the test moves, and waits for its first wait to begin.
std::shared_ptr<HandClock> pollOnHandClock(ChatView& view)
{
    const auto clock = std::make_shared<HandClock>();
    view.setPollWait(waitsOn(clock));
    view.startPolling();
    spinUntil([&] { return clock->waits.size() == 1; });
    return clock;
}

using std::chrono::milliseconds;

// A service over HTTPS whose project detail the test rewrites between refreshes. Source jobs are
// built by the real local build with the stand-in developer tools.
class ChatViewTest : public ::testing::Test
{
protected:
    ChatViewTest() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        server.setHandler([this](const RecordedRequest& request) {
            if (request.method == "GET" && request.path() == QLatin1String("/api/projects/p1")) {
                if (detailFails)
                    return ScriptedReply::json(500, R"({"message":"Down for maintenance"})");
                QJsonObject detail{{QStringLiteral("project"),
                                    QJsonObject{{QStringLiteral("id"), QStringLiteral("p1")},
                                                {QStringLiteral("name"), QStringLiteral("Notes")}}},
                                   {QStringLiteral("messages"), messages},
                                   {QStringLiteral("jobs"), jobs}};
                return ScriptedReply::json(200, QJsonDocument(detail).toJson(QJsonDocument::Compact));
            }
            if (request.method == "POST" && request.path() == QLatin1String("/api/projects/p1/messages"))
                return sendReply;
            if (files.contains(request.path()))
                return files.value(request.path());
            if (request.path().startsWith(QLatin1String("/files/")))
                return fileReply;
            return ScriptedReply::json(404, R"({"message":"Not found"})");
        });
    }

    Project project() const { return Project{QStringLiteral("p1"), QStringLiteral("Notes"), std::nullopt}; }

    void refresh(ChatView& view)
    {
        const auto done = run(view.refresh());
        ASSERT_TRUE(done.ok()) << done.errorText().toStdString();
    }

    QString url(const QString& path) const { return server.baseUrl().toString() + path; }

    // Serves a source archive of a small app whose code compiles, or fails to when `broken`.
    QString serveSource(const QString& name, bool broken = false)
    {
        const QByteArray code = broken ? QByteArray("#error(\"no body\")\n") : compilingSwift;
        const ScriptedReply reply = ScriptedReply::archive(sourcePackage(code, "Notes").zip());
        files.insert(QStringLiteral("/files/") + name, reply);
        return url(QStringLiteral("files/") + name);
    }

    int fetches(const QString& name) const
    {
        return server.requestsTo(QStringLiteral("/files/") + name).size();
    }

    int detailRequests() const { return server.requestsTo(QStringLiteral("/api/projects/p1")).size(); }
    int sendRequests() const { return server.requestsTo(QStringLiteral("/api/projects/p1/messages")).size(); }

    TempHome home;
    RecordingServer server;
    QJsonArray jobs;
    QJsonArray messages;
    bool detailFails = false;
    ScriptedReply sendReply = ScriptedReply::json(200, "{}");
    ScriptedReply fileReply = ScriptedReply::json(404, "{}");
    QHash<QString, ScriptedReply> files;
    RecordingDesktop desktop;
};

} // namespace

TEST_F(ChatViewTest, StartsEmptyAndNotLoaded)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    EXPECT_FALSE(view.loaded());
    EXPECT_TRUE(view.messages().isEmpty());
    EXPECT_TRUE(view.jobs().isEmpty());
    EXPECT_FALSE(view.latest());
    EXPECT_EQ(view.status().kind, StatusArea::Kind::none);
}

TEST_F(ChatViewTest, RefreshReadsMessagesAndJobsNewestFirst)
{
    messages.append(QJsonObject{{QStringLiteral("id"), QStringLiteral("m1")},
                                {QStringLiteral("role"), QStringLiteral("user")},
                                {QStringLiteral("content"), QStringLiteral("A timer")}});
    jobs.append(job(QStringLiteral("j2"), QStringLiteral("ready")));
    jobs.append(job(QStringLiteral("j1"), QStringLiteral("failed")));
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    EXPECT_TRUE(view.loaded());
    ASSERT_EQ(view.messages().size(), 1);
    EXPECT_EQ(view.messages()[0].content, QStringLiteral("A timer"));
    ASSERT_TRUE(view.latest());
    EXPECT_EQ(view.latest()->id, QStringLiteral("j2"));
}

TEST_F(ChatViewTest, FailedRefreshChangesNothingAndShowsNoError)
{
    jobs.append(job(QStringLiteral("j1"), QStringLiteral("ready")));
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    detailFails = true;
    refresh(view);
    EXPECT_FALSE(view.loaded());
    EXPECT_FALSE(view.error());
    detailFails = false;
    refresh(view);
    jobs = QJsonArray{job(QStringLiteral("j9"), QStringLiteral("queued"))};
    detailFails = true;
    refresh(view);
    EXPECT_TRUE(view.loaded());
    EXPECT_EQ(view.latest()->id, QStringLiteral("j1"));
    EXPECT_FALSE(view.error());
}

// A send that goes ahead clears the last error at once, before it asks the service; one that is
// refused returns before that. So a kept error shows, with no waiting, that nothing was started.
TEST_F(ChatViewTest, BlankPromptSendsNothingAndKeepsThePrompt)
{
    sendReply = ScriptedReply::json(429, R"({"message":"Slow down"})");
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    QSignalSpy sent(&view, &ChatView::sent);
    view.setPrompt(QStringLiteral("first"));
    view.send();
    ASSERT_TRUE(spinUntil([&] { return sent.size() == 1; }));
    view.setPrompt(QStringLiteral("  \n\t "));
    view.send();
    EXPECT_EQ(view.error(), QStringLiteral("Slow down"));
    EXPECT_EQ(view.prompt(), QStringLiteral("  \n\t "));
    refresh(view);
    EXPECT_EQ(sendRequests(), 1);
}

TEST_F(ChatViewTest, PromptWhileTheNewestJobIsQueuedOrBuildingSendsNothingAndKeepsIt)
{
    sendReply = ScriptedReply::json(429, R"({"message":"Slow down"})");
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    QSignalSpy sent(&view, &ChatView::sent);
    view.setPrompt(QStringLiteral("first"));
    view.send();
    ASSERT_TRUE(spinUntil([&] { return sent.size() == 1; }));
    for (const char* status : {"queued", "building"}) {
        jobs = QJsonArray{job(QStringLiteral("j1"), QString::fromLatin1(status))};
        refresh(view);
        view.setPrompt(QStringLiteral("Make it blue"));
        view.send();
        EXPECT_EQ(view.error(), QStringLiteral("Slow down")) << status;
        EXPECT_EQ(view.prompt(), QStringLiteral("Make it blue"));
        refresh(view);
        EXPECT_EQ(sendRequests(), 1) << status;
    }
}

TEST_F(ChatViewTest, SecondSendBeforeTheServiceAnswersTheFirstSendsNothing)
{
    sendReply.delayMs = 300; // the service is slow to take the first message
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    QSignalSpy sent(&view, &ChatView::sent);
    view.setPrompt(QStringLiteral("Make it blue"));
    view.send();
    EXPECT_TRUE(view.sending());
    EXPECT_FALSE(view.canSend());
    view.send();
    ASSERT_TRUE(spinUntil([&] { return sent.size() == 1; }));
    EXPECT_FALSE(view.sending());
    drainPostedEvents();
    EXPECT_EQ(sent.size(), 1);
    EXPECT_EQ(sendRequests(), 1);
}

TEST_F(ChatViewTest, SendPostsTheTrimmedTextClearsThePromptAndRefreshes)
{
    jobs.append(job(QStringLiteral("j1"), QStringLiteral("ready")));
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    const int before = detailRequests();
    QSignalSpy sent(&view, &ChatView::sent);
    view.setPrompt(QStringLiteral("  Make it blue \n"));
    view.send();
    ASSERT_TRUE(spinUntil([&] { return sent.size() == 1; }));
    EXPECT_TRUE(sent[0][0].toBool());
    const auto posted = server.requestsTo(QStringLiteral("/api/projects/p1/messages"));
    ASSERT_EQ(posted.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(posted[0].body).object(),
              (QJsonObject{{QStringLiteral("prompt"), QStringLiteral("Make it blue")}}));
    EXPECT_TRUE(view.prompt().isEmpty());
    EXPECT_EQ(detailRequests(), before + 1);
}

TEST_F(ChatViewTest, FailedSendShowsTheErrorAndKeepsThePromptUntilTheNextSend)
{
    sendReply = ScriptedReply::json(429, R"({"message":"Slow down"})");
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    QSignalSpy sent(&view, &ChatView::sent);
    view.setPrompt(QStringLiteral("Make it blue"));
    view.send();
    ASSERT_TRUE(spinUntil([&] { return sent.size() == 1; }));
    EXPECT_EQ(view.error(), QStringLiteral("Slow down"));
    EXPECT_EQ(view.prompt(), QStringLiteral("Make it blue"));
    sendReply = ScriptedReply::json(200, "{}");
    view.send();
    EXPECT_FALSE(view.error()) << "a new send clears the old error at once";
    ASSERT_TRUE(spinUntil([&] { return sent.size() == 2; }));
}

TEST_F(ChatViewTest, QueuedThenBuildingGetsANewStageKeySoTheCounterRestarts)
{
    QJsonObject queued = job(QStringLiteral("j1"), QStringLiteral("queued"));
    queued.insert(QStringLiteral("createdAt"), QStringLiteral("2024-05-01T10:00:00Z"));
    jobs = QJsonArray{queued};
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    const QDateTime queuedSince = view.status().since;
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("building"), {}, QStringLiteral("compiling"))};
    refresh(view);
    EXPECT_EQ(view.stageSince().size(), 2);
    EXPECT_TRUE(view.stageSince().contains(QStringLiteral("j1|building|compiling")));
    EXPECT_GT(view.status().since, queuedSince);
}

TEST_F(ChatViewTest, StageTextChangeRestartsTheCounterAndAKnownKeyKeepsItsStart)
{
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("building"), {}, QStringLiteral("planning"))};
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    const QDateTime planning = view.status().since;
    refresh(view);
    EXPECT_EQ(view.status().since, planning) << "an existing entry is never overwritten";
    // The clock moves on before the stage changes, so a restarted counter cannot read as the old one.
    ASSERT_TRUE(spinUntil([&] { return QDateTime::currentDateTimeUtc() > planning; }));
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("building"), {}, QStringLiteral("signing"))};
    refresh(view);
    ASSERT_TRUE(view.stageSince().contains(QStringLiteral("j1|building|signing")));
    EXPECT_EQ(view.stageSince().value(QStringLiteral("j1|building|planning")), planning);
    EXPECT_EQ(view.stageSince().size(), 2);
    EXPECT_EQ(view.status().since, view.stageSince().value(QStringLiteral("j1|building|signing")));
    EXPECT_NE(view.status().since, planning) << "the counter starts again with the new stage";
}

TEST_F(ChatViewTest, QueuedJobCountsFromItsCreationWithOrWithoutFractionalSeconds)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    QJsonObject withFraction = job(QStringLiteral("a"), QStringLiteral("queued"));
    withFraction.insert(QStringLiteral("createdAt"), QStringLiteral("2024-05-01T10:00:00.123Z"));
    jobs = QJsonArray{withFraction};
    refresh(view);
    EXPECT_EQ(view.stageSince().value(QStringLiteral("a|queued|")),
              QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0, 123), QTimeZone::utc()));
    QJsonObject without = job(QStringLiteral("b"), QStringLiteral("queued"));
    without.insert(QStringLiteral("createdAt"), QStringLiteral("2024-05-01T10:00:00Z"));
    jobs = QJsonArray{without};
    refresh(view);
    EXPECT_EQ(view.stageSince().value(QStringLiteral("b|queued|")),
              QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0), QTimeZone::utc()));
}

TEST_F(ChatViewTest, QueuedJobWithAnUnreadableCreationTimeCountsFromTheFirstRefreshThatSawIt)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    QJsonObject odd = job(QStringLiteral("a"), QStringLiteral("queued"));
    odd.insert(QStringLiteral("createdAt"), QStringLiteral("yesterday at noon"));
    jobs = QJsonArray{odd};
    const QDateTime before = QDateTime::currentDateTimeUtc();
    refresh(view);
    const QDateTime since = view.stageSince().value(QStringLiteral("a|queued|"));
    EXPECT_GE(since, before);
    EXPECT_LE(since, QDateTime::currentDateTimeUtc());
    refresh(view);
    EXPECT_EQ(view.stageSince().value(QStringLiteral("a|queued|")), since);
}

TEST_F(ChatViewTest, NewJobOrNewStatusOfTheNewestJobDropsTheSavedDownloads)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"));
    ready.insert(QStringLiteral("dmgUrl"), url(QStringLiteral("files/Notes.dmg")));
    ready.insert(QStringLiteral("downloadUrl"), url(QStringLiteral("files/app.zip")));
    files.insert(QStringLiteral("/files/app.zip"),
                 ScriptedReply::archive(
                     ZipMaker().file(QStringLiteral("Notes.app/Contents/Info.plist"), "<plist/>").zip()));
    fileReply = ScriptedReply::html(200, "disk image bytes");
    API api;
    LocalBuilds local;
    ChatView view(api, local, project(), &desktop);
    const auto downloadBoth = [&] {
        view.trigger(view.downloadArea(*view.latest()).buttons.value(0));
        ASSERT_TRUE(spinUntil([&] { return view.savedDmg().has_value() && !view.downloading(); }));
        view.trigger(view.downloadArea(*view.latest()).buttons.value(1));
        ASSERT_TRUE(spinUntil([&] { return view.downloadedApp().has_value() && !view.downloading(); }));
    };
    jobs = QJsonArray{ready};
    refresh(view);
    downloadBoth();
    refresh(view);
    EXPECT_TRUE(view.savedDmg()) << "the same newest job keeps what was saved";
    EXPECT_TRUE(view.downloadedApp());
    EXPECT_EQ(view.downloadArea(*view.latest()).saved.size(), 2);

    jobs = QJsonArray{job(QStringLiteral("j2"), QStringLiteral("queued")), ready};
    refresh(view);
    EXPECT_FALSE(view.savedDmg());
    EXPECT_FALSE(view.downloadedApp());

    jobs = QJsonArray{ready};
    refresh(view);
    downloadBoth();
    ready.insert(QStringLiteral("status"), QStringLiteral("failed"));
    jobs = QJsonArray{ready};
    refresh(view);
    EXPECT_FALSE(view.savedDmg());
    EXPECT_FALSE(view.downloadedApp());
}

TEST_F(ChatViewTest, FixesSoFarCountsTheNewestFixJobsInARow)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    jobs = QJsonArray{job(QStringLiteral("c"), QStringLiteral("failed"), QStringLiteral("source-fix")),
                      job(QStringLiteral("b"), QStringLiteral("failed"), QStringLiteral("source-fix")),
                      job(QStringLiteral("a"), QStringLiteral("failed"), QStringLiteral("source"))};
    refresh(view);
    EXPECT_EQ(view.fixesSoFar(), 2);
    jobs = QJsonArray{job(QStringLiteral("b"), QStringLiteral("failed"), QStringLiteral("source")),
                      job(QStringLiteral("a"), QStringLiteral("failed"), QStringLiteral("source-fix"))};
    refresh(view);
    EXPECT_EQ(view.fixesSoFar(), 0);
    jobs = QJsonArray{};
    refresh(view);
    EXPECT_EQ(view.fixesSoFar(), 0);
}

TEST_F(ChatViewTest, ReadySourceJobIsHandedToTheLocalBuildsOnEveryRefreshWhichIgnoresRepeats)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"), QStringLiteral("source"));
    ready.insert(QStringLiteral("sourceUrl"), serveSource(QStringLiteral("source.zip")));
    jobs = QJsonArray{ready};
    API api;
    LocalBuilds local;
    QSignalSpy finished(&local, &LocalBuilds::finished);
    ChatView view(api, local, project());
    refresh(view);
    ASSERT_TRUE(local.state(QStringLiteral("j1")));
    refresh(view);
    ASSERT_TRUE(spinUntil([&] { return !local.isRunning(QStringLiteral("j1")); }, std::chrono::seconds(60)));
    refresh(view);
    refresh(view);
    EXPECT_EQ(local.state(QStringLiteral("j1"))->phase, LocalState::Phase::done);
    EXPECT_EQ(fetches(QStringLiteral("source.zip")), 1) << "the repeats were ignored";
    EXPECT_EQ(finished.size(), 1);

    // Every refresh hands the job over, though nothing about it changed: with its state forgotten,
    // each one gives it back (from the app remembered on disk, with no new build).
    int handedOver = 0;
    for (int i = 0; i < 3; ++i) {
        local.remove(QStringLiteral("j1"));
        refresh(view);
        if (local.state(QStringLiteral("j1")))
            ++handedOver;
    }
    EXPECT_EQ(handedOver, 3);
    EXPECT_EQ(local.state(QStringLiteral("j1"))->phase, LocalState::Phase::done);
    EXPECT_EQ(fetches(QStringLiteral("source.zip")), 1);
}

TEST_F(ChatViewTest, LocalAreaShowsTheBuiltAppWithItsButtonsAndTheFirstLaunchNote)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"), QStringLiteral("source"));
    ready.insert(QStringLiteral("sourceUrl"), serveSource(QStringLiteral("good.zip")));
    jobs = QJsonArray{ready};
    API api;
    LocalBuilds local;
    ChatView view(api, local, project(), &desktop);
    refresh(view);
    EXPECT_EQ(view.status().kind, StatusArea::Kind::local);
    ASSERT_TRUE(spinUntil([&] { return !local.isRunning(QStringLiteral("j1")); }, std::chrono::seconds(60)));
    const QString app = local.state(QStringLiteral("j1"))->app.value_or(QString());
    const LocalArea area = view.localStatus(*view.latest());
    EXPECT_FALSE(area.spinner);
    EXPECT_EQ(area.text, QStringLiteral("Compiled on this Mac. Saved to ") + QFileInfo(app).absolutePath());
    ASSERT_EQ(area.buttons.size(), 2);
    EXPECT_EQ(area.buttons[0].label, QStringLiteral("Open app"));
    EXPECT_EQ(area.buttons[1].label, QStringLiteral("Show in Finder"));
    EXPECT_EQ(area.note,
              QStringLiteral("Apps are ad-hoc signed, not notarized. If macOS blocks the first launch, use "
                             "System Settings \u2192 Privacy & Security \u2192 Open Anyway."));
    view.trigger(area.buttons[0]);
    view.trigger(area.buttons[1]);
    EXPECT_EQ(desktop.opened, QStringList(app));
    EXPECT_EQ(desktop.revealed, QStringList(app));
}

TEST_F(ChatViewTest, FailedLocalBuildShowsItsErrorAndLogAndTryAgainBuildsAfresh)
{
    QJsonObject ready = job(QStringLiteral("j4"), QStringLiteral("ready"), QStringLiteral("source-fix"));
    ready.insert(QStringLiteral("sourceUrl"), serveSource(QStringLiteral("broken.zip"), true));
    jobs = QJsonArray{ready, job(QStringLiteral("j3"), QStringLiteral("ready"), QStringLiteral("source-fix")),
                      job(QStringLiteral("j2"), QStringLiteral("ready"), QStringLiteral("source-fix")),
                      job(QStringLiteral("j1"), QStringLiteral("ready"), QStringLiteral("source"))};
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    ASSERT_EQ(view.fixesSoFar(), 3);
    ASSERT_TRUE(spinUntil([&] { return !local.isRunning(QStringLiteral("j4")); }, std::chrono::seconds(60)));
    QCoreApplication::processEvents();
    const LocalArea area = view.localStatus(*view.latest());
    EXPECT_EQ(area.text, QStringLiteral("Could not build on this Mac."));
    EXPECT_EQ(area.error, QStringLiteral("Still not compiling after 3 fix attempts."));
    EXPECT_TRUE(area.log.contains(QStringLiteral("error: no body"))) << area.log.toStdString();
    ASSERT_EQ(area.buttons.size(), 1);
    EXPECT_EQ(area.buttons[0].label, QStringLiteral("Try again"));
    EXPECT_EQ(sendRequests(), 0) << "no fourth fix request";

    view.trigger(area.buttons[0]);
    EXPECT_FALSE(local.state(QStringLiteral("j4")));
    refresh(view);
    ASSERT_TRUE(spinUntil([&] { return !local.isRunning(QStringLiteral("j4")); }, std::chrono::seconds(60)));
    EXPECT_EQ(fetches(QStringLiteral("broken.zip")), 2);
}

TEST_F(ChatViewTest, StatusAreaTextsFollowTheNewestJob)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    const auto statusFor = [&](QJsonArray list) {
        jobs = list;
        refresh(view);
        return view.status();
    };
    EXPECT_EQ(statusFor({job(QStringLiteral("a"), QStringLiteral("queued"))}).text,
              QStringLiteral("Queued \u2014 waiting for the build machine\u2026"));
    EXPECT_EQ(
        statusFor({job(QStringLiteral("a"), QStringLiteral("building"), QStringLiteral("source"))}).text,
        QStringLiteral("Writing the code in the cloud\u2026"));
    EXPECT_EQ(statusFor({job(QStringLiteral("c"), QStringLiteral("building"), QStringLiteral("source-fix")),
                         job(QStringLiteral("b"), QStringLiteral("ready"), QStringLiteral("source-fix")),
                         job(QStringLiteral("a"), QStringLiteral("ready"), QStringLiteral("source"))})
                  .text,
              QStringLiteral("Writing the code in the cloud\u2026 (fix 2 of 3)"));
    EXPECT_EQ(
        statusFor({job(QStringLiteral("a"), QStringLiteral("building"), {}, QStringLiteral("signing"))}).text,
        QStringLiteral("Building: signing\u2026"));
    EXPECT_EQ(statusFor({job(QStringLiteral("a"), QStringLiteral("building"), QStringLiteral("other"))}).text,
              QStringLiteral("Building: starting\u2026"));
    EXPECT_EQ(statusFor({job(QStringLiteral("a"), QStringLiteral("building"))}).kind,
              StatusArea::Kind::progress);
    EXPECT_EQ(statusFor({job(QStringLiteral("a"), QStringLiteral("ready"))}).kind,
              StatusArea::Kind::download);
    EXPECT_EQ(statusFor({job(QStringLiteral("a"), QStringLiteral("failed"))}).text,
              QStringLiteral("Build failed. Send another message to try again."));
}

TEST_F(ChatViewTest, DownloadAreaOffersTheDiskImageFirstAndTheArchiveInstead)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    Job withDmg;
    withDmg.id = QStringLiteral("a");
    withDmg.status = JobStatus::ready;
    withDmg.dmgUrl = QStringLiteral("https://x/a.dmg");
    DownloadArea area = view.downloadArea(withDmg);
    ASSERT_EQ(area.buttons.size(), 2);
    EXPECT_EQ(area.buttons[0].label, QStringLiteral("Download app (.dmg)"));
    EXPECT_TRUE(area.buttons[0].prominent);
    EXPECT_EQ(area.buttons[1].label, QStringLiteral(".zip instead"));
    Job withoutDmg = withDmg;
    withoutDmg.dmgUrl.reset();
    area = view.downloadArea(withoutDmg);
    ASSERT_EQ(area.buttons.size(), 1);
    EXPECT_EQ(area.buttons[0].label, QStringLiteral("Download app"));
    EXPECT_EQ(area.buttons[0].action, ChatAction::downloadZip);
}

TEST_F(ChatViewTest, DiskImageIsNamedFromTheAppNameOrProjectNameAndVersion)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    Job j;
    j.appName = QStringLiteral("Timer");
    j.version = QStringLiteral("1.2");
    EXPECT_EQ(view.dmgName(j), QStringLiteral("Timer 1.2"));
    j.appName.reset();
    EXPECT_EQ(view.dmgName(j), QStringLiteral("Notes 1.2"));
    j.version.reset();
    EXPECT_EQ(view.dmgName(j), QStringLiteral("Notes"));
}

TEST_F(ChatViewTest, DownloadingTheDiskImageShowsDownloadingThenWhereItWasSaved)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"));
    ready.insert(QStringLiteral("dmgUrl"),
                 QString(server.baseUrl().toString() + QStringLiteral("files/Notes.dmg")));
    ready.insert(QStringLiteral("appName"), QStringLiteral("Notes"));
    ready.insert(QStringLiteral("version"), QStringLiteral("1.0"));
    jobs = QJsonArray{ready};
    fileReply = ScriptedReply::html(200, "disk image bytes");
    fileReply.delayMs = 200;
    API api;
    LocalBuilds local;
    ChatView view(api, local, project(), &desktop);
    refresh(view);
    view.trigger(view.downloadArea(*view.latest()).buttons[0]);
    ASSERT_TRUE(view.downloading());
    const DownloadArea busy = view.downloadArea(*view.latest());
    EXPECT_EQ(busy.buttons[0].label, QStringLiteral("Downloading\u2026"));
    EXPECT_FALSE(busy.buttons[0].enabled);
    EXPECT_FALSE(busy.buttons[1].enabled);
    ASSERT_TRUE(spinUntil([&] { return !view.downloading(); }));
    ASSERT_TRUE(view.savedDmg());
    EXPECT_TRUE(view.savedDmg()->endsWith(QStringLiteral("/Notes 1.0.dmg")));
    const DownloadArea done = view.downloadArea(*view.latest());
    ASSERT_EQ(done.saved.size(), 1);
    EXPECT_EQ(done.saved[0].text, QStringLiteral("Saved to ") + QFileInfo(*view.savedDmg()).absolutePath());
    EXPECT_EQ(done.saved[0].buttons[0].label, QStringLiteral("Open .dmg"));
    view.trigger(done.saved[0].buttons[0]);
    view.trigger(done.saved[0].buttons[1]);
    EXPECT_EQ(desktop.opened, QStringList(*view.savedDmg()));
    EXPECT_EQ(desktop.revealed, QStringList(*view.savedDmg()));
}

TEST_F(ChatViewTest, FailedDownloadShowsItsErrorText)
{
    QJsonObject ready = job(QStringLiteral("j1"), QStringLiteral("ready"));
    ready.insert(QStringLiteral("downloadUrl"),
                 QString(server.baseUrl().toString() + QStringLiteral("files/app.zip")));
    jobs = QJsonArray{ready};
    fileReply = ScriptedReply::html(404, "<html>gone</html>");
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    refresh(view);
    view.trigger(view.downloadArea(*view.latest()).buttons[0]);
    ASSERT_TRUE(spinUntil([&] { return !view.downloading(); }));
    EXPECT_EQ(view.error(), QStringLiteral("Could not unpack the downloaded app"));
    EXPECT_FALSE(view.downloadedApp());
}

TEST_F(ChatViewTest, PollingRefreshesQuicklyWhileLoadingAndStopsWhenTheScreenIsGone)
{
    detailFails = true;
    API api;
    LocalBuilds local;
    auto view = std::make_unique<ChatView>(api, local, project());
    view->setPollIntervals({milliseconds(10), milliseconds(500), milliseconds(10)});
    const auto clock = pollOnHandClock(*view);
    for (int round = 2; round <= 3; ++round) {
        clock->advance();
        ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == round; }));
    }
    EXPECT_EQ(clock->waits, (QList<milliseconds>{milliseconds(10), milliseconds(10), milliseconds(10)}))
        << "an unloaded screen polls at the short interval";
    EXPECT_EQ(detailRequests(), 3);

    view.reset();
    clock->advance();
    drainPostedEvents();
    EXPECT_EQ(clock->waits.size(), 3) << "the loop ended at the end of its wait";
    // One more request through the same client: had the loop gone on, its request would be ahead.
    const auto probe = run(api.detail(QStringLiteral("p1")));
    EXPECT_FALSE(probe.ok());
    EXPECT_EQ(detailRequests(), 4) << "only the probe reached the service";
}

TEST_F(ChatViewTest, IdleScreenPollsAtTheIdleInterval)
{
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("ready"))};
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    view.setPollIntervals({milliseconds(10), milliseconds(400), milliseconds(10)});
    const auto clock = pollOnHandClock(view);
    ASSERT_TRUE(view.loaded());
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 2; }));
    EXPECT_EQ(clock->waits, (QList<milliseconds>{milliseconds(400), milliseconds(400)}))
        << "a ready project waits the idle interval";
    EXPECT_EQ(detailRequests(), 2) << "one refresh before each wait";
}

TEST_F(ChatViewTest, LocalAreaBeforeAnyLocalStateSaysTheCodeIsDownloading)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    Job source;
    source.id = QStringLiteral("none-yet");
    source.status = JobStatus::ready;
    source.mode = JobMode::source;
    const LocalArea waiting = view.localStatus(source);
    EXPECT_TRUE(waiting.spinner);
    EXPECT_EQ(waiting.text, QStringLiteral("Downloading the code\u2026"));
}

TEST_F(ChatViewTest, StoppedPollingAsksNothingMoreAndStartingAgainRunsOneLoop)
{
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("ready"))};
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    const auto clock = pollOnHandClock(view);
    ASSERT_EQ(clock->waits.size(), 1);
    view.stopPolling();
    EXPECT_FALSE(view.polling());
    clock->advance();
    // The loop ends at the end of its wait, without a refresh; a new start then refreshes once.
    view.startPolling();
    view.stopPolling();
    view.startPolling();
    ASSERT_TRUE(view.polling());
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 2 && detailRequests() == 3; }));
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 3; }));
    EXPECT_EQ(detailRequests(), 4) << "one loop: one refresh per wait";
    EXPECT_EQ(clock->waits.size(), 3);
}

TEST_F(ChatViewTest, CanSendOnlyWithTextAndWhileNoJobRuns)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    EXPECT_FALSE(view.canSend()) << "blank";
    view.setPrompt(QStringLiteral(" \n "));
    EXPECT_FALSE(view.canSend()) << "white space only";
    view.setPrompt(QStringLiteral("Make it blue"));
    EXPECT_TRUE(view.canSend()) << "no job yet";
    for (const char* status : {"queued", "building"}) {
        jobs = QJsonArray{job(QStringLiteral("j1"), QString::fromLatin1(status))};
        refresh(view);
        EXPECT_FALSE(view.canSend()) << status;
    }
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("failed"))};
    refresh(view);
    EXPECT_TRUE(view.canSend());
}

TEST_F(ChatViewTest, ScreenPollsEveryTwoAndAHalfSecondsUntilLoadedAndWhileTheNewestJobRuns)
{
    detailFails = true;
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    const auto clock = pollOnHandClock(view);
    ASSERT_EQ(clock->waits.size(), 1);
    EXPECT_FALSE(view.loaded());

    detailFails = false;
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("queued"))};
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 2; }));
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("building"), {}, QStringLiteral("Compiling"))};
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 3; }));
    EXPECT_EQ(clock->waits,
              (QList<milliseconds>{milliseconds(2500), milliseconds(2500), milliseconds(2500)}));
    EXPECT_EQ(detailRequests(), 3) << "one refresh before each wait";
}

TEST_F(ChatViewTest, IdleScreenPollsEveryOneAndAHalfSeconds)
{
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("ready"))};
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    const auto clock = pollOnHandClock(view);
    ASSERT_EQ(clock->waits.size(), 1);
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 2; }));
    EXPECT_EQ(clock->waits, (QList<milliseconds>{milliseconds(1500), milliseconds(1500)}));
    EXPECT_EQ(detailRequests(), 2);
}

TEST_F(ChatViewTest, JobThatStartsDuringTheIdleWaitAddsTwoAndAHalfSecondsBeforeTheNextRefresh)
{
    jobs = QJsonArray{job(QStringLiteral("j1"), QStringLiteral("ready"))};
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    const auto clock = pollOnHandClock(view);
    ASSERT_EQ(clock->waits.size(), 1);
    // A message sent meanwhile started a job, and the send's own refresh saw it.
    jobs = QJsonArray{job(QStringLiteral("j2"), QStringLiteral("queued")),
                      job(QStringLiteral("j1"), QStringLiteral("ready"))};
    refresh(view);
    const int requests = detailRequests();
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 2; }));
    EXPECT_EQ(detailRequests(), requests) << "no refresh between the idle wait and the added one";
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 3; }));
    EXPECT_EQ(clock->waits,
              (QList<milliseconds>{milliseconds(1500), milliseconds(2500), milliseconds(2500)}));
    EXPECT_EQ(detailRequests(), requests + 1);
}
