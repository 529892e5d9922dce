// The conversation's status, local build and download areas as the newest job moves on.

#include "chat_view_fixture.h"

#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using std::chrono::milliseconds;

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
    EXPECT_EQ(desktop.openedFiles(), QStringList(app));
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
    fileReply.held = true;
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
    ASSERT_TRUE(spinUntil([&] { return fetches(QStringLiteral("Notes.dmg")) == 1; }));
    EXPECT_TRUE(view.downloading()) << "the file has not been answered yet";
    EXPECT_FALSE(view.savedDmg());
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return !view.downloading(); }));
    ASSERT_TRUE(view.savedDmg());
    EXPECT_TRUE(view.savedDmg()->endsWith(QStringLiteral("/Notes 1.0.dmg")));
    const DownloadArea done = view.downloadArea(*view.latest());
    ASSERT_EQ(done.saved.size(), 1);
    EXPECT_EQ(done.saved[0].text, QStringLiteral("Saved to ") + QFileInfo(*view.savedDmg()).absolutePath());
    EXPECT_EQ(done.saved[0].buttons[0].label, QStringLiteral("Open .dmg"));
    view.trigger(done.saved[0].buttons[0]);
    view.trigger(done.saved[0].buttons[1]);
    EXPECT_EQ(desktop.openedFiles(), QStringList(*view.savedDmg()));
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

TEST_F(ChatViewTest, IconAddressOfAJobIsResolvedAgainstTheServiceAndNoneWithoutAnIcon)
{
    API api;
    LocalBuilds local;
    ChatView view(api, local, project());
    Job job;
    EXPECT_FALSE(view.iconAddress(job).has_value());
    job.iconUrl = QStringLiteral("/icons/notes.png");
    EXPECT_EQ(view.iconAddress(job), server.baseUrl().resolved(QUrl(QStringLiteral("/icons/notes.png"))));
    job.iconUrl = QStringLiteral("http://[bad");
    EXPECT_FALSE(view.iconAddress(job).has_value());
}
