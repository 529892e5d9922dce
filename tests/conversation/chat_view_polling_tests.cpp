// The conversation's polling: its intervals, on a clock the test moves, and its lifetime.

#include "chat_view_fixture.h"

#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using std::chrono::milliseconds;

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
