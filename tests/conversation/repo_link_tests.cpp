#include "conversation/repo_link.h"
#include "scripted_dialogs.h"

#include <gtest/gtest.h>

using namespace brightloom;

namespace {

RepoLink detected(const QString& text)
{
    const std::optional<RepoLink> link = RepoLink::detect(text);
    EXPECT_TRUE(link.has_value()) << text.toStdString();
    return link.value_or(RepoLink{});
}

} // namespace

TEST(RepoLinkTest, DotGitLinkInsideASentenceGivesTheCanonicalAddressWithoutRef)
{
    const RepoLink link = detected(QStringLiteral("Please use github.com/Owner/Repo.git as the base."));
    EXPECT_EQ(link.url, QStringLiteral("https://github.com/Owner/Repo"));
    EXPECT_EQ(link.name, QStringLiteral("Repo"));
    EXPECT_FALSE(link.ref.has_value());
    EXPECT_EQ(link.distinct, 1);
}

TEST(RepoLinkTest, MatchingIgnoresCaseWhileTheAddressKeepsOwnerAndNameAsWritten)
{
    const RepoLink link = detected(QStringLiteral("see https://www.GitHub.COM/a/b/tree/main/ please"));
    EXPECT_EQ(link.ref, QStringLiteral("main"));
    EXPECT_EQ(link.url, QStringLiteral("https://github.com/a/b"));

    // Owner and name in mixed case: the address has the canonical host and the owner and name as
    // typed, whatever the case of the rest of the link.
    for (const QString& text : {QStringLiteral("https://www.GitHub.COM/Ab/Cd/tree/main/"),
                                QStringLiteral("HTTPS://WWW.GITHUB.COM/Ab/Cd/TREE/main/")}) {
        const RepoLink mixed = detected(text);
        EXPECT_EQ(mixed.url, QStringLiteral("https://github.com/Ab/Cd")) << text.toStdString();
        EXPECT_EQ(mixed.name, QStringLiteral("Cd")) << text.toStdString();
        EXPECT_EQ(mixed.ref, QStringLiteral("main")) << text.toStdString();
        EXPECT_EQ(mixed.distinct, 1) << text.toStdString();
    }
}

TEST(RepoLinkTest, RefHoldingTwoDotsIsDroppedButTheLinkIsKept)
{
    const RepoLink link = detected(QStringLiteral("github.com/a/b/tree/a..b"));
    EXPECT_EQ(link.url, QStringLiteral("https://github.com/a/b"));
    EXPECT_FALSE(link.ref.has_value());
}

TEST(RepoLinkTest, TrailingDotsOfTheNameAreRemovedAndANameOfDotsIsIgnored)
{
    EXPECT_EQ(detected(QStringLiteral("github.com/o/repo...")).name, QStringLiteral("repo"));
    EXPECT_FALSE(RepoLink::detect(QStringLiteral("github.com/o/...")).has_value());
    EXPECT_FALSE(RepoLink::detect(QStringLiteral("github.com/o/.")).has_value());
    // A name of dots before a usable link does not hide it.
    EXPECT_EQ(detected(QStringLiteral("github.com/o/.. and github.com/p/q")).url,
              QStringLiteral("https://github.com/p/q"));
}

TEST(RepoLinkTest, NameEndingInDotGitLosesItOnceThenItsTrailingDots)
{
    EXPECT_EQ(detected(QStringLiteral("github.com/o/x.git.git")).name, QStringLiteral("x.git"));
    EXPECT_EQ(detected(QStringLiteral("github.com/o/x..git")).name, QStringLiteral("x"));
    EXPECT_FALSE(RepoLink::detect(QStringLiteral("github.com/o/.git")).has_value());
}

TEST(RepoLinkTest, RefLosesTrailingDotsAndSlashes)
{
    EXPECT_EQ(detected(QStringLiteral("github.com/o/r/tree/release/1.0./")).ref,
              QStringLiteral("release/1.0"));
    EXPECT_FALSE(detected(QStringLiteral("github.com/o/r/tree/a/../b")).ref.has_value());
}

TEST(RepoLinkTest, SecondSpellingOfTheSameRepositoryIsIgnoredAndTheFirstWinsWithItsRef)
{
    const RepoLink link =
        detected(QStringLiteral("github.com/a/b and later https://github.com/A/B/tree/dev, same thing"));
    EXPECT_EQ(link.url, QStringLiteral("https://github.com/a/b"));
    EXPECT_FALSE(link.ref.has_value());
    EXPECT_EQ(link.distinct, 1);
}

TEST(RepoLinkTest, TwoRepositoriesGiveTheFirstWithDistinctTwo)
{
    const RepoLink link = detected(QStringLiteral("merge github.com/a/b with github.com/c/d"));
    EXPECT_EQ(link.url, QStringLiteral("https://github.com/a/b"));
    EXPECT_EQ(link.distinct, 2);
}

TEST(RepoLinkTest, HostRightAfterOtherLettersStillMatches)
{
    EXPECT_EQ(detected(QStringLiteral("mygithub.com/a/b")).url, QStringLiteral("https://github.com/a/b"));
}

TEST(RepoLinkTest, OwnerLongerThanThirtyNineCharactersDoesNotMatchThere)
{
    const QString owner40(40, QLatin1Char('o'));
    EXPECT_FALSE(RepoLink::detect(QString(QStringLiteral("github.com/") + owner40 + QStringLiteral("/repo")))
                     .has_value());
    const QString owner39(39, QLatin1Char('o'));
    EXPECT_EQ(detected(QString(QStringLiteral("github.com/") + owner39 + QStringLiteral("/repo"))).name,
              QStringLiteral("repo"));
}

TEST(RepoLinkTest, TextWithoutALinkDetectsNothing)
{
    EXPECT_FALSE(RepoLink::detect(QStringLiteral("a notes app like the one on gitlab.com/a/b")).has_value());
    EXPECT_FALSE(RepoLink::detect(QString()).has_value());
}

TEST(RepoLinkTest, LinksAreEqualOnlyWhenAllFourFieldsAre)
{
    const RepoLink a{QStringLiteral("https://github.com/a/b"), QStringLiteral("main"), QStringLiteral("b"),
                     1};
    RepoLink b = a;
    EXPECT_EQ(a, b);
    b.distinct = 2;
    EXPECT_NE(a, b);
    b = a;
    b.ref.reset();
    EXPECT_NE(a, b);
}

TEST(RepoLinkTest, ConfirmAsksWithTheExactAlertAndItsThreeButtonsInOrder)
{
    ScriptedDialogs dialogs;
    dialogs.pressNext(0);
    const RepoLink link = detected(QStringLiteral("github.com/o/Notes"));
    EXPECT_EQ(link.confirm(dialogs), RepoLink::Choice::importAndBuild);
    ASSERT_EQ(dialogs.shown().size(), 1);
    const Alert& alert = dialogs.shown().front();
    EXPECT_EQ(alert.style, Alert::Style::warning);
    EXPECT_EQ(alert.message, QStringLiteral("Build from the GitHub repo Notes?"));
    EXPECT_EQ(alert.informativeText,
              QStringLiteral(
                  "The cloud rewrites that project's code into a new app, then your Mac compiles it with "
                  "Xcode and you can run it. Neither step reviews the code for you, so only continue if "
                  "you trust the repository's owner. The app will be marked unsafe and can't be shared "
                  "as a template.\n\nOr build without importing: the link is then just text in your "
                  "request."));
    EXPECT_EQ(alert.buttons,
              (QStringList{QStringLiteral("Import and build"), QStringLiteral("Build without importing"),
                           QStringLiteral("Cancel")}));
}

TEST(RepoLinkTest, ConfirmMapsTheSecondButtonToBuildWithoutImportingAndAnythingElseToCancel)
{
    ScriptedDialogs dialogs;
    const RepoLink link = detected(QStringLiteral("github.com/o/r"));
    dialogs.pressNext(1);
    EXPECT_EQ(link.confirm(dialogs), RepoLink::Choice::buildWithoutImporting);
    dialogs.pressNext(2);
    EXPECT_EQ(link.confirm(dialogs), RepoLink::Choice::cancel);
    dialogs.closeNext();
    EXPECT_EQ(link.confirm(dialogs), RepoLink::Choice::cancel);
}

TEST(RepoLinkTest, LongRunsOfDotsAndSlashesAreDetectedWithoutStalling)
{
    // A megabyte of near-misses: every position starts a partial match that must fail quickly.
    QString text;
    text.reserve(1 << 20);
    while (text.size() < (1 << 20))
        text += QStringLiteral("github.com/a/..//github.com/-/./");
    text += QStringLiteral("github.com/real/one");
    const std::optional<RepoLink> link = RepoLink::detect(text);
    ASSERT_TRUE(link.has_value());
    EXPECT_EQ(link->url, QStringLiteral("https://github.com/real/one"));
    EXPECT_EQ(link->distinct, 1);
}
