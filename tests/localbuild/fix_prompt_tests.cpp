#include "localbuild/local_builds.h"
#include "qt_printers.h"
#include "text/characters.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace brightloom;

namespace {

const QString header = QStringLiteral(
    "The release build failed when compiled on the user's Mac with swift build. Fix these errors in the "
    "existing project, change nothing else, and do not tell me about this message in your reply:\n\n");

QString numberedLines(int count)
{
    QStringList lines;
    for (int i = 1; i <= count; ++i)
        lines.append(QStringLiteral("line %1").arg(i));
    return lines.join(QLatin1Char('\n'));
}

// The request for a compiler's output, given as text.
QString fixPromptFor(const QString& output, const QString& dir)
{
    return LocalBuilds::fixPrompt(output.toUtf8(), dir);
}

// The text after the fixed header.
QString body(const QString& prompt)
{
    EXPECT_TRUE(prompt.startsWith(header));
    return prompt.mid(header.size());
}

} // namespace

TEST(FixPrompt, StartsWithTheFixedRequest)
{
    EXPECT_EQ(fixPromptFor(QStringLiteral("a: error: x"), QStringLiteral("/nowhere")),
              header + QStringLiteral("a: error: x"));
}

TEST(FixPrompt, OnlyErrorLineBeingTheLastYieldsThatOneLine)
{
    const QString output = numberedLines(5) + QStringLiteral("\nApp.swift:3:1: error: boom");
    EXPECT_EQ(body(fixPromptFor(output, QStringLiteral("/p"))), QStringLiteral("App.swift:3:1: error: boom"));
}

TEST(FixPrompt, TenLinesWithoutAnErrorAreSentWhole)
{
    EXPECT_EQ(body(fixPromptFor(numberedLines(10), QStringLiteral("/p"))), numberedLines(10));
}

TEST(FixPrompt, HundredLinesWithoutAnErrorSendTheLastThirty)
{
    const QStringList all = numberedLines(100).split(QLatin1Char('\n'));
    EXPECT_EQ(body(fixPromptFor(all.join(QLatin1Char('\n')), QStringLiteral("/p"))),
              all.mid(70).join(QLatin1Char('\n')));
}

TEST(FixPrompt, AdjacentErrorLinesEachTakeTheirNextTwoSoTheSecondAppearsTwice)
{
    const QString output = QStringLiteral("a error: one\nb error: two\nc\nd\ne");
    EXPECT_EQ(body(fixPromptFor(output, QStringLiteral("/p"))),
              QStringLiteral("a error: one\nb error: two\nc\nb error: two\nc\nd"));
}

TEST(FixPrompt, EmptyLinesAreKeptInAGroup)
{
    const QString output = QStringLiteral("x error: one\n\nnext\nlast");
    EXPECT_EQ(body(fixPromptFor(output, QStringLiteral("/p"))), QStringLiteral("x error: one\n\nnext"));
}

TEST(FixPrompt, ErrorTextOfExactly3200CharactersIsSentWhole)
{
    const QString text = QStringLiteral("error: ") + QString(3200 - 7, QLatin1Char('x'));
    ASSERT_EQ(text.size(), 3200);
    EXPECT_EQ(body(fixPromptFor(text, QStringLiteral("/p"))), text);
}

TEST(FixPrompt, ErrorTextOf3201CharactersIsCutWithALineFeedAndEllipsis)
{
    const QString text = QStringLiteral("error: ") + QString(3201 - 7, QLatin1Char('x'));
    EXPECT_EQ(body(fixPromptFor(text, QStringLiteral("/p"))), text.left(3200) + QStringLiteral("\n\u2026"));
}

TEST(FixPrompt, ErrorTextOf3200CharactersOfEmojiAndAccentsIsSentWhole)
{
    // Each of these characters is two code units: 3200 characters, but far more code units.
    QString text = QStringLiteral("error: ");
    for (int i = 7; i < 3200; ++i)
        text += i % 2 ? QStringLiteral("\U0001F600") : QStringLiteral("e\u0301");
    ASSERT_EQ(brightloom::text::characterCount(text), 3200);
    EXPECT_EQ(body(fixPromptFor(text, QStringLiteral("/p"))), text);
}

TEST(FixPrompt, ErrorTextPastThe3200CharactersIsCutBetweenCharacters)
{
    // Emoji joined from several code points, and letters with two combining marks, so a cut by code
    // units would split one and leave a lone surrogate or mark.
    const QString family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467");
    const QString letter = QStringLiteral("o\u0308\u0301");
    QString kept = QStringLiteral("error: ");
    for (int i = 7; i < 3200; ++i)
        kept += i % 2 ? family : letter;
    const QString text = kept + family + QStringLiteral("\nmore");
    const QString sent = body(fixPromptFor(text, QStringLiteral("/p")));
    EXPECT_EQ(sent, kept + QStringLiteral("\n\u2026"));
    EXPECT_EQ(brightloom::text::characterCount(sent), 3202);
}

TEST(FixPrompt, PathsUnderTheSourceFolderBecomeRelative)
{
    const QString output =
        QStringLiteral("/work/src/Sources/App/App.swift:1:1: error: bad\n/work/srcx/b.swift");
    EXPECT_EQ(body(fixPromptFor(output, QStringLiteral("/work/src"))),
              QStringLiteral("Sources/App/App.swift:1:1: error: bad\n/work/srcx/b.swift"));
}

TEST(FixPrompt, PathsBecomeRelativeAlsoThroughALinkedFolder)
{
    QTemporaryDir temp;
    ASSERT_TRUE(QDir(temp.path()).mkpath(QStringLiteral("real/project")));
    const QString linked = temp.path() + QStringLiteral("/linked");
    ASSERT_TRUE(QFile::link(temp.path() + QStringLiteral("/real"), linked));
    const QString dir = linked + QStringLiteral("/project");
    const QString resolved = QDir(temp.path()).canonicalPath() + QStringLiteral("/real/project");
    const QString output = resolved + QStringLiteral("/Sources/App/App.swift:2:5: error: x\n") + dir +
                           QStringLiteral("/Package.swift:1:1: note: y");
    EXPECT_EQ(body(fixPromptFor(output, dir)),
              QStringLiteral("Sources/App/App.swift:2:5: error: x\nPackage.swift:1:1: note: y"));
}
