#include "json_scanner.h"

#include <charconv>
#include <cmath>

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

QString JsonString::toQString() const
{
    if (!escaped)
        return QString::fromUtf8(raw.data(), qsizetype(raw.size()));
    std::string text;
    unescapeInto(raw, text);
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

double numberValue(std::string_view token)
{
    double value = 0;
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
    if (error != std::errc::result_out_of_range)
        return value;
    // Out of range either way: too large is infinite, too small rounds to zero, as strtod gives them.
    // The magnitude is that of the first significant digit, plus the exponent.
    long long magnitude = 0;
    bool seenPoint = false;
    bool found = false;
    long long integerDigits = 0;
    long long leadingFractionZeros = 0;
    std::size_t i = token[0] == '-' ? 1 : 0;
    for (; i < token.size() && token[i] != 'e' && token[i] != 'E'; ++i) {
        const char c = token[i];
        if (c == '.') {
            seenPoint = true;
            continue;
        }
        if (!seenPoint) {
            if (found || c != '0') {
                found = true;
                ++integerDigits;
            }
        } else if (!found) {
            if (c == '0')
                ++leadingFractionZeros;
            else
                found = true;
        }
    }
    magnitude = integerDigits > 0 ? integerDigits - 1 : -(leadingFractionZeros + 1);
    long long exponent = 0;
    if (i < token.size()) {
        ++i;
        const bool negativeExponent = token[i] == '-';
        if (token[i] == '+' || token[i] == '-')
            ++i;
        for (; i < token.size(); ++i) {
            exponent = exponent * 10 + (token[i] - '0');
            if (exponent > 1'000'000'000LL)
                break; // far beyond either end of a double already
        }
        if (negativeExponent)
            exponent = -exponent;
    }
    const bool tooLarge = magnitude + exponent > 0;
    const double sign = token[0] == '-' ? -1.0 : 1.0;
    return tooLarge ? sign * HUGE_VAL : sign * 0.0;
}

} // namespace brightloom::json
