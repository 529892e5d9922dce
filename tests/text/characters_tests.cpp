#include "text/characters.h"

#include <QStringList>
#include <gtest/gtest.h>

namespace {

// Texts joined in the tests are QStringBuilder expressions: take them as strings.
qsizetype characterCount(const QString& text)
{
    return brightloom::text::characterCount(text);
}
QString firstCharacters(const QString& text, qsizetype n)
{
    return brightloom::text::firstCharacters(text, n);
}
QString lastCharacters(const QString& text, qsizetype n)
{
    return brightloom::text::lastCharacters(text, n);
}

const QString decomposedE = QStringLiteral("e\u0301");                               // e + combining acute
const QString family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467"); // joined emoji
const QString flagFr = QStringLiteral("\U0001F1EB\U0001F1F7");                       // two regional letters
const QString smile = QStringLiteral("\U0001F600");                                  // a surrogate pair

} // namespace

TEST(CharactersTest, CombiningMarkCountsWithItsLetter)
{
    EXPECT_EQ(characterCount(QStringLiteral("Caf") + decomposedE), 4);
    EXPECT_EQ(characterCount(QStringLiteral("Café")), 4);
}

TEST(CharactersTest, EmojiJoinedFromSeveralCodePointsCountsOnce)
{
    EXPECT_EQ(characterCount(family), 1);
    EXPECT_EQ(characterCount(flagFr + flagFr), 2);
    EXPECT_EQ(characterCount(smile + smile), 2);
}

TEST(CharactersTest, FirstCharactersNeverSplitACharacter)
{
    EXPECT_EQ(firstCharacters(QStringLiteral("ab") + decomposedE + QStringLiteral("cd"), 3),
              QStringLiteral("ab") + decomposedE);
    EXPECT_EQ(firstCharacters(smile + smile + smile, 2), smile + smile);
    EXPECT_EQ(firstCharacters(family + QStringLiteral("x"), 1), family);
    EXPECT_EQ(firstCharacters(QStringLiteral("abc"), 10), QStringLiteral("abc"));
    EXPECT_EQ(firstCharacters(QStringLiteral("abc"), 0), QString());
}

TEST(CharactersTest, LastCharactersNeverSplitACharacter)
{
    EXPECT_EQ(lastCharacters(QStringLiteral("ab") + decomposedE, 1), decomposedE);
    EXPECT_EQ(lastCharacters(QStringLiteral("x") + family, 1), family);
    EXPECT_EQ(lastCharacters(smile + smile + smile, 2), smile + smile);
    EXPECT_EQ(lastCharacters(QStringLiteral("abc"), 10), QStringLiteral("abc"));
}

TEST(CharactersTest, LastCharactersPairFlagsFromTheStartOfTheirRun)
{
    // Five regional letters: two flags and one lone letter at the end.
    const QString lone = QStringLiteral("\U0001F1E9");
    const QString text = flagFr + flagFr + lone;
    EXPECT_EQ(lastCharacters(text, 1), lone);
    EXPECT_EQ(lastCharacters(text, 2), flagFr + lone);
}

TEST(CharactersTest, CutsOfALongTextLookOnlyAtItsEndsAndStayExact)
{
    QString text;
    for (int i = 0; i < 50'000; ++i)
        text += decomposedE + smile + QLatin1Char('a');
    EXPECT_EQ(characterCount(text), 150'000);
    const QString tail = lastCharacters(text, 300);
    EXPECT_EQ(characterCount(tail), 300);
    EXPECT_TRUE(text.endsWith(tail));
    EXPECT_EQ(tail.size(), 100 * (2 + 2 + 1));
    const QString head = firstCharacters(text, 3200);
    EXPECT_EQ(characterCount(head), 3200);
    EXPECT_TRUE(text.startsWith(head));
}

TEST(CharactersTest, LongRunOfCombiningMarksStaysOneCharacterAtEitherEnd)
{
    const QString zalgo = QStringLiteral("Z") + QString(2000, QChar(0x0301));
    EXPECT_EQ(firstCharacters(zalgo + QStringLiteral("ab"), 1), zalgo);
    EXPECT_EQ(lastCharacters(QStringLiteral("ab") + zalgo, 1), zalgo);
    EXPECT_EQ(lastCharacters(QStringLiteral("ab") + zalgo, 2), QStringLiteral("b") + zalgo);
}

TEST(CharactersTest, EachCharacterIsHandedOverWholeUntilTheVisitorStops)
{
    QStringList seen;
    const QString text = QStringLiteral("a") + decomposedE + flagFr + family + smile + QStringLiteral("z");
    brightloom::text::forEachCharacter(text, [&seen](QStringView character) {
        seen.append(character.toString());
        return true;
    });
    EXPECT_EQ(seen, QStringList() << QStringLiteral("a") << decomposedE << flagFr << family << smile
                                  << QStringLiteral("z"));
    seen.clear();
    brightloom::text::forEachCharacter(text, [&seen](QStringView character) {
        seen.append(character.toString());
        return seen.size() < 2;
    });
    EXPECT_EQ(seen, QStringList() << QStringLiteral("a") << decomposedE);
    brightloom::text::forEachCharacter(QString(), [](QStringView) {
        ADD_FAILURE() << "an empty text has no characters";
        return true;
    });
}
