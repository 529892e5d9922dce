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
#include "widget_lookup.h"

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
        panel = widget.get();
        widget->resize(700, 300);
        widget->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(widget.get()));
        EXPECT_TRUE(run(model.load()).ok());
        return widget;
    }

    // The panel's texts and controls, as a screen reader meets them.
    QLabel* label(const QString& description) const { return anyLabelDescribed(panel, description); }
    QPushButton* button(const QString& name) const { return controlNamed<QPushButton>(panel, name); }
    // The button that pushes, named for what it pushes ("Push version 1.1", "Push again").
    QPushButton* pushButton() const
    {
        for (QPushButton* button : panel->findChildren<QPushButton*>()) {
            if (accessibleName(button).startsWith(QLatin1String("Push ")))
                return button;
        }
        return nullptr;
    }

    API api;
    GithubSyncView model{api, QStringLiteral("p1")};
    RecordingDesktop desktop;
    GithubSyncViewWidget* panel = nullptr;
};

} // namespace

TEST_F(GithubPanelWidgetTest, PanelThatCannotBeLoadedSaysSyncIsNotAvailable)
{
    github.panel.reset();
    auto widget = shown();
    EXPECT_TRUE(label(QStringLiteral("GitHub unavailable"))->isVisible());
    EXPECT_FALSE(label(QStringLiteral("GitHub connect"))->isVisible() ||
                 label(QStringLiteral("GitHub link"))->isVisible() ||
                 label(QStringLiteral("GitHub account"))->isVisible());
    auto* text = label(QStringLiteral("GitHub unavailable"));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->text(), QStringLiteral("GitHub sync is not available right now."));
}

TEST_F(GithubPanelWidgetTest, ConnectButtonOpensTheServicesLibraryPageOfTheProject)
{
    github.panel = QJsonObject{{QStringLiteral("state"), QStringLiteral("connect")}};
    auto widget = shown();
    ASSERT_TRUE(label(QStringLiteral("GitHub connect"))->isVisible());
    EXPECT_EQ(label(QStringLiteral("GitHub connect"))->text(),
              QStringLiteral("Connect GitHub to keep this app's source in a repository."));
    QTest::mouseClick(button(GithubSyncView::connectButton), Qt::LeftButton);
    ASSERT_EQ(desktop.opened.size(), 1);
    EXPECT_EQ(desktop.opened[0], QUrl(base().toString() + QStringLiteral("library/p1")));
}

TEST_F(GithubPanelWidgetTest, ChooseViewListsTheRepositoriesWithTheFirstPicked)
{
    auto widget = shown();
    ASSERT_TRUE(label(QStringLiteral("GitHub account"))->isVisible());
    EXPECT_EQ(label(QStringLiteral("GitHub account"))->text(),
              QStringLiteral("Connected as demo. Pick the repository to push to."));
    QComboBox* picker = controlNamed<QComboBox>(widget.get(), GithubSyncView::repositoryLabel);
    EXPECT_EQ(picker->accessibleName(), QStringLiteral("Repository"));
    ASSERT_EQ(picker->count(), 2);
    EXPECT_EQ(picker->currentText(), QStringLiteral("demo/brightloom-apps"));
    EXPECT_FALSE(label(QStringLiteral("GitHub no repositories"))->isVisible());
    EXPECT_EQ(button(GithubSyncView::useRepoText)->text(), QStringLiteral("Use this repository"));
}

TEST_F(GithubPanelWidgetTest, PickingARepositorySetsTheChoice)
{
    auto widget = shown();
    QComboBox* picker = controlNamed<QComboBox>(widget.get(), GithubSyncView::repositoryLabel);
    picker->setFocus();
    QTest::keyClick(picker, Qt::Key_Down);
    EXPECT_EQ(model.choice(), QStringLiteral("demo/website"));
}

TEST_F(GithubPanelWidgetTest, NoRepositoriesSaysHowToShareThem)
{
    github.reposReply = ScriptedReply::json(200, R"({"repos":[]})");
    auto widget = shown();
    EXPECT_TRUE(label(QStringLiteral("GitHub no repositories"))->isVisible());
    EXPECT_EQ(
        label(QStringLiteral("GitHub no repositories"))->text(),
        QStringLiteral(
            "No repositories shared with the app yet. Manage access on GitHub, then reopen this page."));
    EXPECT_FALSE(controlNamed<QComboBox>(widget.get(), GithubSyncView::repositoryLabel)->isVisible());
}

TEST_F(GithubPanelWidgetTest, LinkingARepositorySwitchesToTheLinkedViewWithoutReopening)
{
    auto widget = shown();
    model.setChoice(QStringLiteral("demo/website"));
    QTest::mouseClick(button(GithubSyncView::useRepoText), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return label(QStringLiteral("GitHub link"))->isVisible(); }));
    EXPECT_FALSE(label(QStringLiteral("GitHub account"))->isVisible());
    EXPECT_EQ(label(QStringLiteral("GitHub link"))->text(), QStringLiteral("Syncs to demo/website"));
    ASSERT_TRUE(button(QStringLiteral("Push version 1.1")));
    EXPECT_EQ(button(GithubSyncView::unlinkText)->text(), QStringLiteral("Stop syncing"));
    EXPECT_FALSE(label(QStringLiteral("GitHub nothing to push"))->isVisible());
}

TEST_F(GithubPanelWidgetTest, PushShowsItsMessageAndACommitLinkThatOpensIt)
{
    github.panel = ScriptedGithub::readyPanel(true);
    auto widget = shown();
    EXPECT_FALSE(label(QStringLiteral("GitHub push message"))->isVisible());
    EXPECT_FALSE(button(GithubSyncView::viewCommitText)->isVisible());
    QTest::mouseClick(pushButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil(
        [&] { return label(QStringLiteral("GitHub push message"))->isVisible() && !model.busy(); }));
    EXPECT_EQ(label(QStringLiteral("GitHub push message"))->text(),
              QStringLiteral("Pushed version 1.1 to GitHub."));
    EXPECT_EQ(label(QStringLiteral("GitHub link"))->text(),
              QStringLiteral("Syncs to demo/website. Last pushed: version 1.1"));
    EXPECT_TRUE(button(QStringLiteral("Push again")));
    ASSERT_TRUE(button(GithubSyncView::viewCommitText)->isVisible());
    EXPECT_EQ(button(GithubSyncView::viewCommitText)->text(), QStringLiteral("View the commit"));
    QTest::mouseClick(button(GithubSyncView::viewCommitText), Qt::LeftButton);
    EXPECT_EQ(desktop.opened,
              QList<QUrl>{QUrl(QStringLiteral("https://github.com/demo/website/commit/abc"))});
}

TEST_F(GithubPanelWidgetTest, PushReportedUnchangedShowsUpToDateAndNoVersion)
{
    github.panel = ScriptedGithub::readyPanel(true);
    github.pushReply = ScriptedReply::json(200, R"({"changed":false,"version":"1.1"})");
    auto widget = shown();
    QTest::mouseClick(pushButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil(
        [&] { return label(QStringLiteral("GitHub push message"))->isVisible() && !model.busy(); }));
    EXPECT_EQ(label(QStringLiteral("GitHub push message"))->text(),
              QStringLiteral("Already up to date. The repository matches this build."));
    EXPECT_FALSE(label(QStringLiteral("GitHub push message"))->text().contains(QStringLiteral("1.1")));
    EXPECT_FALSE(button(GithubSyncView::viewCommitText)->isVisible());
}

TEST_F(GithubPanelWidgetTest, NewestBuildWithoutSourceSaysThereIsNothingToPush)
{
    github.panel = ScriptedGithub::readyPanel(true);
    github.panel->remove(QStringLiteral("pushVersion"));
    auto widget = shown();
    EXPECT_TRUE(label(QStringLiteral("GitHub nothing to push"))->isVisible());
    EXPECT_EQ(label(QStringLiteral("GitHub nothing to push"))->text(),
              QStringLiteral("The newest build did not keep its source, so there is nothing to push."));
    EXPECT_EQ(pushButton(), nullptr) << "no button offers a push";
    EXPECT_TRUE(button(GithubSyncView::unlinkText)->isVisible());
}

TEST_F(GithubPanelWidgetTest, EveryActionIsDisabledWhileOneRuns)
{
    github.panel = ScriptedGithub::readyPanel(true);
    github.pushReply.held = true;
    auto widget = shown();
    QTest::mouseClick(pushButton(), Qt::LeftButton);
    EXPECT_FALSE(pushButton()->isEnabled());
    EXPECT_FALSE(button(GithubSyncView::unlinkText)->isEnabled());
    EXPECT_FALSE(button(GithubSyncView::useRepoText)->isEnabled());
    EXPECT_FALSE(button(GithubSyncView::connectButton)->isEnabled());
    ASSERT_TRUE(spinUntil([&] { return requestsTo(QStringLiteral("/api/projects/p1/github/push")) == 1; }));
    EXPECT_TRUE(model.busy()) << "the push has not been answered yet";
    EXPECT_FALSE(pushButton()->isEnabled());
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return !model.busy(); }));
    EXPECT_TRUE(pushButton()->isEnabled());
}

TEST_F(GithubPanelWidgetTest, FailedActionShowsItsError)
{
    github.linkReply = ScriptedReply::json(404, R"({"message":"Repository not found"})");
    auto widget = shown();
    QTest::mouseClick(button(GithubSyncView::useRepoText), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return label(QStringLiteral("GitHub error"))->isVisible(); }));
    EXPECT_EQ(label(QStringLiteral("GitHub error"))->text(), QStringLiteral("Repository not found"));
    EXPECT_TRUE(label(QStringLiteral("GitHub account"))->isVisible());
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
