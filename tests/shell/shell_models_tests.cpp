#include "hand_clock.h"
#include "recording_server.h"
#include "service/api.h"
#include "shell/auth_view.h"
#include "shell/main_view.h"
#include "shell/root_view.h"
#include "shell/worker_status_banner.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace std::chrono_literals;

namespace {

const QByteArray twoProjects =
    R"({"projects":[{"id":"p1","name":"Notes"},{"id":"p2","name":"Timer","unsafe":true}]})";

// A client of a recording server, in a home of its own.
struct ShellTest : ::testing::Test
{
    TempHome home;
    std::unique_ptr<RecordingServer> server = std::make_unique<RecordingServer>();
    std::unique_ptr<API> api;

    void SetUp() override
    {
        home.setEnv("BRIGHTLOOM_URL", server->baseUrl().toString().toUtf8());
        server->on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, twoProjects));
        api = std::make_unique<API>();
    }

    // Signs the client in with a password the service accepts.
    bool signIn()
    {
        server->on(QStringLiteral("POST /api/auth/sign-in/email"),
                   ScriptedReply::json(200, R"({"user":{}})"));
        return run(api->signIn(QStringLiteral("a@b.c"), QStringLiteral("pw"))).ok();
    }

    QJsonObject bodyOf(const QString& path) const
    {
        const auto requests = server->requestsTo(path);
        return requests.isEmpty() ? QJsonObject() : QJsonDocument::fromJson(requests.back().body).object();
    }
};

} // namespace

// The root screen

TEST_F(ShellTest, RootShowsTheSpinnerWhileTheSessionIsCheckedThenTheSignInScreen)
{
    server->on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
    RootView root(*api);
    EXPECT_EQ(root.screen(), RootView::Screen::checking);
    root.start();
    ASSERT_TRUE(spinUntil([&] { return root.screen() != RootView::Screen::checking; }));
    EXPECT_EQ(root.screen(), RootView::Screen::signIn);
}

TEST_F(ShellTest, RootShowsTheMainScreenWhenTheSessionHolds)
{
    server->on(QStringLiteral("GET /api/auth/get-session"),
               ScriptedReply::json(200, R"({"user":{"id":"u"}})"));
    RootView root(*api);
    root.start();
    ASSERT_TRUE(spinUntil([&] { return root.screen() == RootView::Screen::main; }));
    EXPECT_EQ(api->projects().size(), 2);
}

TEST_F(ShellTest, RootRestoresTheSessionOnlyOnce)
{
    server->on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
    RootView root(*api);
    root.start();
    root.start();
    ASSERT_TRUE(spinUntil([&] { return !api->checking(); }));
    RootView second(*api);
    EXPECT_EQ(second.screen(), RootView::Screen::signIn);
    EXPECT_EQ(server->requestsTo(QStringLiteral("/api/auth/get-session")).size(), 1);
}

TEST_F(ShellTest, SigningOutReturnsTheRootToTheSignInScreen)
{
    server->on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(200, "{}"));
    server->on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
    RootView root(*api);
    root.start();
    ASSERT_TRUE(spinUntil([&] { return root.screen() == RootView::Screen::signIn; }));
    ASSERT_TRUE(signIn());
    EXPECT_EQ(root.screen(), RootView::Screen::main);
    ASSERT_TRUE(run(api->signOut()).ok());
    EXPECT_EQ(root.screen(), RootView::Screen::signIn);
}

// The main screen

TEST_F(ShellTest, MainScreenSignsOutAndTheSessionEnds)
{
    server->on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(200, "{}"));
    ASSERT_TRUE(signIn());
    MainView main(*api);
    ASSERT_FALSE(main.projects().isEmpty());
    main.signOut();
    ASSERT_TRUE(spinUntil([&] { return !api->signedIn(); }));
    EXPECT_EQ(server->requestsTo(QStringLiteral("/api/auth/sign-out")).size(), 1);
    EXPECT_TRUE(main.projects().isEmpty());
}

TEST_F(ShellTest, MainScreenSignsOutLocallyWhenTheServiceFails)
{
    server->on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(500, R"({"message":"down"})"));
    ASSERT_TRUE(signIn());
    MainView main(*api);
    main.signOut();
    ASSERT_TRUE(spinUntil([&] { return !api->signedIn(); }));
}

TEST(MainViewDetailTest, AbsentOrNewSelectionShowsTheNewProjectScreen)
{
    const QList<Project> projects{{QStringLiteral("p1"), QStringLiteral("Notes"), std::nullopt}};
    EXPECT_EQ(MainView::detailFor(std::nullopt, projects).screen, MainView::Screen::newProject);
    EXPECT_EQ(MainView::detailFor(QStringLiteral("new"), projects).screen, MainView::Screen::newProject);
    EXPECT_EQ(MainView::detailFor(QStringLiteral("library"), projects).screen, MainView::Screen::library);
}

TEST(MainViewDetailTest, ProjectSelectionShowsThatProjectsConversation)
{
    const QList<Project> projects{{QStringLiteral("p1"), QStringLiteral("Notes"), std::nullopt},
                                  {QStringLiteral("p2"), QStringLiteral("Timer"), true}};
    const MainView::Detail detail = MainView::detailFor(QStringLiteral("p2"), projects);
    EXPECT_EQ(detail.screen, MainView::Screen::conversation);
    EXPECT_EQ(detail.project, projects[1]);
}

TEST(MainViewDetailTest, SelectionOfAProjectNoLongerInTheListShowsTheNewProjectScreen)
{
    const QList<Project> projects{{QStringLiteral("p1"), QStringLiteral("Notes"), std::nullopt}};
    EXPECT_EQ(MainView::detailFor(QStringLiteral("gone"), projects),
              (MainView::Detail{MainView::Screen::newProject, {}}));
}

TEST_F(ShellTest, NewLaunchAlwaysOpensOnTheNewProjectScreen)
{
    MainView first(*api);
    first.select(QStringLiteral("library"));
    MainView next(*api); // the selection is kept in memory only
    EXPECT_FALSE(next.selection().has_value());
    EXPECT_EQ(next.detail().screen, MainView::Screen::newProject);
}

TEST_F(ShellTest, ProjectRemovedFromTheListTakesTheDetailBackToTheNewProjectScreen)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    MainView main(*api);
    main.select(QStringLiteral("p2"));
    EXPECT_EQ(main.detail().screen, MainView::Screen::conversation);
    QSignalSpy changed(&main, &MainView::detailChanged);
    server->on(QStringLiteral("GET /api/projects"),
               ScriptedReply::json(200, R"({"projects":[{"id":"p1","name":"Notes"}]})"));
    ASSERT_TRUE(run(api->loadProjects()).ok());
    EXPECT_EQ(main.detail().screen, MainView::Screen::newProject);
    EXPECT_EQ(changed.count(), 1);
}

TEST_F(ShellTest, ReloadedListWithTheSelectedProjectKeepsItsConversation)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    MainView main(*api);
    main.select(QStringLiteral("p1"));
    QSignalSpy changed(&main, &MainView::detailChanged);
    server->on(
        QStringLiteral("GET /api/projects"),
        ScriptedReply::json(200, R"({"projects":[{"id":"p3","name":"New"},{"id":"p1","name":"Notes"}]})"));
    ASSERT_TRUE(run(api->loadProjects()).ok());
    EXPECT_EQ(main.detail().project->id, QStringLiteral("p1"));
    EXPECT_EQ(changed.count(), 0);
}

// The sign-in screen

TEST_F(ShellTest, CreatingAnAccountWithoutANameSendsTheEmailAsTheName)
{
    server->on(QStringLiteral("POST /api/auth/sign-up/email"), ScriptedReply::json(200, R"({"user":{}})"));
    AuthView auth(*api);
    auth.toggle();
    auth.setEmail(QStringLiteral("ada@example.com"));
    auth.setPassword(QStringLiteral("secret"));
    QSignalSpy finished(&auth, &AuthView::finished);
    auth.submit();
    ASSERT_TRUE(spinUntil([&] { return finished.count() == 1; }));
    const QJsonObject body = bodyOf(QStringLiteral("/api/auth/sign-up/email"));
    EXPECT_EQ(body.value(QStringLiteral("name")).toString(), QStringLiteral("ada@example.com"));
    EXPECT_EQ(body.value(QStringLiteral("email")).toString(), QStringLiteral("ada@example.com"));
    EXPECT_EQ(body.value(QStringLiteral("password")).toString(), QStringLiteral("secret"));
    EXPECT_TRUE(api->signedIn());
}

TEST_F(ShellTest, NameAndFieldsAreSentAsTypedWithoutTrimming)
{
    server->on(QStringLiteral("POST /api/auth/sign-up/email"), ScriptedReply::json(200, R"({"user":{}})"));
    AuthView auth(*api);
    auth.toggle();
    auth.setName(QStringLiteral(" Ada "));
    auth.setEmail(QStringLiteral(" ada@example.com"));
    auth.setPassword(QStringLiteral("pw "));
    QSignalSpy finished(&auth, &AuthView::finished);
    auth.submit();
    ASSERT_TRUE(spinUntil([&] { return finished.count() == 1; }));
    const QJsonObject body = bodyOf(QStringLiteral("/api/auth/sign-up/email"));
    EXPECT_EQ(body.value(QStringLiteral("name")).toString(), QStringLiteral(" Ada "));
    EXPECT_EQ(body.value(QStringLiteral("email")).toString(), QStringLiteral(" ada@example.com"));
    EXPECT_EQ(body.value(QStringLiteral("password")).toString(), QStringLiteral("pw "));
}

TEST_F(ShellTest, PrimaryButtonActsOnlyWithAnEmailAndAPasswordAndNeverNeedsAName)
{
    AuthView auth(*api);
    auth.toggle();
    EXPECT_FALSE(auth.canSubmit());
    auth.setEmail(QStringLiteral("a"));
    EXPECT_FALSE(auth.canSubmit());
    auth.setPassword(QStringLiteral("b"));
    EXPECT_TRUE(auth.canSubmit());
    auth.setEmail(QString());
    EXPECT_FALSE(auth.canSubmit());
    auth.submit(); // refused: nothing is sent
    EXPECT_FALSE(auth.busy());
    EXPECT_TRUE(server->requestsTo(QStringLiteral("/api/auth/sign-up/email")).isEmpty());
}

TEST_F(ShellTest, WrongPasswordShowsTheServicesOwnMessageAndKeepsTheFields)
{
    server->on(QStringLiteral("POST /api/auth/sign-in/email"),
               ScriptedReply::json(401, R"({"message":"Invalid email or password"})"));
    AuthView auth(*api);
    auth.setEmail(QStringLiteral("ada@example.com"));
    auth.setPassword(QStringLiteral("wrong"));
    QSignalSpy finished(&auth, &AuthView::finished);
    auth.submit();
    EXPECT_TRUE(auth.busy());
    EXPECT_FALSE(auth.canSubmit());
    ASSERT_TRUE(spinUntil([&] { return finished.count() == 1; }));
    EXPECT_EQ(auth.error(), QStringLiteral("Invalid email or password"));
    EXPECT_EQ(auth.email(), QStringLiteral("ada@example.com"));
    EXPECT_EQ(auth.password(), QStringLiteral("wrong"));
    EXPECT_FALSE(auth.busy());
    EXPECT_FALSE(api->signedIn());
}

TEST_F(ShellTest, SwitchingModesRemovesTheErrorAndKeepsTheFields)
{
    server->on(QStringLiteral("POST /api/auth/sign-in/email"),
               ScriptedReply::json(401, R"({"message":"No"})"));
    AuthView auth(*api);
    auth.setEmail(QStringLiteral("e"));
    auth.setPassword(QStringLiteral("p"));
    QSignalSpy finished(&auth, &AuthView::finished);
    auth.submit();
    ASSERT_TRUE(spinUntil([&] { return finished.count() == 1; }));
    ASSERT_TRUE(auth.error().has_value());
    auth.toggle();
    EXPECT_TRUE(auth.creating());
    EXPECT_FALSE(auth.error().has_value());
    EXPECT_EQ(auth.email(), QStringLiteral("e"));
    EXPECT_EQ(auth.primaryLabel(), QStringLiteral("Create account"));
    EXPECT_EQ(auth.toggleLabel(), QStringLiteral("I already have an account"));
    auth.toggle();
    EXPECT_EQ(auth.primaryLabel(), QStringLiteral("Sign in"));
    EXPECT_EQ(auth.toggleLabel(), QStringLiteral("Create an account"));
}

TEST_F(ShellTest, ContinueWithGoogleWithoutASignInPageSaysTheWindowCouldNotOpen)
{
    AuthView auth(*api);
    QSignalSpy finished(&auth, &AuthView::finished);
    auth.continueWithGoogle();
    ASSERT_TRUE(spinUntil([&] { return finished.count() == 1; }));
    EXPECT_EQ(auth.error(), QStringLiteral("Could not open the sign-in window."));
    EXPECT_FALSE(auth.busy());
}

// The worker banner

namespace {

struct BannerTest : ShellTest
{
    void status(const QByteArray& json)
    {
        server->on(QStringLiteral("GET /api/worker-status"), ScriptedReply::json(200, json));
    }
};

// Polls once and answers what the banner then says.
bool pollOnce(WorkerStatusBanner& banner)
{
    QSignalSpy polled(&banner, &WorkerStatusBanner::polled);
    banner.start();
    const bool ok = spinUntil([&] { return polled.count() >= 1; });
    banner.stop();
    return ok;
}

} // namespace

TEST_F(BannerTest, WorkersOfflineButNotDelayedShowNoBanner)
{
    status(R"({"online":false,"delayed":false,"reason":"offline"})");
    WorkerStatusBanner banner(*api);
    ASSERT_TRUE(pollOnce(banner));
    EXPECT_TRUE(banner.status().has_value());
    EXPECT_FALSE(banner.shown());
}

TEST_F(BannerTest, ReasonOfflinePicksTheOfflineText)
{
    status(R"({"online":false,"delayed":true,"reason":"offline"})");
    WorkerStatusBanner banner(*api);
    ASSERT_TRUE(pollOnce(banner));
    EXPECT_TRUE(banner.shown());
    EXPECT_EQ(banner.detailText(),
              QStringLiteral("Our build machine is offline. Your build will stay queued and "
                             "start automatically when it is back."));
    EXPECT_EQ(WorkerStatusBanner::boldText, QStringLiteral("Builds are delayed right now."));
}

TEST_F(BannerTest, AnyOtherReasonAnEmptyOneOrNonePicksTheQueueText)
{
    const QString queue =
        QStringLiteral("Lots of builds are ahead of yours. Yours will start as soon as there is room.");
    for (const QByteArray& json : {QByteArray(R"({"online":true,"delayed":true,"reason":"busy"})"),
                                   QByteArray(R"({"online":true,"delayed":true,"reason":""})"),
                                   QByteArray(R"({"online":true,"delayed":true})"),
                                   QByteArray(R"({"online":true,"delayed":true,"reason":"Offline"})")}) {
        status(json);
        WorkerStatusBanner banner(*api);
        ASSERT_TRUE(pollOnce(banner));
        EXPECT_TRUE(banner.shown()) << json.constData();
        EXPECT_EQ(banner.detailText(), queue) << json.constData();
    }
}

TEST_F(BannerTest, BannerDisappearsAtTheNextPollWhenTheServiceCannotBeReached)
{
    status(R"({"online":true,"delayed":true})");
    WorkerStatusBanner banner(*api);
    const auto clock = std::make_shared<HandClock>();
    banner.setWait(waitsOn(clock));
    banner.start();
    ASSERT_TRUE(spinUntil([&] { return banner.shown() && clock->waiting(); }));
    server.reset(); // the service goes away
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return !banner.shown(); }));
    EXPECT_FALSE(banner.status().has_value());
    banner.stop();
}

TEST_F(BannerTest, BannerPollsAgainEveryIntervalWhileShownAndNotAfterStopping)
{
    status(R"({"online":true,"delayed":false})");
    WorkerStatusBanner banner(*api);
    const auto clock = std::make_shared<HandClock>();
    banner.setWait(waitsOn(clock));
    QSignalSpy polled(&banner, &WorkerStatusBanner::polled);
    banner.start();
    banner.start(); // one loop only
    for (int round = 1; round <= 3; ++round) {
        ASSERT_TRUE(spinUntil([&] { return polled.count() == round && clock->waiting(); }));
        if (round < 3)
            clock->advance();
    }
    EXPECT_EQ(clock->waits, (QList<std::chrono::milliseconds>{30'000ms, 30'000ms, 30'000ms}));
    EXPECT_EQ(server->requestsTo(QStringLiteral("/api/worker-status")).size(), 3);
    banner.stop();
    clock->advance();
    drainPostedEvents();
    EXPECT_EQ(polled.count(), 3) << "a stopped banner asks no more";
    EXPECT_EQ(clock->waits.size(), 3);
}

TEST_F(BannerTest, BannerHidesAtTheNextPollWhenOnlyDelayedTurnsFalse)
{
    status(R"({"online":true,"delayed":true})");
    WorkerStatusBanner banner(*api);
    const auto clock = std::make_shared<HandClock>();
    banner.setWait(waitsOn(clock));
    QSignalSpy changed(&banner, &WorkerStatusBanner::statusChanged);
    banner.start();
    ASSERT_TRUE(spinUntil([&] { return banner.shown() && clock->waiting(); }));
    status(R"({"online":true,"delayed":false})"); // same machine, same reason: only delayed moves
    clock->advance();
    ASSERT_TRUE(spinUntil([&] { return clock->waits.size() == 2 && clock->waiting(); }));
    EXPECT_FALSE(banner.shown());
    EXPECT_EQ(changed.count(), 2) << "shown, then hidden";
    banner.stop();
}

TEST(WorkerStatusDefaultTest, BannerPollsEveryThirtySecondsByDefaultAndOnlyOnceStarted)
{
    TempHome home;
    API api;
    WorkerStatusBanner banner(api);
    EXPECT_EQ(banner.interval(), std::chrono::milliseconds(30'000));
    EXPECT_FALSE(banner.polling());
    banner.start();
    EXPECT_TRUE(banner.polling());
    banner.stop();
    EXPECT_FALSE(banner.polling());
}
