#include "accessible_walk.h"
#include "library/github_sync_view.h"
#include "library_fixture.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "service/api.h"
#include "task_runner.h"
#include "ui/library/github_sync_view_widget.h"
#include "ui/shared/error_label.h"
#include "ui/shared/link_button.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

class GithubPanelWidgetTest : public ScriptedServiceTest
{
protected:
    std::unique_ptr<GithubSyncViewWidget> shown()
    {
        auto widget = std::make_unique<GithubSyncViewWidget>(model, desktop);
        widget->resize(700, 300);
        widget->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(widget.get()));
        EXPECT_TRUE(run(model.load()).ok());
        return widget;
    }

    API api;
    GithubSyncView model{api, QStringLiteral("p1")};
    RecordingDesktop desktop;
};

} // namespace

TEST_F(GithubPanelWidgetTest, PanelThatCannotBeLoadedSaysSyncIsNotAvailable)
{
    github.panel.reset();
    auto widget = shown();
    EXPECT_TRUE(widget->unavailablePage()->isVisible());
    EXPECT_FALSE(widget->connectPage()->isVisible() || widget->linkedPage()->isVisible() ||
                 widget->choosePage()->isVisible());
    auto* text = widget->unavailablePage()->findChild<QLabel*>();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->text(), QStringLiteral("GitHub sync is not available right now."));
}

TEST_F(GithubPanelWidgetTest, ConnectButtonOpensTheServicesLibraryPageOfTheProject)
{
    github.panel = QJsonObject{{QStringLiteral("state"), QStringLiteral("connect")}};
    auto widget = shown();
    ASSERT_TRUE(widget->connectPage()->isVisible());
    EXPECT_EQ(widget->connectPage()->findChild<QLabel*>()->text(),
              QStringLiteral("Connect GitHub to keep this app's source in a repository."));
    QTest::mouseClick(widget->connectButton(), Qt::LeftButton);
    ASSERT_EQ(desktop.opened.size(), 1);
    EXPECT_EQ(desktop.opened[0], QUrl(base().toString() + QStringLiteral("library/p1")));
}

TEST_F(GithubPanelWidgetTest, ChooseViewListsTheRepositoriesWithTheFirstPicked)
{
    auto widget = shown();
    ASSERT_TRUE(widget->choosePage()->isVisible());
    EXPECT_EQ(widget->chooseLabel()->text(),
              QStringLiteral("Connected as demo. Pick the repository to push to."));
    QComboBox* picker = widget->repositoryPicker();
    EXPECT_EQ(picker->accessibleName(), QStringLiteral("Repository"));
    ASSERT_EQ(picker->count(), 2);
    EXPECT_EQ(picker->currentText(), QStringLiteral("demo/brightloom-apps"));
    EXPECT_FALSE(widget->noReposLabel()->isVisible());
    EXPECT_EQ(widget->useRepositoryButton()->text(), QStringLiteral("Use this repository"));
}

TEST_F(GithubPanelWidgetTest, PickingARepositorySetsTheChoice)
{
    auto widget = shown();
    QComboBox* picker = widget->repositoryPicker();
    picker->setFocus();
    QTest::keyClick(picker, Qt::Key_Down);
    EXPECT_EQ(model.choice(), QStringLiteral("demo/website"));
}

TEST_F(GithubPanelWidgetTest, NoRepositoriesSaysHowToShareThem)
{
    github.reposReply = ScriptedReply::json(200, R"({"repos":[]})");
    auto widget = shown();
    EXPECT_TRUE(widget->noReposLabel()->isVisible());
    EXPECT_EQ(
        widget->noReposLabel()->text(),
        QStringLiteral(
            "No repositories shared with the app yet. Manage access on GitHub, then reopen this page."));
    EXPECT_FALSE(widget->repositoryPicker()->isVisible());
}

TEST_F(GithubPanelWidgetTest, LinkingARepositorySwitchesToTheLinkedViewWithoutReopening)
{
    auto widget = shown();
    model.setChoice(QStringLiteral("demo/website"));
    QTest::mouseClick(widget->useRepositoryButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return widget->linkedPage()->isVisible(); }));
    EXPECT_FALSE(widget->choosePage()->isVisible());
    EXPECT_EQ(widget->linkedLabel()->text(), QStringLiteral("Syncs to demo/website"));
    EXPECT_EQ(widget->pushButton()->text(), QStringLiteral("Push version 1.1"));
    EXPECT_EQ(widget->unlinkButton()->text(), QStringLiteral("Stop syncing"));
    EXPECT_FALSE(widget->noSourceLabel()->isVisible());
}

TEST_F(GithubPanelWidgetTest, PushShowsItsMessageAndACommitLinkThatOpensIt)
{
    github.panel = ScriptedGithub::readyPanel(true);
    auto widget = shown();
    EXPECT_FALSE(widget->messageLabel()->isVisible());
    EXPECT_FALSE(widget->commitLink()->isVisible());
    QTest::mouseClick(widget->pushButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return widget->messageLabel()->isVisible() && !model.busy(); }));
    EXPECT_EQ(widget->messageLabel()->text(), QStringLiteral("Pushed version 1.1 to GitHub."));
    EXPECT_EQ(widget->linkedLabel()->text(),
              QStringLiteral("Syncs to demo/website. Last pushed: version 1.1"));
    EXPECT_EQ(widget->pushButton()->text(), QStringLiteral("Push again"));
    ASSERT_TRUE(widget->commitLink()->isVisible());
    EXPECT_EQ(widget->commitLink()->text(), QStringLiteral("View the commit"));
    QTest::mouseClick(widget->commitLink(), Qt::LeftButton);
    EXPECT_EQ(desktop.opened,
              QList<QUrl>{QUrl(QStringLiteral("https://github.com/demo/website/commit/abc"))});
}

TEST_F(GithubPanelWidgetTest, PushReportedUnchangedShowsUpToDateAndNoVersion)
{
    github.panel = ScriptedGithub::readyPanel(true);
    github.pushReply = ScriptedReply::json(200, R"({"changed":false,"version":"1.1"})");
    auto widget = shown();
    QTest::mouseClick(widget->pushButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return widget->messageLabel()->isVisible() && !model.busy(); }));
    EXPECT_EQ(widget->messageLabel()->text(),
              QStringLiteral("Already up to date. The repository matches this build."));
    EXPECT_FALSE(widget->messageLabel()->text().contains(QStringLiteral("1.1")));
    EXPECT_FALSE(widget->commitLink()->isVisible());
}

TEST_F(GithubPanelWidgetTest, NewestBuildWithoutSourceSaysThereIsNothingToPush)
{
    github.panel = ScriptedGithub::readyPanel(true);
    github.panel->remove(QStringLiteral("pushVersion"));
    auto widget = shown();
    EXPECT_TRUE(widget->noSourceLabel()->isVisible());
    EXPECT_EQ(widget->noSourceLabel()->text(),
              QStringLiteral("The newest build did not keep its source, so there is nothing to push."));
    EXPECT_FALSE(widget->pushButton()->isVisible());
    EXPECT_TRUE(widget->unlinkButton()->isVisible());
}

TEST_F(GithubPanelWidgetTest, EveryActionIsDisabledWhileOneRuns)
{
    github.panel = ScriptedGithub::readyPanel(true);
    github.pushReply.delayMs = 300;
    auto widget = shown();
    QTest::mouseClick(widget->pushButton(), Qt::LeftButton);
    EXPECT_FALSE(widget->pushButton()->isEnabled());
    EXPECT_FALSE(widget->unlinkButton()->isEnabled());
    EXPECT_FALSE(widget->useRepositoryButton()->isEnabled());
    EXPECT_FALSE(widget->connectButton()->isEnabled());
    ASSERT_TRUE(spinUntil([&] { return !model.busy(); }));
    EXPECT_TRUE(widget->pushButton()->isEnabled());
}

TEST_F(GithubPanelWidgetTest, FailedActionShowsItsError)
{
    github.linkReply = ScriptedReply::json(404, R"({"message":"Repository not found"})");
    auto widget = shown();
    QTest::mouseClick(widget->useRepositoryButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return widget->errorLabel()->isVisible(); }));
    EXPECT_EQ(widget->errorLabel()->text(), QStringLiteral("Repository not found"));
    EXPECT_TRUE(widget->choosePage()->isVisible());
}

TEST_F(GithubPanelWidgetTest, EveryControlIsNamedAndItsAccessibleActionDoesWhatAClickDoes)
{
    // Each use gets a panel and a model of its own, and the service its panel anew: linking or
    // pushing changes both.
    std::vector<std::unique_ptr<GithubSyncView>> models;
    std::unique_ptr<GithubSyncViewWidget> widget;
    std::optional<QJsonObject> panel;
    const auto fresh = [&]() -> QWidget* {
        // What the last panel asked of the service is answered before the service is reset.
        if (!models.empty())
            spinUntil([&] { return !models.back()->busy(); });
        widget.reset();
        github.panel = panel;
        models.push_back(std::make_unique<GithubSyncView>(api, QStringLiteral("p1")));
        widget = std::make_unique<GithubSyncViewWidget>(*models.back(), desktop);
        widget->resize(700, 300);
        widget->show();
        EXPECT_TRUE(run(models.back()->load()).ok());
        return widget.get();
    };
    panel = ScriptedGithub::readyPanel();
    expectActionsDoWhatClicksDo(fresh, 1); // choosing a repository
    panel = ScriptedGithub::readyPanel(true);
    expectActionsDoWhatClicksDo(fresh, 2); // linked: push and stop syncing
    panel = QJsonObject{{QStringLiteral("state"), QStringLiteral("connect")}};
    expectActionsDoWhatClicksDo(fresh, 1);
    widget.reset();
}
