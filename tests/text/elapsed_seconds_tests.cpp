#include "text/elapsed_seconds.h"

#include <gtest/gtest.h>

using namespace brightloom;

namespace {

const QDateTime start = QDateTime::fromString(QStringLiteral("2024-05-01T10:00:00Z"), Qt::ISODate);

QString after(qint64 milliseconds)
{
    return ElapsedSeconds::text(start, start.addMSecs(milliseconds));
}

} // namespace

TEST(ElapsedSecondsTest, FiftyNinePointNineSecondsShowFiftyNine)
{
    EXPECT_EQ(after(59'900), QStringLiteral("59s"));
}

TEST(ElapsedSecondsTest, SixtySecondsShowOneMinuteZeroSeconds)
{
    EXPECT_EQ(after(60'000), QStringLiteral("1m 0s"));
}

TEST(ElapsedSecondsTest, ThreeThousandSevenHundredTwentyFiveSecondsShowSixtyTwoMinutesFive)
{
    EXPECT_EQ(after(3'725'000), QStringLiteral("62m 5s"));
}

TEST(ElapsedSecondsTest, SinceInTheFutureShowsZero)
{
    EXPECT_EQ(after(-5'000), QStringLiteral("0s"));
    EXPECT_EQ(after(-400), QStringLiteral("0s"));
}

TEST(ElapsedSecondsTest, WholeSecondsUnderAMinuteShowOnlySeconds)
{
    EXPECT_EQ(ElapsedSeconds::text(0), QStringLiteral("0s"));
    EXPECT_EQ(ElapsedSeconds::text(42), QStringLiteral("42s"));
    EXPECT_EQ(ElapsedSeconds::text(125), QStringLiteral("2m 5s"));
    EXPECT_EQ(ElapsedSeconds::text(-1), QStringLiteral("0s"));
}
