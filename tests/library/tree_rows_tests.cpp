#include "library/tree_rows.h"
#include "library_fixture.h"
#include "qt_printers.h"
#include "service/record_codec.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

LibraryDetail decodeDetail(const QJsonObject& detail)
{
    return decodeRecord<LibraryDetail>(compact(detail));
}

std::vector<TreeRow> rowsOf(const QJsonArray& tree)
{
    return TreeRows::flatten(
        decodeDetail(detailJson(appJson(QStringLiteral("p"), QStringLiteral("A"), {}), tree)).tree);
}

// "depth|text|detail" per row, to compare whole listings at once.
QStringList listing(const std::vector<TreeRow>& rows)
{
    QStringList lines;
    for (const TreeRow& row : rows)
        lines.append(QString::number(row.depth) + QLatin1Char('|') + row.text + QLatin1Char('|') +
                     row.detail);
    return lines;
}

QByteArray fixture(const char* name)
{
    QFile file(QStringLiteral(BRIGHTLOOM_FIXTURES_DIR "/") + QString::fromLatin1(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

TreeRow versionRow(const QString& jobId, bool hasSource)
{
    TreeRow row;
    row.jobId = jobId;
    row.hasSource = hasSource;
    return row;
}

} // namespace

TEST(TreeRowsTest, VersionComesBeforeItsForksWhoseVersionsSitOneLevelDeeperThenItsPrivateForks)
{
    const auto detail = decodeRecord<LibraryDetail>(fixture("library_detail.json"));
    EXPECT_EQ(listing(TreeRows::flatten(detail.tree)),
              (QStringList{QStringLiteral("0|Version 1.0|First"), QStringLiteral("0|Fork: Timer Fork|"),
                           QStringLiteral("1|Version 1.0|Fork it"), QStringLiteral("1|Fork: Deeper (yours)|"),
                           QStringLiteral("2|Version 1.0|Again"), QStringLiteral("0|3 private forks|"),
                           QStringLiteral("0|Version 1.1|Bigger")}));
}

TEST(TreeRowsTest, VersionRowShowsItsSummaryElseItsRequestOnOneLine)
{
    const auto rows = rowsOf({nodeJson(QStringLiteral("j1"), QStringLiteral("1.0"), QStringLiteral("A timer"),
                                       QStringLiteral("First")),
                              nodeJson(QStringLiteral("j2"), QStringLiteral("1.1"),
                                       QStringLiteral("Make it\nbigger\r\nand blue"))});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].detail, QStringLiteral("First"));
    EXPECT_EQ(rows[1].detail, QStringLiteral("Make it bigger  and blue"));
    EXPECT_EQ(rows[1].jobId, QStringLiteral("j2"));
    EXPECT_EQ(rows[1].kind, TreeRow::Kind::version);
}

TEST(TreeRowsTest, NoPrivateForksShowNoLine)
{
    const auto rows =
        rowsOf({nodeJson(QStringLiteral("j1"), QStringLiteral("1.0"), QStringLiteral("p"), {}, {}, 0)});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].kind, TreeRow::Kind::version);
}

TEST(TreeRowsTest, OnePrivateForkUsesTheSingularWord)
{
    const auto rows =
        rowsOf({nodeJson(QStringLiteral("j1"), QStringLiteral("1.0"), QStringLiteral("p"), {}, {}, 1)});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].kind, TreeRow::Kind::privateForks);
    EXPECT_EQ(rows[1].text, QStringLiteral("1 private fork"));
}

TEST(TreeRowsTest, TwoPrivateForksUseThePluralWord)
{
    EXPECT_EQ(TreeRows::privateForksLine(2), QStringLiteral("2 private forks"));
}

TEST(TreeRowsTest, ForkOfSomeoneElseHasNoYours)
{
    const auto rows =
        rowsOf({nodeJson(QStringLiteral("j1"), QStringLiteral("1.0"), QStringLiteral("p"), {},
                         {forkJson(QStringLiteral("f1"), QStringLiteral("Their Timer"), false, {}),
                          forkJson(QStringLiteral("f2"), QStringLiteral("My Timer"), true, {})})});
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[1].text, QStringLiteral("Fork: Their Timer"));
    EXPECT_EQ(rows[2].text, QStringLiteral("Fork: My Timer (yours)"));
}

TEST(TreeRowsTest, TreeHundredThousandLevelsDeepIsListedWithoutRecursion)
{
    const int levels = 100'000;
    const auto detail = decodeRecord<LibraryDetail>(deepTreeDetail(levels));
    const auto rows = TreeRows::flatten(detail.tree);
    ASSERT_EQ(rows.size(), std::size_t(levels));
    EXPECT_EQ(rows.front().depth, 0);
    EXPECT_EQ(rows.back().kind, TreeRow::Kind::fork);
    EXPECT_EQ(rows.back().depth, levels / 2 - 1);
    EXPECT_EQ(rows[rows.size() - 2].text, QStringLiteral("Version 1.0"));
}

TEST(TreeRowsTest, ListingOnThePoolGivesTheSameRows)
{
    const auto detail = decodeRecord<LibraryDetail>(fixture("library_detail.json"));
    auto future = TreeRows::flattenInBackground(detail.tree);
    future.waitForFinished();
    EXPECT_EQ(listing(*future.result()), listing(TreeRows::flatten(detail.tree)));
}

TEST(TreeRowsTest, TemplateButtonIsEnabledWhenTheTreeAllowsItAndNoForkRuns)
{
    const TemplateButton button = TreeRows::templateButton(versionRow(QStringLiteral("j1"), true), true, {});
    EXPECT_EQ(button.label, QStringLiteral("Use as template"));
    EXPECT_TRUE(button.enabled);
    EXPECT_EQ(button.help, QStringLiteral("Start a new project from this build"));
}

TEST(TreeRowsTest, VersionBeingForkedReadsStartingAndTheOthersAreDisabled)
{
    const QString forking = QStringLiteral("j1");
    const TemplateButton forked =
        TreeRows::templateButton(versionRow(QStringLiteral("j1"), true), true, forking);
    const TemplateButton other =
        TreeRows::templateButton(versionRow(QStringLiteral("j2"), true), true, forking);
    EXPECT_EQ(forked.label, QStringLiteral("Starting\u2026"));
    EXPECT_FALSE(forked.enabled);
    EXPECT_EQ(other.label, QStringLiteral("Use as template"));
    EXPECT_FALSE(other.enabled);
}

TEST(TreeRowsTest, TreeThatMayNotBeTemplatedDisablesEveryButton)
{
    EXPECT_FALSE(TreeRows::templateButton(versionRow(QStringLiteral("j1"), true), false, {}).enabled);
}

TEST(TreeRowsTest, BuildWithoutSourceCannotBeAStartAndSaysWhy)
{
    const TemplateButton button = TreeRows::templateButton(versionRow(QStringLiteral("j1"), false), true, {});
    EXPECT_FALSE(button.enabled);
    EXPECT_EQ(button.label, QStringLiteral("Use as template"));
    EXPECT_EQ(button.help,
              QStringLiteral("This build did not keep its source, so it cannot start a new project."));
}
