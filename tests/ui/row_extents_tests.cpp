#include "ui/shared/column.h"
#include "ui/shared/row_extents.h"
#include "ui/shared/row_widgets.h"

#include <QWidget>
#include <gtest/gtest.h>

using namespace brightloom::ui;

namespace {

RowExtents rows(std::vector<int> heights, qint64 start = 0, int gap = 0)
{
    RowExtents extents(start, gap);
    extents.assign(std::move(heights));
    return extents;
}

} // namespace

TEST(RowExtentsTest, TopsRunFromTheStartWithTheGapBetweenRows)
{
    const RowExtents extents = rows({10, 20, 30}, 16, 2);
    EXPECT_EQ(extents.top(0), 16);
    EXPECT_EQ(extents.top(1), 28);
    EXPECT_EQ(extents.top(2), 50);
    EXPECT_EQ(extents.bottom(2), 80);
    EXPECT_EQ(extents.end(), 80); // no gap after the last row
    EXPECT_EQ(extents.extent(), 64);
    EXPECT_EQ(RowExtents(16).end(), 16);
}

TEST(RowExtentsTest, NewHeightMovesOnlyTheRowsBelowIt)
{
    RowExtents extents = rows({10, 10, 10, 10});
    EXPECT_EQ(extents.top(3), 30);
    extents.setHeight(1, 25);
    EXPECT_EQ(extents.top(1), 10);
    EXPECT_EQ(extents.top(2), 35);
    EXPECT_EQ(extents.top(3), 45);
    extents.setHeight(0, 5);
    EXPECT_EQ(extents.end(), 50);
}

TEST(RowExtentsTest, InsertAndRemoveGiveHowFarTheRowsAfterThemMoved)
{
    RowExtents extents = rows({10, 10}, 0, 4);
    EXPECT_EQ(extents.insert(1, std::vector<int>{20, 30}), 58);
    EXPECT_EQ(extents.count(), 4);
    EXPECT_EQ(extents.top(3), 10 + 4 + 20 + 4 + 30 + 4);
    EXPECT_EQ(extents.remove(0, 1), 10 + 4 + 20 + 4);
    EXPECT_EQ(extents.top(1), 34);
    EXPECT_EQ(extents.remove(5, 9), 0); // nothing there
    EXPECT_EQ(extents.count(), 2);
}

TEST(RowExtentsTest, RowAtIsClampedToTheRows)
{
    const RowExtents extents = rows({10, 10, 10}, 5);
    EXPECT_EQ(extents.rowAt(-100), 0);
    EXPECT_EQ(extents.rowAt(14), 0);
    EXPECT_EQ(extents.rowAt(15), 1);
    EXPECT_EQ(extents.rowAt(1000), 2);
    EXPECT_EQ(RowExtents().rowAt(0), -1);
}

TEST(RowExtentsTest, BandMeetsTheRowsItTouchesAndNoneInsideAGap)
{
    const RowExtents extents = rows({100, 100, 100}, 0, 20); // rows at 0, 120, 240
    EXPECT_EQ(extents.rowsBetween(0, 99), std::make_pair(0, 1));
    EXPECT_EQ(extents.rowsBetween(50, 130), std::make_pair(0, 2));
    EXPECT_EQ(extents.rowsBetween(100, 119), std::make_pair(0, 0)); // the gap
    EXPECT_EQ(extents.rowsBetween(100, 120), std::make_pair(1, 2));
    EXPECT_EQ(extents.rowsBetween(-50, 1000), std::make_pair(0, 3));
    EXPECT_EQ(extents.rowsBetween(340, 400), std::make_pair(0, 0)); // past the end
    EXPECT_EQ(extents.rowsBetween(-50, -1), std::make_pair(0, 0));
}

TEST(RowExtentsTest, HundredThousandRowsSumOnlyWhatIsAskedFor)
{
    RowExtents extents;
    extents.assign(std::vector<int>(100'000, 3));
    EXPECT_EQ(extents.top(50'000), 150'000);
    extents.setHeight(99'999, 10);
    EXPECT_EQ(extents.end(), 99'999 * 3 + 10);
    EXPECT_EQ(extents.rowAt(150'001), 50'000);
}

TEST(ColumnTest, CentredColumnKeepsItsMarginAndItsMostWidth)
{
    const Column wide = Column::centred(1200, 900, 24);
    EXPECT_EQ(wide.width, 900);
    EXPECT_EQ(wide.left, 150);
    const Column narrow = Column::centred(600, 900, 24);
    EXPECT_EQ(narrow.width, 552);
    EXPECT_EQ(narrow.left, 24);
    EXPECT_EQ(Column::centred(10, 900, 24).width, 1);
}

TEST(RowWidgetsTest, WidgetsThatLeaveTheViewAreHiddenAndShowTheNextRows)
{
    QWidget parent;
    RowWidgets<QWidget> widgets;
    int made = 0;
    const auto make = [&] {
        ++made;
        return new QWidget(&parent);
    };
    for (int row = 0; row < 3; ++row)
        EXPECT_TRUE(widgets.take(row, make).second);
    QWidget* first = widgets.at(0);
    EXPECT_EQ(widgets.take(0, make), std::make_pair(first, false));
    widgets.keepOnly(1, 3);
    EXPECT_EQ(widgets.at(0), nullptr);
    EXPECT_TRUE(first->isHidden());
    const auto [reused, fresh] = widgets.take(3, make);
    EXPECT_EQ(reused, first);
    EXPECT_TRUE(fresh);
    EXPECT_EQ(made, 3);
    EXPECT_EQ(widgets.indexes(), QList<int>({1, 2, 3}));
    widgets.releaseAll();
    EXPECT_TRUE(widgets.shown().isEmpty());
}
