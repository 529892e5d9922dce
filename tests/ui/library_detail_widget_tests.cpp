#include "accessible_walk.h"
#include "library/github_sync_view.h"
#include "library/library_detail_view.h"
#include "library/library_view.h"
#include "library_fixture.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "task_runner.h"
#include "tick_watch.h"
#include "ui/app/window_screens.h"
#include "ui/library/github_sync_view_widget.h"
#include "ui/library/library_detail_view_widget.h"
#include "ui/library/library_view_widget.h"
#include "ui/library/row_page.h"
#include "ui/library/tree_row_widget.h"
#include "ui/library/version_row_widget.h"
#include "ui/shared/app_header.h"
#include "ui/shared/error_label.h"
#include "ui/shared/metrics.h"
#include "ui/shared/one_line_label.h"
#include "ui/shared/unsafe_banner.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

class LibraryDetailWidgetTest : public ScriptedServiceTest
{
protected:
    LibraryDetailWidgetTest()
    {
        on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[]})"));
        serveDetail(detailJson(
            appJson(QStringLiteral("p1"), QStringLiteral("Focus"),
                    {versionJson({QStringLiteral("j2"), QStringLiteral("1.1"), QStringLiteral("Focus"),
                                  QStringLiteral("Bigger"), false},
                                 base()),
                     versionJson({QStringLiteral("j1"), QStringLiteral("1.0"), QStringLiteral("Focus"),
                                  QStringLiteral("First")},
                                 base())}),
            {nodeJson(
                 QStringLiteral("j1"), QStringLiteral("1.0"), QStringLiteral("A timer"),
                 QStringLiteral("First"),
                 {forkJson(QStringLiteral("f1"), QStringLiteral("Their Focus"), false,
                           {nodeJson(QStringLiteral("j5"), QStringLiteral("1.0"), QStringLiteral("Theirs"))}),
                  forkJson(QStringLiteral("f2"), QStringLiteral("My Focus"), true,
                           {nodeJson(QStringLiteral("j6"), QStringLiteral("1.0"), QStringLiteral("Mine"), {},
                                     {}, 0, false)})},
                 2),
             nodeJson(QStringLiteral("j2"), QStringLiteral("1.1"), QStringLiteral("Bigger"))},
            true,
            QJsonObject{{QStringLiteral("name"), QStringLiteral("Timer")},
                        {QStringLiteral("version"), QStringLiteral("1.2")}}));
    }

    void serveDetail(const QJsonObject& detail) { serveDetailBytes(compact(detail)); }
    void serveDetailBytes(const QByteArray& detail)
    {
        on(QStringLiteral("GET /api/library/p1"), ScriptedReply::json(200, detail));
    }
    void serveFork(ScriptedReply reply) { on(QStringLiteral("POST /api/templates/fork"), std::move(reply)); }

    std::unique_ptr<LibraryDetailViewWidget> shown(int height = 1400)
    {
        std::unique_ptr<LibraryDetailViewWidget> widget(libraryDetailScreen(
            api, icons, desktop, QStringLiteral("p1"), [this](QString id) { opened.append(id); },
            std::nullopt));
        widget->resize(900, height);
        widget->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(widget.get()));
        EXPECT_TRUE(spinUntil([&] { return widget->model().detail() || widget->model().error(); }));
        QCoreApplication::processEvents();
        return widget;
    }

    API api;
    IconLoader icons{QString()};
    RecordingDesktop desktop;
    QStringList opened;
};

} // namespace

TEST_F(LibraryDetailWidgetTest, ShowsTheNameTheOriginAndNoUnsafeBanner)
{
    auto widget = shown();
    EXPECT_EQ(widget->header()->nameLabel()->text(), QStringLiteral("Focus"));
    EXPECT_TRUE(widget->originLabel()->isVisible());
    EXPECT_EQ(widget->originLabel()->text(), QStringLiteral("Started from version 1.2 of Timer"));
    EXPECT_EQ(widget->originLabel()->accessibleDescription(), QStringLiteral("Origin"));
    EXPECT_FALSE(widget->unsafeBanner()->isVisible());
    EXPECT_FALSE(widget->loadingIndicator()->isVisible());
}

TEST_F(LibraryDetailWidgetTest, AppThatIsNoForkShowsNoOriginLine)
{
    serveDetail(detailJson(appJson(QStringLiteral("p1"), QStringLiteral("Focus"), {}), {}));
    auto widget = shown();
    EXPECT_FALSE(widget->originLabel()->isVisible());
}

TEST_F(LibraryDetailWidgetTest, UnsafeAppShowsTheBanner)
{
    QJsonObject app = appJson(QStringLiteral("p1"), QStringLiteral("Focus"), {});
    app.insert(QStringLiteral("unsafe"), true);
    serveDetail(detailJson(app, {}));
    auto widget = shown();
    EXPECT_TRUE(widget->unsafeBanner()->isVisible());
}

TEST_F(LibraryDetailWidgetTest, FailedLoadShowsTheErrorAndNoSections)
{
    on(QStringLiteral("GET /api/library/p1"), ScriptedReply::json(404, R"({"message":"Project not found"})"));
    auto widget = shown();
    EXPECT_TRUE(widget->errorLabel()->isVisible());
    EXPECT_EQ(widget->errorLabel()->text(), QStringLiteral("Project not found"));
    EXPECT_FALSE(widget->loadingIndicator()->isVisible());
    EXPECT_FALSE(widget->githubPanel()->isVisible());
    EXPECT_EQ(widget->versionRow(0), nullptr);
}

TEST_F(LibraryDetailWidgetTest, ChangeThisAppOpensItsConversation)
{
    auto widget = shown();
    EXPECT_EQ(widget->changeButton()->text(), QStringLiteral("Change this app"));
    QTest::mouseClick(widget->changeButton(), Qt::LeftButton);
    EXPECT_EQ(opened, QStringList{QStringLiteral("p1")});
}

TEST_F(LibraryDetailWidgetTest, EachVersionShowsItsLabelAppNameSummaryAndDownload)
{
    auto widget = shown();
    VersionRowWidget* newest = widget->versionRow(0);
    VersionRowWidget* first = widget->versionRow(1);
    ASSERT_TRUE(newest && first);
    EXPECT_EQ(newest->titleLabel()->text(), QStringLiteral("Version 1.1"));
    EXPECT_EQ(newest->appNameLabel()->text(), QStringLiteral("Focus"));
    EXPECT_EQ(newest->summaryLabel()->text(), QStringLiteral("Bigger"));
    EXPECT_EQ(newest->downloadButton()->text(), QStringLiteral("Download .zip"));
    EXPECT_EQ(first->downloadButton()->text(), QStringLiteral("Download .dmg"));
    EXPECT_FALSE(first->showInFinderButton()->isVisible());
}

TEST_F(LibraryDetailWidgetTest, VersionDownloadShowsProgressThenShowInFinder)
{
    ScriptedReply image = ScriptedReply::archive(QByteArray(2048, 'd'));
    image.held = true;
    offer(QStringLiteral("files/j1/app.dmg"), image);
    auto widget = shown();
    VersionRowWidget* row = widget->versionRow(1);
    ASSERT_NE(row, nullptr);
    QTest::mouseClick(row->downloadButton(), Qt::LeftButton);
    EXPECT_FALSE(row->downloadButton()->isEnabled());
    EXPECT_TRUE(row->progress()->isVisible());
    EXPECT_TRUE(widget->versionRow(0)->downloadButton()->isEnabled());
    ASSERT_TRUE(spinUntil([&] { return requestsTo(QStringLiteral("/files/j1/app.dmg")) == 1; }));
    row = widget->versionRow(1);
    EXPECT_FALSE(row->downloadButton()->isEnabled()) << "the download has not been answered yet";
    EXPECT_TRUE(row->progress()->isVisible());
    EXPECT_FALSE(row->showInFinderButton()->isVisible());
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return widget->versionRow(1)->showInFinderButton()->isVisible(); }));
    row = widget->versionRow(1);
    EXPECT_TRUE(row->downloadButton()->isEnabled());
    EXPECT_FALSE(row->progress()->isVisible());
    EXPECT_EQ(row->showInFinderButton()->text(), QStringLiteral("Show in Finder"));
    QTest::mouseClick(row->showInFinderButton(), Qt::LeftButton);
    ASSERT_EQ(desktop.revealed.size(), 1);
    EXPECT_TRUE(desktop.revealed[0].endsWith(QStringLiteral("/Focus 1.0.dmg")));
}

TEST_F(LibraryDetailWidgetTest, FailedDownloadShowsItsError)
{
    offer(QStringLiteral("files/j1/app.dmg"), ScriptedReply::json(500, "{}"));
    auto widget = shown();
    QTest::mouseClick(widget->versionRow(1)->downloadButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return widget->downloadErrorLabel()->isVisible(); }));
    EXPECT_EQ(widget->downloadErrorLabel()->text(), QStringLiteral("The download failed (500)."));
}

TEST_F(LibraryDetailWidgetTest, TreeListsVersionsForksAndPrivateForksIndentedByDepth)
{
    auto widget = shown();
    QStringList texts;
    for (int index = 0; index < int(widget->model().rows().size()); ++index) {
        TreeRowWidget* row = widget->treeRow(index);
        ASSERT_NE(row, nullptr) << index;
        texts.append(QString::number(row->depth()) + QLatin1Char(' ') + row->titleLabel()->text());
    }
    EXPECT_EQ(texts, (QStringList{QStringLiteral("0 Version 1.0"), QStringLiteral("0 Fork: Their Focus"),
                                  QStringLiteral("1 Version 1.0"), QStringLiteral("0 Fork: My Focus (yours)"),
                                  QStringLiteral("1 Version 1.0"), QStringLiteral("0 2 private forks"),
                                  QStringLiteral("0 Version 1.1")}));
    const int shallow = widget->treeRow(0)->titleLabel()->x();
    const int deeper = widget->treeRow(2)->titleLabel()->x();
    EXPECT_EQ(deeper - shallow, metrics::treeIndent);
    EXPECT_EQ(widget->treeRow(0)->detailLabel()->text(), QStringLiteral("First"));
    EXPECT_EQ(widget->treeRow(6)->detailLabel()->text(), QStringLiteral("Bigger"));
    EXPECT_FALSE(widget->treeRow(1)->templateButton()->isVisible());
}

TEST_F(LibraryDetailWidgetTest, IndentationStopsGrowingAtTheCap)
{
    EXPECT_EQ(TreeRowWidget::indentFor(3), 3 * metrics::treeIndent);
    EXPECT_EQ(TreeRowWidget::indentFor(metrics::treeIndentLevels + 40),
              metrics::treeIndentLevels * metrics::treeIndent);
}

TEST_F(LibraryDetailWidgetTest, BuildWithoutSourceCannotBeUsedAsATemplateAndSaysWhy)
{
    auto widget = shown();
    QPushButton* button = widget->treeRow(4)->templateButton();
    EXPECT_EQ(button->text(), QStringLiteral("Use as template"));
    EXPECT_FALSE(button->isEnabled());
    EXPECT_EQ(button->toolTip(),
              QStringLiteral("This build did not keep its source, so it cannot start a new project."));
    EXPECT_EQ(widget->treeRow(0)->templateButton()->toolTip(),
              QStringLiteral("Start a new project from this build"));
    EXPECT_TRUE(widget->treeRow(0)->templateButton()->isEnabled());
}

TEST_F(LibraryDetailWidgetTest, UseAsTemplateWhileAnotherForkRunsIsDisabledAndSuccessOpensTheNewProject)
{
    ScriptedReply fork = ScriptedReply::json(200, R"({"projectId":"p9"})");
    fork.held = true;
    serveFork(fork);
    auto widget = shown();
    QTest::mouseClick(widget->treeRow(0)->templateButton(), Qt::LeftButton);
    EXPECT_EQ(widget->treeRow(0)->templateButton()->text(), QStringLiteral("Starting\u2026"));
    EXPECT_FALSE(widget->treeRow(0)->templateButton()->isEnabled());
    QPushButton* other = widget->treeRow(6)->templateButton();
    EXPECT_EQ(other->text(), QStringLiteral("Use as template"));
    EXPECT_FALSE(other->isEnabled());
    QTest::mouseClick(other, Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return requestsTo(QStringLiteral("/api/templates/fork")) == 1; }));
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_EQ(widget->treeRow(0)->templateButton()->text(), QStringLiteral("Starting\u2026"));
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return !opened.isEmpty(); }));
    EXPECT_EQ(opened, QStringList{QStringLiteral("p9")});
    EXPECT_EQ(requestsTo(QStringLiteral("/api/templates/fork")), 1);
    ASSERT_TRUE(spinUntil([&] { return widget->treeRow(6)->templateButton()->isEnabled(); }));
    EXPECT_EQ(widget->treeRow(0)->templateButton()->text(), QStringLiteral("Use as template"));
}

TEST_F(LibraryDetailWidgetTest, FailedForkShowsItsErrorAndLeavesTheTreeAsItWas)
{
    serveFork(ScriptedReply::json(403, R"({"message":"This build cannot be used as a template."})"));
    auto widget = shown();
    const int rows = int(widget->model().rows().size());
    QTest::mouseClick(widget->treeRow(0)->templateButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return widget->errorLabel()->isVisible(); }));
    EXPECT_EQ(widget->errorLabel()->text(), QStringLiteral("This build cannot be used as a template."));
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_EQ(int(widget->model().rows().size()), rows);
    EXPECT_EQ(widget->treeRow(6)->titleLabel()->text(), QStringLiteral("Version 1.1"));
    EXPECT_TRUE(widget->treeRow(0)->templateButton()->isEnabled());
}

TEST_F(LibraryDetailWidgetTest, TreeThatMayNotBeTemplatedDisablesUseAsTemplate)
{
    serveDetail(detailJson(appJson(QStringLiteral("p1"), QStringLiteral("Focus"), {}),
                           {nodeJson(QStringLiteral("j1"), QStringLiteral("1.0"), QStringLiteral("A timer"))},
                           false));
    auto widget = shown();
    EXPECT_FALSE(widget->treeRow(0)->templateButton()->isEnabled());
}

TEST_F(LibraryDetailWidgetTest, LongTreeMakesWidgetsOnlyForTheVisibleRows)
{
    QJsonArray tree;
    for (int i = 0; i < 3000; ++i)
        tree.append(
            nodeJson(QStringLiteral("j%1").arg(i), QStringLiteral("1.%1").arg(i), QStringLiteral("Change")));
    serveDetail(detailJson(appJson(QStringLiteral("p1"), QStringLiteral("Focus"), {}), tree));
    auto widget = shown(800);
    widget->scrollToTreeRow(1500);
    QCoreApplication::processEvents();
    EXPECT_NE(widget->treeRow(1500), nullptr);
    EXPECT_EQ(widget->treeRow(0), nullptr);
    EXPECT_EQ(widget->treeRow(1500)->titleLabel()->text(), QStringLiteral("Version 1.1500"));
    EXPECT_LT(widget->findChildren<TreeRowWidget*>().size(), 40);
}

TEST_F(LibraryDetailWidgetTest, TreeHundredThousandLevelsDeepOpensScrollsToItsDeepestRowAndCloses)
{
    const int levels = 100'000;
    serveDetailBytes(deepTreeDetail(levels));
    on(QStringLiteral("GET /api/library"),
       ScriptedReply::json(
           200, compact({{QStringLiteral("apps"),
                          QJsonArray{appJson(QStringLiteral("p1"), QStringLiteral("Deep"), {})}}})));
    std::unique_ptr<LibraryViewWidget> library(libraryScreen(api, icons, desktop, [](QString) {}));
    library->resize(900, 800);
    library->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(library.get()));
    ASSERT_TRUE(spinUntil([&] { return library->model().loaded(); }));
    library->model().select(QStringLiteral("p1"));
    LibraryDetailViewWidget* detail = library->detail();
    ASSERT_NE(detail, nullptr);
    ASSERT_TRUE(spinUntil([&] { return detail->model().rows().size() == std::size_t(levels); }));
    QCoreApplication::processEvents();

    TickWatch ticks;
    detail->scrollToTreeRow(levels - 1);
    QScrollBar* bar = detail->page()->verticalScrollBar();
    EXPECT_EQ(bar->value(), bar->maximum());
    for (int step = 0; step < 50; ++step) {
        bar->setValue(bar->value() - bar->pageStep() / 3);
        QCoreApplication::processEvents();
    }
    detail->scrollToTreeRow(levels - 1);
    QCoreApplication::processEvents();
    EXPECT_LT(ticks.longestMs(), 500.0);
    TreeRowWidget* deepest = detail->treeRow(levels - 1);
    ASSERT_NE(deepest, nullptr);
    EXPECT_EQ(deepest->titleLabel()->text(), QStringLiteral("Fork: Branch (yours)"));
    EXPECT_EQ(deepest->depth(), levels / 2 - 1);
    EXPECT_EQ(deepest->titleLabel()->x(), detail->treeRow(levels - 2)->titleLabel()->x());

    QPointer<LibraryDetailViewWidget> gone(detail);
    QTest::mouseClick(detail->backButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] {
        // A page is deleted once the event loop comes back to it, which a test's spinning never does.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return gone.isNull();
    }));
    library.reset();
}

TEST_F(LibraryDetailWidgetTest, EveryControlIsNamedAndItsAccessibleActionDoesWhatAClickDoes)
{
    std::unique_ptr<LibraryDetailViewWidget> widget;
    expectActionsDoWhatClicksDo(
        [&]() -> QWidget* {
            // What the last page asked of the service is answered before the service is reset.
            if (widget)
                spinUntil([&] { return !widget->github().busy() && !widget->model().forking(); });
            widget.reset();
            github.panel = ScriptedGithub::readyPanel();
            widget = shown();
            spinUntil(
                [&] { return widget->github().panel().has_value() && !widget->github().repos().isEmpty(); });
            // Every row of the tree bound to its widget.
            spinUntil([&] { return widget->findChildren<TreeRowWidget*>().size() >= 4; });
            drainPostedEvents();
            return widget.get();
        },
        6);
    widget.reset();
}
