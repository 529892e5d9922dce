#include "text/file_names.h"

#include <gtest/gtest.h>

using brightloom::text::fileNameProblem;

namespace {

std::optional<QString> problem(const char16_t* name)
{
    return fileNameProblem(QString::fromUtf16(name));
}

} // namespace

TEST(FileNamesTest, OrdinaryNamesAreTaken)
{
    EXPECT_EQ(problem(u"Notes 1.0"), std::nullopt);
    EXPECT_EQ(problem(u"Tom & Jerry <3> 2.0"), std::nullopt);
    EXPECT_EQ(problem(u"Caf\u00e9 \u65e5\u8a18 1..2"), std::nullopt) << "dots inside a name are harmless";
    EXPECT_EQ(problem(u"A-B"), std::nullopt);
}

TEST(FileNamesTest, EmptyNamesAndNamesStartingWithADotAreRefused)
{
    EXPECT_EQ(problem(u""), QStringLiteral("it is empty"));
    EXPECT_EQ(problem(u"."), QStringLiteral("it starts with a dot"));
    EXPECT_EQ(problem(u".."), QStringLiteral("it starts with a dot"));
    EXPECT_EQ(problem(u".hidden"), QStringLiteral("it starts with a dot"));
}

TEST(FileNamesTest, PathSeparatorsAreRefused)
{
    EXPECT_EQ(problem(u"../../.bashrc"), QStringLiteral("it starts with a dot"));
    EXPECT_EQ(problem(u"a/../../b"), QStringLiteral("it holds a path separator"));
}

TEST(FileNamesTest, NulLineEndsAndOtherControlCharactersAreRefused)
{
    for (const QString& name : {QStringView(u"a\0b", 3).toString(), QStringLiteral("a\nb"),
                                QStringLiteral("a\rb"), QStringLiteral("a\tb"), QStringLiteral("a\x1b[2Jb"),
                                QString::fromUtf16(u"a\x7f"), QString::fromUtf16(u"a\x85")})
        EXPECT_EQ(fileNameProblem(name), QStringLiteral("it holds a control character"))
            << name.toStdString();
}

TEST(FileNamesTest, MarksThatReorderTextAreRefused)
{
    for (const char16_t* name : {u"Notes\u202egmd.ppa", u"a\u202ab", u"a\u2066b", u"a\u200fb", u"a\u061cb"})
        EXPECT_EQ(problem(name), QStringLiteral("it holds a mark that reorders text"));
}

TEST(FileNamesTest, NamesOverTwoHundredBytesAreRefused)
{
    EXPECT_EQ(fileNameProblem(QString(200, QLatin1Char('a'))), std::nullopt);
    EXPECT_EQ(fileNameProblem(QString(201, QLatin1Char('a'))), QStringLiteral("it is longer than 200 bytes"));
    EXPECT_EQ(fileNameProblem(QString(100, QChar(0x00e9))), std::nullopt) << "100 characters of two bytes";
    EXPECT_EQ(fileNameProblem(QString(101, QChar(0x00e9))), QStringLiteral("it is longer than 200 bytes"));
    EXPECT_EQ(fileNameProblem(QString(10000, QLatin1Char('x'))),
              QStringLiteral("it is longer than 200 bytes"));
}
