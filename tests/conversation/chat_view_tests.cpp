// The conversation's screen model: what a refresh reads, what a send does, and the stage counter.

#include "chat_view_fixture.h"

#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using std::chrono::milliseconds;

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
