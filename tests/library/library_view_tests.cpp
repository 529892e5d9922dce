#include "library/library_view.h"
#include "library_fixture.h"
#include "qt_printers.h"
#include "service/api.h"
#include "task_runner.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

class LibraryViewTest : public ScriptedServiceTest
{
protected:
    void serveApps(const QJsonArray& apps)
    {
        on(QStringLiteral("GET /api/library"),
           ScriptedReply::json(200, compact({{QStringLiteral("apps"), apps}})));
    }

    QJsonArray versions(int count)
    {
        QJsonArray list;
        for (int i = count; i >= 1; --i)
            list.append(
                versionJson({QStringLiteral("j%1").arg(i), QStringLiteral("1.%1").arg(i - 1)}, base()));
        return list;
    }

    void load(LibraryView& view)
    {
        const auto done = run(view.load());
        ASSERT_TRUE(done.ok()) << done.errorText().toStdString();
    }

    LibraryApp app(int versionCount)
    {
        LibraryApp app;
        app.name = QStringLiteral("Focus");
        for (int i = versionCount; i >= 1; --i) {
            LibraryVersion version;
            version.version = QStringLiteral("1.%1").arg(i - 1);
            app.versions.append(version);
        }
        return app;
    }

    API api;
    QStringList opened;
};

} // namespace

TEST_F(LibraryViewTest, AppWithOneVersionSaysVersionInTheSingular)
{
    EXPECT_EQ(LibraryView::versionLine(app(1)), QStringLiteral("Version 1.0 \u00B7 1 version"));
}

TEST_F(LibraryViewTest, AppWithTwoVersionsSaysVersionsInThePluralAndNamesTheNewest)
{
    EXPECT_EQ(LibraryView::versionLine(app(2)), QStringLiteral("Version 1.1 \u00B7 2 versions"));
}

TEST_F(LibraryViewTest, AppWithoutVersionsIsCountedAlone)
{
    EXPECT_EQ(LibraryView::versionLine(app(0)), QStringLiteral("0 versions"));
}

TEST_F(LibraryViewTest, IsNotLoadedAndShowsNothingBeforeTheFirstLoad)
{
    LibraryView view(api, {});
    EXPECT_FALSE(view.loaded());
    EXPECT_TRUE(view.apps().isEmpty());
    EXPECT_FALSE(view.showsEmptyText());
    EXPECT_FALSE(view.selected().has_value());
}

TEST_F(LibraryViewTest, LoadKeepsTheServicesOrderAndMarksLoaded)
{
    serveApps({appJson(QStringLiteral("p2"), QStringLiteral("Timer"), versions(1)),
               appJson(QStringLiteral("p1"), QStringLiteral("Notes"), versions(2))});
    LibraryView view(api, {});
    QSignalSpy loaded(&view, &LibraryView::loadedChanged);
    load(view);
    EXPECT_TRUE(view.loaded());
    EXPECT_EQ(loaded.size(), 1);
    ASSERT_EQ(view.apps().size(), 2);
    EXPECT_EQ(view.apps()[0].name, QStringLiteral("Timer"));
    EXPECT_EQ(view.apps()[1].versions.size(), 2);
    EXPECT_FALSE(view.error().has_value());
    EXPECT_FALSE(view.showsEmptyText());
}

TEST_F(LibraryViewTest, EmptyLibrarySaysNothingIsHereYet)
{
    serveApps({});
    LibraryView view(api, {});
    load(view);
    EXPECT_TRUE(view.showsEmptyText());
    EXPECT_EQ(LibraryView::emptyText, QStringLiteral("Nothing here yet. Apps you build show up here."));
}

TEST_F(LibraryViewTest, FailedLoadShowsTheErrorMarksLoadedAndLeavesTheListEmpty)
{
    on(QStringLiteral("GET /api/library"), ScriptedReply::json(500, R"({"message":"Library is resting"})"));
    LibraryView view(api, {});
    load(view);
    EXPECT_TRUE(view.loaded());
    EXPECT_EQ(view.error(), QStringLiteral("Library is resting"));
    EXPECT_TRUE(view.apps().isEmpty());
}

TEST_F(LibraryViewTest, LaterSuccessfulLoadClearsTheError)
{
    on(QStringLiteral("GET /api/library"), ScriptedReply::json(500, R"({"message":"Library is resting"})"));
    LibraryView view(api, {});
    load(view);
    serveApps({appJson(QStringLiteral("p1"), QStringLiteral("Notes"), versions(1))});
    load(view);
    EXPECT_FALSE(view.error().has_value());
    EXPECT_EQ(view.apps().size(), 1);
}

TEST_F(LibraryViewTest, ReloadOfAnUnchangedListChangesNothing)
{
    serveApps({appJson(QStringLiteral("p1"), QStringLiteral("Notes"), versions(2))});
    LibraryView view(api, {});
    load(view);
    QSignalSpy changed(&view, &LibraryView::appsChanged);
    load(view);
    EXPECT_EQ(changed.size(), 0);
    EXPECT_EQ(requestsTo(QStringLiteral("/api/library")), 2);
}

TEST_F(LibraryViewTest, SecondLoadWhileTheFirstRunsAsksOnce)
{
    ScriptedReply slow = ScriptedReply::json(200, R"({"apps":[]})");
    slow.delayMs = 200;
    on(QStringLiteral("GET /api/library"), slow);
    LibraryView view(api, {});
    auto first = view.load();
    const auto second = run(view.load());
    ASSERT_TRUE(spinUntil([&] { return view.loaded(); }));
    EXPECT_EQ(requestsTo(QStringLiteral("/api/library")), 1);
}

TEST_F(LibraryViewTest, SelectingAnAppShowsItAndClearingReturnsToTheList)
{
    serveApps({appJson(QStringLiteral("p1"), QStringLiteral("Notes"), versions(1))});
    LibraryView view(api, {});
    load(view);
    QSignalSpy selected(&view, &LibraryView::selectedChanged);
    view.select(QStringLiteral("p1"));
    EXPECT_EQ(view.selected(), QStringLiteral("p1"));
    EXPECT_EQ(view.selectedApp()->name, QStringLiteral("Notes"));
    view.clearSelection();
    EXPECT_FALSE(view.selected().has_value());
    EXPECT_FALSE(view.selectedApp().has_value());
    EXPECT_EQ(selected.size(), 2);
}

TEST_F(LibraryViewTest, KeepsTheActionThatOpensAProject)
{
    LibraryView view(api, [this](QString id) { opened.append(id); });
    view.onOpen()(QStringLiteral("p7"));
    EXPECT_EQ(opened, QStringList{QStringLiteral("p7")});
}
