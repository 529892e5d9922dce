#include "ui/conversation/bubble_selection.h"

#include <QStringListModel>
#include <gtest/gtest.h>

using namespace brightloom::ui;

namespace {

struct BubbleSelectionTest : ::testing::Test
{
    QStringListModel model{
        {QStringLiteral("first message"), QStringLiteral("second one"), QStringLiteral("third")}};
    BubbleSelection selection;

    void SetUp() override { selection.setModel(&model); }
};

} // namespace

TEST_F(BubbleSelectionTest, SelectedTextRunsAcrossRowsAsParagraphs)
{
    EXPECT_TRUE(selection.set({0, 6}, {1, 6}));
    EXPECT_EQ(selection.text(), QStringLiteral("message\n\nsecond"));
    EXPECT_EQ(selection.charactersOf(0), std::make_pair(6, 13));
    EXPECT_EQ(selection.charactersOf(1), std::make_pair(0, 6));
    EXPECT_EQ(selection.charactersOf(2), std::make_pair(0, 0));
    EXPECT_FALSE(selection.set({0, 6}, {1, 6})); // nothing changed
}

TEST_F(BubbleSelectionTest, SelectionMadeBackwardsReadsFromItsStart)
{
    selection.set({1, 3}, {0, 14 - 1});
    EXPECT_EQ(selection.start(), TextPoint({0, 13}));
    EXPECT_EQ(selection.end(), TextPoint({1, 3}));
    EXPECT_EQ(selection.text(), QStringLiteral("\n\nsec"));
}

TEST_F(BubbleSelectionTest, SelectionStaysOnItsTextWhenRowsArePutInOrTakenOutAboveIt)
{
    selection.set({1, 0}, {2, 5});
    const QString before = selection.text();
    model.insertRows(0, 2);
    EXPECT_EQ(selection.start(), TextPoint({3, 0}));
    EXPECT_EQ(selection.text(), before);
    model.removeRows(0, 3);
    EXPECT_EQ(selection.start(), TextPoint({0, 0}));
    EXPECT_EQ(selection.text(), before);
    EXPECT_FALSE(selection.lost());
}

TEST_F(BubbleSelectionTest, TakingOutARowThatHoldsAnEndEndsTheSelection)
{
    selection.set({0, 2}, {1, 4});
    model.removeRows(1, 1);
    EXPECT_TRUE(selection.lost());
    EXPECT_TRUE(selection.isEmpty());
    EXPECT_TRUE(selection.clear());
    EXPECT_FALSE(selection.lost());
    EXPECT_FALSE(selection.clear());
}

TEST_F(BubbleSelectionTest, DoubleClickWordAndSelectAll)
{
    EXPECT_TRUE(selection.selectWordAt({0, 8}));
    EXPECT_EQ(selection.text(), QStringLiteral("message"));
    EXPECT_TRUE(selection.selectAll());
    EXPECT_EQ(selection.text(), QStringLiteral("first message\n\nsecond one\n\nthird"));
}
