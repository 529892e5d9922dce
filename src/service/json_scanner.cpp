#include "json_scanner.h"

#include <array>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#if defined(__APPLE__)
#include <xlocale.h>
#endif

namespace brightloom::json {
namespace {

char32_t hex4(const char* p)
{
    char32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value * 16 + char32_t(hexValue(p[i]));
    return value;
}

void appendUtf8(char32_t code, std::string& out)
{
    if (code < 0x80) {
        out += char(code);
    } else if (code < 0x800) {
        out += char(0xC0 | (code >> 6));
        out += char(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += char(0xE0 | (code >> 12));
        out += char(0x80 | ((code >> 6) & 0x3F));
        out += char(0x80 | (code & 0x3F));
    } else {
        out += char(0xF0 | (code >> 18));
        out += char(0x80 | ((code >> 12) & 0x3F));
        out += char(0x80 | ((code >> 6) & 0x3F));
        out += char(0x80 | (code & 0x3F));
    }
}

} // namespace

void unescapeInto(std::string_view raw, std::string& out)
{
    out.reserve(out.size() + raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        const char c = raw[i];
        if (c != '\\') {
            out += c;
            continue;
        }
        const char kind = raw[++i];
        switch (kind) {
        case 'b':
            out += '\b';
            break;
        case 'f':
            out += '\f';
            break;
        case 'n':
            out += '\n';
            break;
        case 'r':
            out += '\r';
            break;
        case 't':
            out += '\t';
            break;
        case 'u': {
            char32_t code = hex4(raw.data() + i + 1);
            i += 4;
            if (code >= 0xD800 && code <= 0xDBFF) {
                // The scanner made sure a low surrogate escape follows.
                const char32_t low = hex4(raw.data() + i + 3);
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                i += 6;
            }
            appendUtf8(code, out);
            break;
        }
        default: // the quote, the backslash and the slash stand for themselves
            out += kind;
            break;
        }
    }
}

namespace {

// The few words the service repeats in record after record (a message's role, a job's status): each
// becomes a copy of one string built into the program, which costs no allocation, rather than a
// string of its own per record.
std::optional<QString> commonWord(std::string_view raw)
{
    struct Word
    {
        std::string_view text;
        QString shared;
    };
    static const std::array<Word, 6> words{
        Word{"user", QStringLiteral("user")},         Word{"assistant", QStringLiteral("assistant")},
        Word{"ready", QStringLiteral("ready")},       Word{"failed", QStringLiteral("failed")},
        Word{"building", QStringLiteral("building")}, Word{"queued", QStringLiteral("queued")}};
    for (const Word& word : words) {
        if (word.text == raw)
            return word.shared;
    }
    return std::nullopt;
}

} // namespace

QString JsonString::toQString() const
{
    if (!escaped) {
        if (std::optional<QString> word = commonWord(raw))
            return *std::move(word);
        return QString::fromUtf8(raw.data(), qsizetype(raw.size()));
    }
    std::string text;
    unescapeInto(raw, text);
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

double numberValue(std::string_view token)
{
    // strtod in the C locale rather than std::from_chars, which Apple's standard library lacks for
    // double: both round correctly, so they give the same values. The token is JSON's number
    // grammar already; only its decimal point depends on a locale, and the application sets the
    // user's. Past either end of a double it gives what the scanner wants: infinity beyond the
    // largest, a signed zero below the smallest.
    static const locale_t c = ::newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    char small[64];
    std::string large;
    const char* text = small;
    if (token.size() < sizeof small) {
        std::memcpy(small, token.data(), token.size());
        small[token.size()] = '\0';
    } else {
        large.assign(token);
        text = large.c_str();
    }
    return ::strtod_l(text, nullptr, c);
}

} // namespace brightloom::json
