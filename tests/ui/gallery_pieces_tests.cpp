#include "ui/library/gallery_grid_geometry.h"
#include "ui/shared/busy_spinner.h"
#include "ui/shared/elided_label.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace brightloom::ui;

TEST(GalleryGridGeometryTest, FitsAsManyColumnsOfAtLeast210AsTheWidthHoldsAndSharesTheRest)
{
    const GalleryGridGeometry four = GalleryGridGeometry::forWidth(900, 200);
    EXPECT_EQ(four.columns, 4);
    EXPECT_EQ(four.tileWidth, (900 - 3 * 12) / 4);
    EXPECT_EQ(GalleryGridGeometry::forWidth(4 * 210 + 3 * 12, 200).columns, 4);
    EXPECT_EQ(GalleryGridGeometry::forWidth(4 * 210 + 3 * 12 - 1, 200).columns, 3);
    const GalleryGridGeometry narrow = GalleryGridGeometry::forWidth(150, 200);
    EXPECT_EQ(narrow.columns, 1);
    EXPECT_EQ(narrow.tileWidth, 150);
}

TEST(GalleryGridGeometryTest, PlacesTilesRowByRowTwelveApart)
{
    const GalleryGridGeometry g = GalleryGridGeometry::forWidth(900, 200);
    EXPECT_EQ(g.tileRect(0), QRect(0, 0, g.tileWidth, 200));
    EXPECT_EQ(g.tileRect(1).left(), g.tileWidth + 12);
    EXPECT_EQ(g.tileRect(4), QRect(0, 212, g.tileWidth, 200));
    EXPECT_EQ(g.rows(9), 3);
    EXPECT_EQ(g.height(9), 3 * 200 + 2 * 12);
    EXPECT_EQ(g.height(0), 0);
}

TEST(GalleryGridGeometryTest, TilesBetweenTakesOnlyRowsThatMeetTheBand)
{
    const GalleryGridGeometry g = GalleryGridGeometry::forWidth(900, 200);
    EXPECT_EQ(g.tilesBetween(0, 199, 100), std::make_pair(0, 4));
    EXPECT_EQ(g.tilesBetween(0, 212, 100), std::make_pair(0, 8));
    EXPECT_EQ(g.tilesBetween(200, 211, 100), std::make_pair(0, 0)) << "the gap between two rows";
    EXPECT_EQ(g.tilesBetween(205, 420, 100), std::make_pair(4, 8));
    EXPECT_EQ(g.tilesBetween(-500, 10, 100), std::make_pair(0, 4));
    EXPECT_EQ(g.tilesBetween(0, 100000, 10), std::make_pair(0, 10));
    EXPECT_EQ(g.tilesBetween(5000, 6000, 10), std::make_pair(0, 0));
}

TEST(ElidedLabelTest, CutsTheLastLineWithAnEllipsisAndKeepsTheWholeText)
{
    ElidedLabel label(2);
    const QString text = QStringLiteral("A tagline long enough to need more than two lines in a narrow tile, "
                                        "so it is cut with an ellipsis at the end of the second line.");
    label.setFullText(text);
    label.resize(160, label.sizeHint().height());
    label.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&label));
    EXPECT_TRUE(label.elided());
    EXPECT_EQ(label.text(), text);
    EXPECT_EQ(label.toolTip(), text);
    EXPECT_EQ(label.sizeHint().height(), 2 * label.fontMetrics().lineSpacing());
    label.resize(4000, label.sizeHint().height());
    EXPECT_FALSE(label.elided());
    EXPECT_TRUE(label.toolTip().isEmpty());
}

TEST(BusySpinnerTest, TurnsOnlyWhileShownInTheActiveWindow)
{
    QWidget window;
    auto* spinner = new BusySpinner(16, &window);
    EXPECT_FALSE(spinner->turning());
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_TRUE(spinner->turning());
    spinner->hide();
    EXPECT_FALSE(spinner->turning());
    spinner->show();
    EXPECT_TRUE(spinner->turning());

    // Another window in front: it stands still until its own comes back.
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    EXPECT_FALSE(spinner->turning());
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_TRUE(spinner->turning());
}
