#include "conversation/chips_layout.h"
#include "conversation/composer_counter.h"
#include "conversation/ideas.h"

#include <gtest/gtest.h>

using namespace brightloom;

TEST(ChipsLayoutTest, ChipsFillARowThenWrapWithTheSpacingBetweenRows)
{
    ChipsLayout layout;
    layout.spacing = 8;
    const auto placed = layout.arrange({QSizeF(100, 20), QSizeF(100, 30), QSizeF(100, 20)}, 220);
    ASSERT_EQ(placed.positions.size(), 3);
    EXPECT_EQ(placed.positions[0], QPointF(0, 0));
    EXPECT_EQ(placed.positions[1], QPointF(108, 0));
    EXPECT_EQ(placed.positions[2], QPointF(0, 38)); // row height 30 plus spacing
    EXPECT_EQ(placed.size, QSizeF(208, 58));
}

TEST(ChipsLayoutTest, ChipWiderThanTheWidthGetsARowOfItsOwnAndIsNotShrunk)
{
    ChipsLayout layout;
    layout.spacing = 10;
    const auto placed = layout.arrange({QSizeF(50, 20), QSizeF(500, 20), QSizeF(50, 20)}, 200);
    EXPECT_EQ(placed.positions[0], QPointF(0, 0));
    EXPECT_EQ(placed.positions[1], QPointF(0, 30));
    EXPECT_EQ(placed.positions[2], QPointF(0, 60));
    EXPECT_EQ(placed.size, QSizeF(500, 80));
}

TEST(ChipsLayoutTest, FirstChipOfARowIsNeverMovedEvenWhenTooWide)
{
    ChipsLayout layout;
    const auto placed = layout.arrange({QSizeF(300, 20)}, 100);
    EXPECT_EQ(placed.positions[0], QPointF(0, 0));
    EXPECT_EQ(placed.size, QSizeF(300, 20));
}

TEST(ChipsLayoutTest, ChipThatEndsExactlyAtTheWidthStaysOnTheRow)
{
    ChipsLayout layout;
    layout.spacing = 0;
    const auto placed = layout.arrange({QSizeF(60, 10), QSizeF(40, 10)}, 100);
    EXPECT_EQ(placed.positions[1], QPointF(60, 0));
    EXPECT_EQ(placed.size, QSizeF(100, 10));
}

TEST(ChipsLayoutTest, NoChipsTakeNoRoom)
{
    EXPECT_EQ(ChipsLayout().arrange({}, 300).size, QSizeF(0, 0));
}

TEST(ComposerCounterTest, HiddenAt6799ShownAt6800ForALimitOf8000)
{
    EXPECT_EQ(ComposerCounter::threshold(8000), 6800);
    EXPECT_FALSE(ComposerCounter::forCount(6799, 8000).shown);
    EXPECT_TRUE(ComposerCounter::forCount(6800, 8000).shown);
}

TEST(ComposerCounterTest, ThresholdIsTheWholePartOfEightyFivePercent)
{
    EXPECT_EQ(ComposerCounter::threshold(10), 8);  // 8.5
    EXPECT_EQ(ComposerCounter::threshold(99), 84); // 84.15
    EXPECT_EQ(ComposerCounter::threshold(20), 17);
}

TEST(ComposerCounterTest, ReadsCountSlashLimitAndSpeaksCountOfLimitCharacters)
{
    const ComposerCounter counter = ComposerCounter::forCount(6812, 8000);
    EXPECT_EQ(counter.text, QStringLiteral("6812/8000"));
    EXPECT_EQ(counter.spoken, QStringLiteral("6812 of 8000 characters"));
    EXPECT_FALSE(counter.atLimit);
}

TEST(ComposerCounterTest, TurnsRedAtTheLimit)
{
    EXPECT_FALSE(ComposerCounter::forCount(7999, 8000).atLimit);
    EXPECT_TRUE(ComposerCounter::forCount(8000, 8000).atLimit);
}

TEST(IdeasTest, IdeaListHoldsTheThreeProductIdeasAndMoreOfOurs)
{
    const QStringList ideas = appIdeas();
    EXPECT_TRUE(ideas.contains(QStringLiteral("A menu bar timer with a Pomodoro countdown")));
    EXPECT_TRUE(ideas.contains(QStringLiteral("A Markdown notes app with a live preview")));
    EXPECT_TRUE(ideas.contains(QStringLiteral("A tool that renames files in bulk")));
    EXPECT_GT(ideas.size(), 3);
}
