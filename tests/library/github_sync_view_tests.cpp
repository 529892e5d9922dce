#include "library/github_sync_view.h"
#include "library_fixture.h"
#include "qt_printers.h"
#include "service/api.h"
#include "task_runner.h"

#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// A service whose GitHub panel the test sets, and which links, unlinks and pushes as the real one
// does: linking makes the panel linked, pushing makes it up to date.
class GithubSyncViewTest : public ScriptedServiceTest
{
protected:
    static QJsonObject readyPanel(bool linked = false) { return ScriptedGithub::readyPanel(linked); }

    void load(GithubSyncView& view) { ASSERT_TRUE(run(view.load()).ok()); }

    API api;
    std::optional<QJsonObject>& panel = github.panel;
    ScriptedReply& reposReply = github.reposReply;
    ScriptedReply& linkReply = github.linkReply;
    ScriptedReply& pushReply = github.pushReply;
};

} // namespace

TEST_F(GithubSyncViewTest, PanelThatCannotBeLoadedIsNotAvailable)
{
    panel.reset();
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    EXPECT_EQ(view.state(), GithubSyncView::State::unavailable);
    EXPECT_EQ(GithubSyncView::unavailableText, QStringLiteral("GitHub sync is not available right now."));
    EXPECT_EQ(requestsTo(QStringLiteral("/api/github/repos")), 0);
}

TEST_F(GithubSyncViewTest, UnknownStateIsNotAvailable)
{
    panel = QJsonObject{{QStringLiteral("state"), QStringLiteral("suspended")}};
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    EXPECT_EQ(view.state(), GithubSyncView::State::unavailable);
}

TEST_F(GithubSyncViewTest, UnconnectedAccountAsksToConnectOnTheServicesLibraryPage)
{
    panel = QJsonObject{{QStringLiteral("state"), QStringLiteral("connect")}};
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    EXPECT_EQ(view.state(), GithubSyncView::State::connect);
    EXPECT_EQ(view.connectUrl(), base().resolved(QUrl(QStringLiteral("library/p1"))));
    EXPECT_EQ(requestsTo(QStringLiteral("/api/github/repos")), 0);
}

TEST_F(GithubSyncViewTest, ConnectPageIsAppendedToABaseWithAPath)
{
    home.setEnv("BRIGHTLOOM_URL", "https://example.test/service");
    API other;
    GithubSyncView view(other, QStringLiteral("p1"));
    EXPECT_EQ(view.connectUrl(), QUrl(QStringLiteral("https://example.test/service/library/p1")));
}

TEST_F(GithubSyncViewTest, ConnectedAccountWithoutLinkListsRepositoriesAndPicksTheFirst)
{
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    EXPECT_EQ(view.state(), GithubSyncView::State::choose);
    ASSERT_EQ(view.repos().size(), 2);
    EXPECT_EQ(view.choice(), QStringLiteral("demo/brightloom-apps"));
    EXPECT_EQ(view.chooseText(), QStringLiteral("Connected as demo. Pick the repository to push to."));
}

TEST_F(GithubSyncViewTest, ChoiceAlreadyMadeIsKept)
{
    GithubSyncView view(api, QStringLiteral("p1"));
    view.setChoice(QStringLiteral("demo/website"));
    load(view);
    EXPECT_EQ(view.choice(), QStringLiteral("demo/website"));
}

TEST_F(GithubSyncViewTest, AccountWithoutALoginIsYourAccount)
{
    panel->remove(QStringLiteral("login"));
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    EXPECT_EQ(view.chooseText(),
              QStringLiteral("Connected as your account. Pick the repository to push to."));
}

TEST_F(GithubSyncViewTest, FailedRepositoryListShowsItsError)
{
    reposReply = ScriptedReply::json(409, R"({"message":"Connect GitHub first."})");
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    EXPECT_EQ(view.error(), QStringLiteral("Connect GitHub first."));
    EXPECT_TRUE(view.choice().isEmpty());
}

TEST_F(GithubSyncViewTest, LinkedProjectNeverAsksForTheRepositoryList)
{
    panel = readyPanel(true);
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    ASSERT_TRUE(run(view.push()).ok());
    load(view);
    EXPECT_EQ(view.state(), GithubSyncView::State::linked);
    EXPECT_EQ(requestsTo(QStringLiteral("/api/github/repos")), 0);
    EXPECT_TRUE(view.repos().isEmpty());
}

TEST_F(GithubSyncViewTest, AfterLinkingThePanelShowsTheLinkWithoutReopening)
{
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    view.setChoice(QStringLiteral("demo/website"));
    ASSERT_TRUE(run(view.link()).ok());
    EXPECT_EQ(view.state(), GithubSyncView::State::linked);
    EXPECT_EQ(view.linkedText(), QStringLiteral("Syncs to demo/website"));
    EXPECT_FALSE(view.busy());
    const auto sent = server.requestsTo(QStringLiteral("/api/projects/p1/github"));
    ASSERT_EQ(sent.size(), 3); // load, link, load
    EXPECT_EQ(QJsonDocument::fromJson(sent[1].body).object().value(QStringLiteral("repo")).toString(),
              QStringLiteral("demo/website"));
}

TEST_F(GithubSyncViewTest, FailedLinkShowsItsErrorAndKeepsTheChoice)
{
    linkReply = ScriptedReply::json(404, R"({"message":"Repository not found"})");
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    ASSERT_TRUE(run(view.link()).ok());
    EXPECT_EQ(view.error(), QStringLiteral("Repository not found"));
    EXPECT_EQ(view.state(), GithubSyncView::State::choose);
    EXPECT_FALSE(view.busy());
}

TEST_F(GithubSyncViewTest, StopSyncingReturnsToChoosing)
{
    panel = readyPanel(true);
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    ASSERT_TRUE(run(view.unlink()).ok());
    EXPECT_EQ(view.state(), GithubSyncView::State::choose);
    EXPECT_EQ(server.requestsTo(QStringLiteral("/api/projects/p1/github"))[1].method, QByteArray("DELETE"));
    EXPECT_EQ(view.repos().size(), 2);
}

TEST_F(GithubSyncViewTest, PushReportsTheVersionAndTheCommitAndRefreshesThePanel)
{
    panel = readyPanel(true);
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    EXPECT_EQ(view.pushLabel(), QStringLiteral("Push version 1.1"));
    ASSERT_TRUE(run(view.push()).ok());
    EXPECT_EQ(view.message(), QStringLiteral("Pushed version 1.1 to GitHub."));
    EXPECT_EQ(view.commitUrl(), QStringLiteral("https://github.com/demo/website/commit/abc"));
    EXPECT_EQ(view.linkedText(), QStringLiteral("Syncs to demo/website. Last pushed: version 1.1"));
    EXPECT_EQ(view.pushLabel(), QStringLiteral("Push again"));
    EXPECT_FALSE(view.busy());
}

TEST_F(GithubSyncViewTest, PushReportedUnchangedSaysUpToDateWithoutAVersion)
{
    panel = readyPanel(true);
    pushReply = ScriptedReply::json(200, R"({"changed":false,"version":"1.1"})");
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    ASSERT_TRUE(run(view.push()).ok());
    EXPECT_EQ(view.message(), QStringLiteral("Already up to date. The repository matches this build."));
    EXPECT_FALSE(view.message()->contains(QStringLiteral("1.1")));
    EXPECT_FALSE(view.commitUrl().has_value());
}

TEST_F(GithubSyncViewTest, PushResultWithoutChangedCountsAsAChange)
{
    panel = readyPanel(true);
    pushReply = ScriptedReply::json(200, R"({"version":"1.1"})");
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    ASSERT_TRUE(run(view.push()).ok());
    EXPECT_EQ(view.message(), QStringLiteral("Pushed version 1.1 to GitHub."));
}

TEST_F(GithubSyncViewTest, PushResultWithoutAVersionStillReportsThePush)
{
    EXPECT_EQ(GithubSyncView::pushMessage(GithubPushResult{true, std::nullopt, std::nullopt}),
              QStringLiteral("Pushed to GitHub."));
}

TEST_F(GithubSyncViewTest, NewerPushWithoutACommitForgetsTheOldCommit)
{
    panel = readyPanel(true);
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    ASSERT_TRUE(run(view.push()).ok());
    pushReply = ScriptedReply::json(200, R"({"changed":false})");
    ASSERT_TRUE(run(view.push()).ok());
    EXPECT_FALSE(view.commitUrl().has_value());
}

TEST_F(GithubSyncViewTest, FailedPushShowsItsErrorAndKeepsTheLastMessage)
{
    panel = readyPanel(true);
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    ASSERT_TRUE(run(view.push()).ok());
    pushReply = ScriptedReply::json(409, R"({"message":"Link a repository first."})");
    ASSERT_TRUE(run(view.push()).ok());
    EXPECT_EQ(view.error(), QStringLiteral("Link a repository first."));
    EXPECT_EQ(view.message(), QStringLiteral("Pushed version 1.1 to GitHub."));
    EXPECT_FALSE(view.busy());
}

TEST_F(GithubSyncViewTest, NewestBuildWithoutSourceOffersNoPush)
{
    panel = readyPanel(true);
    panel->remove(QStringLiteral("pushVersion"));
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    EXPECT_FALSE(view.pushLabel().has_value());
}

TEST_F(GithubSyncViewTest, EveryActionIsRefusedWhileOneRuns)
{
    panel = readyPanel(true);
    pushReply.delayMs = 200;
    GithubSyncView view(api, QStringLiteral("p1"));
    load(view);
    auto pushing = view.push();
    EXPECT_TRUE(view.busy());
    ASSERT_TRUE(run(view.unlink()).ok());
    ASSERT_TRUE(run(view.link()).ok());
    ASSERT_TRUE(run(view.push()).ok());
    ASSERT_TRUE(spinUntil([&] { return !view.busy(); }));
    EXPECT_EQ(requestsTo(QStringLiteral("/api/projects/p1/github/push")), 1);
    const auto calls = server.requestsTo(QStringLiteral("/api/projects/p1/github"));
    for (const RecordedRequest& call : calls)
        EXPECT_EQ(call.method, QByteArray("GET"));
}
