// The library in the window against the stand-in service: from the list to an app's page, a
// version's download and a new project started from it.

#include "library/library_detail_view.h"
#include "library/library_view.h"
#include "library_service.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "task_runner.h"
#include "ui/app/window_screens.h"
#include "ui/library/library_detail_view_widget.h"
#include "ui/library/library_view_widget.h"
#include "ui/library/tree_row_widget.h"
#include "ui/library/version_row_widget.h"

#include <QFileInfo>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

TEST(LibraryServiceWidgetTest, AppBuiltByTheServiceOpensDownloadsAndStartsANewProject)
{
    LibraryService service;
    const QString notes = service.builtProject(QStringLiteral("a notes app"));
    IconLoader icons{QString()};
    RecordingDesktop desktop;
    QStringList opened;
    const std::unique_ptr<LibraryViewWidget> screen(
        libraryScreen(service.api(), icons, desktop, [&opened](QString id) { opened.append(id); }));
    LibraryViewWidget& widget = *screen;
    widget.resize(900, 900);
    widget.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
    ASSERT_TRUE(spinUntil([&] { return widget.model().loaded(); }));
    QListView* list = widget.list();
    ASSERT_EQ(list->model()->rowCount(), 1);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(list->model()->index(0, 0)).center());
    LibraryDetailViewWidget* detail = widget.detail();
    ASSERT_NE(detail, nullptr);
    ASSERT_TRUE(spinUntil([&] { return detail->treeRow(0) != nullptr; }));

    VersionRowWidget* version = detail->versionRow(0);
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(version->downloadButton()->text(), QStringLiteral("Download .dmg"));
    QTest::mouseClick(version->downloadButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return detail->versionRow(0)->showInFinderButton()->isVisible(); }));
    ASSERT_EQ(desktop.openedFiles().size(), 1);
    EXPECT_EQ(QFileInfo(desktop.openedFiles()[0]).fileName(), QStringLiteral("Notes 1.0.dmg"));

    QTest::mouseClick(detail->treeRow(0)->templateButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return !opened.isEmpty(); }));
    EXPECT_NE(opened[0], notes);
}
