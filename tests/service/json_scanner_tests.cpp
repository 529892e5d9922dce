#include "json_event_log.h"
#include "service/json_scanner.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace brightloom;
using brightloom::testing::ReferenceLog;
using brightloom::testing::ScannerLog;

namespace {

// Documents at the edges of the grammar: each must be accepted or refused as the strict parser does,
// with the same events.
const std::vector<std::string>& edgeDocuments()
{
    static const std::vector<std::string> documents = {
        // Whitespace, literals and the root.
        "",
        " ",
        "{}",
        " {} ",
        "\t\r\n{}\n",
        "[]",
        "[ ]",
        "{ }",
        "null",
        "true",
        "false",
        "nul",
        "tru",
        "truex",
        "[true false]",
        "[null,]",
        "[,]",
        "{,}",
        "{\"a\":1,}",
        "{\"a\" 1}",
        "{\"a\":}",
        "{a:1}",
        "{'a':1}",
        "{\"a\":1}}",
        "[1]]",
        "[[",
        "{\"a\":[}",
        "\xEF\xBB\xBF{}",
        "\xEF\xBB{}",
        "{}\xEF\xBB\xBF",
        "{} x",
        "{}{}",
        "\x0B{}",
        "\x0C{}",
        "{}\0",
        std::string("{}\0", 3),
        std::string("{\"a\0\":1}", 8),
        // Numbers.
        "[0]",
        "[-0]",
        "[01]",
        "[-]",
        "[-01]",
        "[+1]",
        "[.5]",
        "[1.]",
        "[1.5]",
        "[1e5]",
        "[1E+5]",
        "[1e-5]",
        "[1e]",
        "[1e+]",
        "[0x10]",
        "[1_000]",
        "[Infinity]",
        "[NaN]",
        "[-Infinity]",
        "[1e400]",
        "[-1e400]",
        "[1e-400]",
        "[9223372036854775807]",
        "[9223372036854775808]",
        "[-9223372036854775808]",
        "[-9223372036854775809]",
        "[18446744073709551615]",
        "[18446744073709551616]",
        "[123456789012345678901234567890]",
        "[12.0]",
        "[2.5e3]",
        "[0.0000001e-320]",
        "[00]",
        "[1 2]",
        // Strings and escapes.
        "[\"\"]",
        "[\"a\"]",
        "[\"a]",
        "[\"\\\"\"]",
        "[\"\\\\\"]",
        "[\"\\/\"]",
        "[\"\\b\\f\\n\\r\\t\"]",
        "[\"\\a\"]",
        "[\"\\x41\"]",
        "[\"\\u0041\"]",
        "[\"\\u00e9\"]",
        "[\"\\u00E9\"]",
        "[\"\\u004\"]",
        "[\"\\u00G1\"]",
        "[\"\\u0000\"]",
        "[\"\\ud83d\\ude00\"]",
        "[\"\\ud83d\"]",
        "[\"\\ud83dx\"]",
        "[\"\\ud83d\\u0041\"]",
        "[\"\\ude00\"]",
        "[\"\\ude00\\ud83d\"]",
        "[\"\\ud83d\\ud83d\"]",
        "[\"tab\there\"]",
        "[\"line\nbreak\"]",
        "[\"\x7F\"]",
        "[\"\x1F\"]",
        "[\"\\",
        "[\"\\u",
        // UTF-8 inside strings.
        "[\"caf\xC3\xA9\"]",
        "[\"\xE2\x80\xA6\"]",
        "[\"\xF0\x9F\x98\x80\"]",
        "[\"\xC3\"]",
        "[\"\xC0\xAF\"]",
        "[\"\xC1\xBF\"]",
        "[\"\xE0\x80\xAF\"]",
        "[\"\xED\xA0\x80\"]",
        "[\"\xF4\x90\x80\x80\"]",
        "[\"\xF5\x80\x80\x80\"]",
        "[\"\xF0\x9F\x98\"]",
        "[\"\x80\"]",
        "[\"\xFF\"]",
        "[\"\xEF\xBF\xBF\"]",
        "[\"\xF4\x8F\xBF\xBF\"]",
        // Keys.
        "{\"k\\u0065y\":1}",
        "{\"a\":1,\"a\":2}",
        "{\"\":[]}",
        "{\"a\":{\"b\":{\"c\":[1,{\"d\":null}]}}}",
        // UTF-8 outside strings.
        "[\xC3\xA9]",
        "{\"a\":1}\xC3\xA9",
        // Long plain strings, so the wide steps meet quotes, escapes and special bytes at every offset.
        "[\"" + std::string(40, 'x') + "\"]",
        "[\"" + std::string(17, 'x') + "\\n" + std::string(30, 'y') + "\"]",
        "[\"" + std::string(31, 'x') + "\xC3\xA9" + std::string(15, 'y') + "\"]",
        "[\"" + std::string(33, 'x') + "\x01" + "\"]",
        "[\"" + std::string(16, 'x'),
    };
    return documents;
}

// A random JSON-like text from a few hundred bytes of the grammar's own pieces, often one byte off.
std::string randomDocument(std::mt19937& random)
{
    static const std::vector<std::string> pieces = {
        "{",
        "}",
        "[",
        "]",
        ",",
        ":",
        "\"",
        "\"k\"",
        "\"key\"",
        "\"a\\u00e9\"",
        "0",
        "-",
        "1",
        "12",
        ".",
        "e",
        "E+",
        "-3",
        "1e400",
        "9223372036854775808",
        "true",
        "false",
        "null",
        "nul",
        " ",
        "\n",
        "\\",
        "\\u",
        "d83d",
        "\\ud83d\\ude00",
        "\xC3",
        "\xA9",
        "\xF0\x9F\x98\x80",
        "\xED\xA0\x80",
        "\x01",
        "x",
        "\"plain text of some length\"",
    };
    std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
    std::uniform_int_distribution<int> count(1, 24);
    std::string text;
    const int n = count(random);
    for (int i = 0; i < n; ++i)
        text += pieces[pick(random)];
    return text;
}

// A well-formed document, nested at random, so the random test sees many accepted texts too.
std::string randomValue(std::mt19937& random, int depth)
{
    std::uniform_int_distribution<int> kind(0, depth > 4 ? 5 : 7);
    switch (kind(random)) {
    case 0:
        return "null";
    case 1:
        return std::to_string(
            std::uniform_int_distribution<long long>(-1'000'000'000'000LL, 1'000'000'000'000LL)(random));
    case 2:
        return "2.5e" + std::to_string(std::uniform_int_distribution<int>(-400, 400)(random));
    case 3:
        return "\"v\\u00e9\\n\xE2\x80\xA6\"";
    case 4:
        return "true";
    case 5:
        return "\"" + std::string(std::uniform_int_distribution<int>(0, 40)(random), 's') + "\"";
    case 6: {
        std::string array = "[";
        const int n = std::uniform_int_distribution<int>(0, 3)(random);
        for (int i = 0; i < n; ++i)
            array += (i ? "," : "") + randomValue(random, depth + 1);
        return array + "]";
    }
    default: {
        std::string object = "{";
        const int n = std::uniform_int_distribution<int>(0, 3)(random);
        for (int i = 0; i < n; ++i)
            object += (i ? ",\"k" : "\"k") + std::to_string(i) + "\" : " + randomValue(random, depth + 1);
        return object + "}";
    }
    }
}

} // namespace

TEST(JsonScanner, EdgesOfTheGrammarAreReadAsTheStrictParserReadsThem)
{
    for (const std::string& text : edgeDocuments())
        EXPECT_EQ(ScannerLog::of(text), ReferenceLog::of(text)) << "document: " << text;
}

TEST(JsonScanner, RandomTextsAreReadAsTheStrictParserReadsThem)
{
    std::mt19937 random(20261125);
    int accepted = 0;
    for (int i = 0; i < 20'000; ++i) {
        std::string text = i % 2 == 0 ? randomDocument(random) : randomValue(random, 0);
        if (i % 4 == 1 && !text.empty()) // a well-formed document with one byte changed
            text[std::uniform_int_distribution<std::size_t>(0, text.size() - 1)(random)] =
                char(std::uniform_int_distribution<int>(0, 255)(random));
        const std::string ours = ScannerLog::of(text);
        ASSERT_EQ(ours, ReferenceLog::of(text)) << "document: " << text;
        accepted += ours != "error";
    }
    // Both kinds of answer were tried many times.
    EXPECT_GT(accepted, 5'000);
    EXPECT_LT(accepted, 15'000);
}

TEST(JsonScanner, NulByteOutsideAStringIsRefusedRatherThanTakenForTheEnd)
{
    EXPECT_EQ(ScannerLog::of(std::string("{}\0", 3)), "error");
    EXPECT_EQ(ScannerLog::of(std::string("{}\0{\"more\"", 10)), "error");
}

TEST(JsonScanner, EscapesResolveToTheirCharactersWithSurrogatePairsJoined)
{
    EXPECT_EQ(ScannerLog::of(R"(["a\"b\\c\/d\b\f\n\r\t\u00e9\ud83d\ude00\u0000z"])"),
              std::string("[\nstring a\"b\\c/d\b\f\n\r\t\xC3\xA9\xF0\x9F\x98\x80") + std::string(1, '\0') +
                  "z\n]\n");
    json::JsonString escaped{R"(\u00e9\ud83d\ude00)", true};
    EXPECT_EQ(escaped.toQString(), QStringLiteral(u"é😀"));
}

TEST(JsonScanner, IntegersBeyondSixtyFourBitsArriveAsNumbersWithTheirText)
{
    EXPECT_EQ(ScannerLog::of("[-9223372036854775808,18446744073709551615,18446744073709551616]"),
              "[\nint -9223372036854775808\nint 18446744073709551615\nnumber 18446744073709551616\n]\n");
}

TEST(JsonScanner, NumberBeyondTheRangeOfADoubleIsRefusedAndOneBelowItIsZero)
{
    EXPECT_EQ(ScannerLog::of("[1e400]"), "error");
    EXPECT_EQ(ScannerLog::of("[-1.5E+309]"), "error");
    EXPECT_EQ(ScannerLog::of("[1e-400]"), "[\nnumber 1e-400\n]\n");
    EXPECT_EQ(json::numberValue("1e-400"), 0.0);
    EXPECT_EQ(json::numberValue("0.00001e309"), 1e304);
}

TEST(JsonScanner, NumbersAreReadToTheNearestDoubleAtTheEdgesOfItsRange)
{
    EXPECT_EQ(json::numberValue("1e308"), 1e308);
    EXPECT_EQ(json::numberValue("1.7976931348623157e308"), std::numeric_limits<double>::max());
    EXPECT_EQ(json::numberValue("5e-324"), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(json::numberValue("2.2250738585072014e-308"), std::numeric_limits<double>::min());
    EXPECT_EQ(json::numberValue("0.1"), 0.1);
    EXPECT_EQ(json::numberValue("1.2345678901234567"), 1.2345678901234567) << "17 significant digits";
    EXPECT_EQ(json::numberValue("9007199254740993"), 9007199254740992.0) << "halfway rounds to even";
    EXPECT_EQ(json::numberValue("0.30000000000000004"), 0.1 + 0.2);
    const double negativeZero = json::numberValue("-0.0");
    EXPECT_EQ(negativeZero, 0.0);
    EXPECT_TRUE(std::signbit(negativeZero));
    EXPECT_TRUE(std::signbit(json::numberValue("-1e-400"))) << "a signed zero below the smallest";
    EXPECT_TRUE(std::isinf(json::numberValue("-1e400")));
    EXPECT_LT(json::numberValue("-1e400"), 0);
    const std::string longToken = "1." + std::string(300, '0') + "1";
    EXPECT_EQ(json::numberValue(longToken), 1.0) << "a token longer than the short buffer";
}

TEST(JsonScanner, NestingAHundredThousandLevelsIsReadWithoutRecursion)
{
    const int depth = 100'000;
    const std::string text = std::string(depth, '[') + std::string(depth, ']');
    ScannerLog log;
    json::Scanner<ScannerLog> scanner(text, log);
    EXPECT_TRUE(scanner.run());
    EXPECT_EQ(ScannerLog::of(std::string(depth, '[') + std::string(depth - 1, ']')), "error");
}

TEST(JsonScanner, RefusalNamesWhereTheTextWentWrong)
{
    struct Refusal
    {
        bool null() { return true; }
        bool boolean(bool) { return true; }
        bool integer(std::int64_t) { return true; }
        bool whole(std::uint64_t) { return true; }
        bool fraction(double, std::string_view) { return true; }
        bool string(const json::JsonString&) { return true; }
        bool startObject() { return true; }
        bool key(std::string_view) { return true; }
        bool endObject() { return true; }
        bool startArray() { return true; }
        bool endArray() { return true; }
        void syntaxError(std::size_t at, const char* what)
        {
            offset = at;
            text = what;
        }
        std::size_t offset = 0;
        std::string text;
    } refusal;
    json::Scanner<Refusal> scanner(R"({"a": [1, 2,, 3]})", refusal);
    EXPECT_FALSE(scanner.run());
    EXPECT_EQ(refusal.offset, 12u);
    EXPECT_EQ(refusal.text, "unexpected character");
}
