#include "text/control_characters.h"

#include <gtest/gtest.h>

using brightloom::text::visibleControls;

namespace {

QString shown(const char16_t* text)
{
    return visibleControls(QString::fromUtf16(text));
}

} // namespace

TEST(VisibleControlsTest, PlainTextTabsAndLineFeedsPassUnchanged)
{
    EXPECT_EQ(shown(u"Notes 1.0\tready\nnext line"), QStringLiteral("Notes 1.0\tready\nnext line"));
    EXPECT_EQ(shown(u"caf\u00e9 \u2026 \U0001F600"), QString::fromUtf16(u"caf\u00e9 \u2026 \U0001F600"));
}

TEST(VisibleControlsTest, TitleSettingAndScreenClearingSequencesAreShownNotSent)
{
    EXPECT_EQ(shown(u"\x1b]0;owned\a"), QStringLiteral("\\u001B]0;owned\\u0007"));
    EXPECT_EQ(shown(u"hi\x1b[2Jthere"), QStringLiteral("hi\\u001B[2Jthere"));
}

TEST(VisibleControlsTest, LoneCarriageReturnIsShownButOneBeforeALineFeedIsDropped)
{
    EXPECT_EQ(shown(u"safe\rEVIL"), QStringLiteral("safe\\u000DEVIL"));
    EXPECT_EQ(shown(u"one\r\ntwo\r"), QStringLiteral("one\ntwo\\u000D"));
}

TEST(VisibleControlsTest, NulDelAndC1ControlsAreShown)
{
    EXPECT_EQ(visibleControls(QStringView(u"a\0b", 3)), QStringLiteral("a\\u0000b"));
    EXPECT_EQ(shown(u"a\x7f"
                    u"b"),
              QStringLiteral("a\\u007Fb"));
    EXPECT_EQ(shown(u"a\x9b"
                    u"31mb\x85"),
              QStringLiteral("a\\u009B31mb\\u0085"));
    EXPECT_EQ(shown(u"\u00a0"), QString::fromUtf16(u"\u00a0")) << "the first character past C1 is text";
}
