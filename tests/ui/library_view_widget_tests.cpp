#include "accessible_walk.h"
#include "library/library_detail_view.h"
#include "library/library_view.h"
#include "library_fixture.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "task_runner.h"
#include "ui/app/window_screens.h"
#include "ui/library/library_app_list_model.h"
#include "ui/library/library_detail_view_widget.h"
#include "ui/library/library_view_widget.h"
#include "ui/shared/app_header.h"
#include "ui/shared/error_label.h"

#include <QLabel>
#include <QListView>
#include <QProgressBar>
#include <QSignalSpy>
#include <QStackedLayout>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

class LibraryViewWidgetTest : public ScriptedServiceTest
{
protected:
    LibraryViewWidgetTest()
    {
        serveApps({appJson(QStringLiteral("p1"), QStringLiteral("Focus"),
                           {versionJson({QStringLiteral("j1"), QStringLiteral("1.0")}, base())}),
                   appJson(QStringLiteral("p2"), QStringLiteral("Timer"),
                           {versionJson({QStringLiteral("j3"), QStringLiteral("1.1")}, base()),
                            versionJson({QStringLiteral("j2"), QStringLiteral("1.0")}, base())})});
        on(QStringLiteral("GET /api/library/p1"),
           ScriptedReply::json(200,
                               compact(detailJson(appJson(QStringLiteral("p1"), QStringLiteral("Focus"), {}),
                                                  {nodeJson(QStringLiteral("j1"), QStringLiteral("1.0"),
                                                            QStringLiteral("A timer"))}))));
    }

    // `held`: answered only once the test releases it.
    void serveApps(const QJsonArray& apps, bool held = false)
    {
        ScriptedReply reply = ScriptedReply::json(200, compact({{QStringLiteral("apps"), apps}}));
        reply.held = held;
        on(QStringLiteral("GET /api/library"), reply);
    }

    std::unique_ptr<LibraryViewWidget> shown()
    {
        std::unique_ptr<LibraryViewWidget> widget(
            libraryScreen(api, icons, desktop, [this](QString id) { opened.append(id); }));
        widget->resize(900, 700);
        widget->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(widget.get()));
        return widget;
    }

    static bool loaded(const LibraryViewWidget& widget) { return widget.model().loaded(); }

    static QStackedLayout* stack(const LibraryViewWidget& widget)
    {
        return static_cast<QStackedLayout*>(widget.layout());
    }

    API api;
    IconLoader icons{QString()};
    RecordingDesktop desktop;
    QStringList opened;
};

} // namespace

TEST_F(LibraryViewWidgetTest, ShowsTheTitleAndSubtitleAndAProgressIndicatorUntilLoaded)
{
    serveApps({}, true);
    auto widget = shown();
    EXPECT_EQ(widget->titleLabel()->text(), QStringLiteral("My apps"));
    EXPECT_EQ(widget->subtitleLabel()->text(),
              QStringLiteral("Every app you have built, with all of its versions."));
    EXPECT_TRUE(widget->loadingIndicator()->isVisible());
    EXPECT_FALSE(widget->emptyLabel()->isVisible());
    ASSERT_TRUE(spinUntil([&] { return requestsTo(QStringLiteral("/api/library")) == 1; }));
    EXPECT_TRUE(widget->loadingIndicator()->isVisible()) << "still loading while the answer is held";
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return loaded(*widget); }));
    EXPECT_FALSE(widget->loadingIndicator()->isVisible());
}

TEST_F(LibraryViewWidgetTest, EmptyLibrarySaysNothingIsHereYet)
{
    serveApps({});
    auto widget = shown();
    ASSERT_TRUE(spinUntil([&] { return loaded(*widget); }));
    EXPECT_TRUE(widget->emptyLabel()->isVisible());
    EXPECT_EQ(widget->emptyLabel()->text(), QStringLiteral("Nothing here yet. Apps you build show up here."));
    EXPECT_FALSE(widget->list()->isVisible());
}

TEST_F(LibraryViewWidgetTest, FailedLoadShowsTheErrorUnderTheHeader)
{
    on(QStringLiteral("GET /api/library"), ScriptedReply::json(401, R"({"message":"Unauthorized"})"));
    auto widget = shown();
    ASSERT_TRUE(spinUntil([&] { return loaded(*widget); }));
    EXPECT_TRUE(widget->errorLabel()->isVisible());
    EXPECT_EQ(widget->errorLabel()->text(), QStringLiteral("Unauthorized"));
    EXPECT_EQ(widget->errorLabel()->accessibleDescription(), QStringLiteral("Library error"));
}

TEST_F(LibraryViewWidgetTest, RowsShowTheNameAndTheVersionLine)
{
    auto widget = shown();
    ASSERT_TRUE(spinUntil([&] { return loaded(*widget); }));
    QAbstractItemModel* apps = widget->list()->model();
    ASSERT_EQ(apps->rowCount(), 2);
    EXPECT_EQ(apps->index(0, 0).data().toString(), QStringLiteral("Focus"));
    EXPECT_EQ(apps->index(0, 0).data(LibraryAppListModel::versionLineRole).toString(),
              QStringLiteral("Version 1.0 \u00B7 1 version"));
    EXPECT_EQ(apps->index(1, 0).data(Qt::AccessibleDescriptionRole).toString(),
              QStringLiteral("Version 1.1 \u00B7 2 versions"));
    EXPECT_GT(widget->list()->visualRect(apps->index(1, 0)).height(), 40);
}

TEST_F(LibraryViewWidgetTest, ClickingARowOpensTheDetailAndTheWayBackReturnsToTheList)
{
    auto widget = shown();
    ASSERT_TRUE(spinUntil([&] { return loaded(*widget); }));
    QListView* list = widget->list();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(list->model()->index(0, 0)).center());
    EXPECT_EQ(widget->model().selected(), QStringLiteral("p1"));
    LibraryDetailViewWidget* detail = widget->detail();
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(stack(*widget)->currentWidget(), detail);
    EXPECT_TRUE(detail->isVisible());
    EXPECT_EQ(detail->header()->nameLabel()->text(), QStringLiteral("Focus"));
    ASSERT_TRUE(spinUntil([&] { return detail->model().detail().has_value(); }));

    QPointer<LibraryDetailViewWidget> gone(detail);
    EXPECT_EQ(detail->backButton()->text(), QStringLiteral("My apps"));
    QTest::mouseClick(detail->backButton(), Qt::LeftButton);
    EXPECT_FALSE(widget->model().selected().has_value());
    EXPECT_EQ(stack(*widget)->currentWidget(), widget->listPage());
    EXPECT_EQ(widget->detail(), nullptr);
    ASSERT_TRUE(spinUntil([&] {
        // A page is deleted once the event loop comes back to it, which a test's spinning never does.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return gone.isNull();
    }));
    // The list appears again, so it is asked for again.
    ASSERT_TRUE(spinUntil([&] { return requestsTo(QStringLiteral("/api/library")) == 2; }));
}

TEST_F(LibraryViewWidgetTest, ReturnKeyOnARowOpensItsDetail)
{
    auto widget = shown();
    ASSERT_TRUE(spinUntil([&] { return loaded(*widget); }));
    QListView* list = widget->list();
    list->setFocus();
    list->setCurrentIndex(list->model()->index(1, 0));
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(widget->model().selected(), QStringLiteral("p2"));
}

TEST_F(LibraryViewWidgetTest, ReloadedUnchangedListKeepsItsRows)
{
    auto widget = shown();
    ASSERT_TRUE(spinUntil([&] { return loaded(*widget); }));
    QAbstractItemModel* apps = widget->list()->model();
    QSignalSpy reset(apps, &QAbstractItemModel::modelReset);
    QSignalSpy inserted(apps, &QAbstractItemModel::rowsInserted);
    QSignalSpy changed(apps, &QAbstractItemModel::dataChanged);
    ASSERT_TRUE(run(widget->model().load()).ok());
    EXPECT_EQ(reset.size() + inserted.size() + changed.size(), 0);
}

TEST_F(LibraryViewWidgetTest, GrownListInsertsOnlyTheNewRows)
{
    auto widget = shown();
    ASSERT_TRUE(spinUntil([&] { return loaded(*widget); }));
    QAbstractItemModel* apps = widget->list()->model();
    QSignalSpy reset(apps, &QAbstractItemModel::modelReset);
    QSignalSpy inserted(apps, &QAbstractItemModel::rowsInserted);
    serveApps({appJson(QStringLiteral("p1"), QStringLiteral("Focus"),
                       {versionJson({QStringLiteral("j1"), QStringLiteral("1.0")}, base())}),
               appJson(QStringLiteral("p2"), QStringLiteral("Timer"),
                       {versionJson({QStringLiteral("j3"), QStringLiteral("1.1")}, base()),
                        versionJson({QStringLiteral("j2"), QStringLiteral("1.0")}, base())}),
               appJson(QStringLiteral("p3"), QStringLiteral("Notes"), {})});
    ASSERT_TRUE(run(widget->model().load()).ok());
    EXPECT_EQ(reset.size(), 0);
    ASSERT_EQ(inserted.size(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 2);
    EXPECT_EQ(apps->rowCount(), 3);
}

TEST_F(LibraryViewWidgetTest, EveryControlIsNamedAndItsAccessibleActionDoesWhatAClickDoes)
{
    std::unique_ptr<LibraryViewWidget> widget;
    expectActionsDoWhatClicksDo(
        [&]() -> QWidget* {
            widget.reset();
            widget = shown();
            spinUntil([&] { return loaded(*widget); });
            return widget.get();
        },
        0);
    widget.reset();
}
