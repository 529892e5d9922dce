#pragma once

// A strict JSON reader that hands each value to a handler as it passes, without building a document
// and without recursion: nesting lives in a small stack of its own, so a reply nested a hundred
// thousand levels deep is read like a flat one.
//
// It accepts exactly the JSON text of RFC 8259 (an optional UTF-8 byte order mark first): strings must
// be well-formed UTF-8 with their control characters escaped and their surrogate escapes paired,
// numbers follow the grammar, and a number too large for a double is refused as the platform's decoder
// refuses it.
//
// The handler answers each event with true to go on or false to stop; it is called with
//   null(), boolean(bool), integer(std::int64_t) for a negative integer, whole(std::uint64_t) for one of
//   zero or more, fraction(double, std::string_view text) for every other number (a fraction, an
//   exponent, or an integer beyond 64 bits), string(const JsonString&), startObject(),
//   key(std::string_view) with escapes already resolved, endObject(), startArray(), endArray(), and
//   syntaxError(std::size_t offset, const char* what), which ends the reading.

#include "text/utf8_sequence.h"

#include <QString>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace brightloom::json {

// A string value as it stands between its quotes, already checked. Most are never needed (values of
// keys a record does not name), so the text is made only when asked for.
struct JsonString
{
    std::string_view raw; // escapes as written
    bool escaped = false; // holds at least one backslash

    QString toQString() const;
};

// Resolves the escapes of a checked string into its UTF-8 text.
void unescapeInto(std::string_view raw, std::string& out);

// The value of a number token the grammar accepted; infinite when it is beyond a double's range.
double numberValue(std::string_view token);

// The value of one hex digit, or -1 for any other character.
inline int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

template <class Handler> class Scanner
{
public:
    Scanner(std::string_view text, Handler& handler)
        : m_begin(text.data()), m_p(text.data()), m_end(text.data() + text.size()), m_handler(handler)
    {}

    // False when the handler or the grammar stopped the reading.
    bool run()
    {
        if (m_end - m_p >= 3 && std::memcmp(m_p, "\xEF\xBB\xBF", 3) == 0)
            m_p += 3;
        Next next = Next::Value;
        for (;;) {
            switch (next) {
            case Next::Value:
                skipSpace();
                if (m_p == m_end)
                    return error("the text ends where a value should stand");
                if (*m_p == '{' || *m_p == '[') {
                    if (!open(next))
                        return false;
                } else {
                    if (!scalar())
                        return false;
                    next = Next::AfterValue;
                }
                break;

            case Next::AfterValue:
                skipSpace();
                if (m_stack.empty()) {
                    if (m_p != m_end)
                        return error("more text follows the end of the value");
                    return true;
                }
                if (m_p == m_end)
                    return error(inObject() ? "the text ends inside an object"
                                            : "the text ends inside an array");
                if (*m_p == ',') {
                    ++m_p;
                    next = inObject() ? Next::Key : Next::Value;
                } else if (*m_p == (inObject() ? '}' : ']')) {
                    ++m_p;
                    const bool object = inObject();
                    m_stack.pop_back();
                    if (!(object ? m_handler.endObject() : m_handler.endArray()))
                        return false;
                } else {
                    return error(inObject() ? "expected \",\" or \"}\" after a member"
                                            : "expected \",\" or \"]\" after an element");
                }
                break;

            case Next::Key: {
                skipSpace();
                if (m_p == m_end || *m_p != '"')
                    return error("expected a key in quotes");
                JsonString s;
                if (!scanString(s))
                    return false;
                std::string_view key = s.raw;
                if (s.escaped) {
                    m_key.clear();
                    unescapeInto(s.raw, m_key);
                    key = m_key;
                }
                if (!m_handler.key(key))
                    return false;
                skipSpace();
                if (m_p == m_end || *m_p != ':')
                    return error("expected \":\" after a key");
                ++m_p;
                next = Next::Value;
                break;
            }
            }
        }
    }

private:
    enum class Next { Value, AfterValue, Key };

    bool inObject() const { return m_stack.back() == '{'; }

    // At "{" or "[": reports the opening, and at once the closing when nothing stands inside, and
    // sets what comes next.
    bool open(Next& next)
    {
        const char bracket = *m_p++;
        const bool object = bracket == '{';
        if (!(object ? m_handler.startObject() : m_handler.startArray()))
            return false;
        skipSpace();
        if (m_p < m_end && *m_p == (object ? '}' : ']')) {
            ++m_p;
            next = Next::AfterValue;
            return object ? m_handler.endObject() : m_handler.endArray();
        }
        m_stack.push_back(bracket);
        next = object ? Next::Key : Next::Value;
        return true;
    }

    // A string, a word or a number, handed to the handler.
    bool scalar()
    {
        switch (*m_p) {
        case '"': {
            JsonString s;
            return scanString(s) && m_handler.string(s);
        }
        case 't':
            return literal("true", 4) && m_handler.boolean(true);
        case 'f':
            return literal("false", 5) && m_handler.boolean(false);
        case 'n':
            return literal("null", 4) && m_handler.null();
        default:
            return scanNumber();
        }
    }

    bool error(const char* what)
    {
        m_handler.syntaxError(std::size_t(m_p - m_begin), what);
        return false;
    }

    void skipSpace()
    {
        while (m_p < m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }

    bool literal(const char* word, std::size_t length)
    {
        if (std::size_t(m_end - m_p) < length || std::memcmp(m_p, word, length) != 0)
            return error("unknown word");
        m_p += length;
        return true;
    }

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }

    bool scanNumber()
    {
        const char* start = m_p;
        const bool negative = *m_p == '-';
        if (negative)
            ++m_p;
        if (m_p == m_end || !isDigit(*m_p))
            return error(negative ? "a minus sign without digits" : "unexpected character");
        std::uint64_t magnitude = 0;
        bool overflow = false;
        if (*m_p == '0') {
            ++m_p; // a leading zero stands alone; a digit after it ends the number and is refused next
        } else {
            while (m_p < m_end && isDigit(*m_p)) {
                const unsigned digit = unsigned(*m_p - '0');
                if (magnitude > (UINT64_MAX - digit) / 10)
                    overflow = true;
                else
                    magnitude = magnitude * 10 + digit;
                ++m_p;
            }
        }
        bool whole = true;
        if (m_p < m_end && *m_p == '.') {
            ++m_p;
            if (m_p == m_end || !isDigit(*m_p))
                return error("a decimal point without digits after it");
            while (m_p < m_end && isDigit(*m_p))
                ++m_p;
            whole = false;
        }
        if (m_p < m_end && (*m_p == 'e' || *m_p == 'E')) {
            ++m_p;
            if (m_p < m_end && (*m_p == '+' || *m_p == '-'))
                ++m_p;
            if (m_p == m_end || !isDigit(*m_p))
                return error("an exponent without digits");
            while (m_p < m_end && isDigit(*m_p))
                ++m_p;
            whole = false;
        }
        if (whole && !overflow) {
            if (!negative)
                return m_handler.whole(magnitude);
            if (magnitude <= std::uint64_t(INT64_MAX))
                return m_handler.integer(-std::int64_t(magnitude));
            if (magnitude == std::uint64_t(INT64_MAX) + 1)
                return m_handler.integer(INT64_MIN);
        }
        const std::string_view token(start, std::size_t(m_p - start));
        const double value = numberValue(token);
        if (value - value != 0) // infinite
            return error("a number beyond the range of a double");
        return m_handler.fraction(value, token);
    }

    // Steps over bytes that need no look: printable ASCII other than the quote and the backslash;
    // sixteen at a time where SSE2 is, which every x86-64 processor has.
    void skipPlain()
    {
#if defined(__SSE2__)
        const __m128i quote = _mm_set1_epi8('"');
        const __m128i backslash = _mm_set1_epi8('\\');
        const __m128i space = _mm_set1_epi8(0x20);
        while (m_end - m_p >= 16) {
            const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(m_p));
            // A signed comparison finds both the control characters and every byte of 0x80 or more.
            const __m128i special =
                _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(chunk, quote), _mm_cmpeq_epi8(chunk, backslash)),
                             _mm_cmplt_epi8(chunk, space));
            const int mask = _mm_movemask_epi8(special);
            if (mask != 0) {
                m_p += __builtin_ctz(unsigned(mask));
                return;
            }
            m_p += 16;
        }
#endif
        while (m_p < m_end && static_cast<unsigned char>(*m_p) >= 0x20 &&
               static_cast<unsigned char>(*m_p) < 0x80 && *m_p != '"' && *m_p != '\\')
            ++m_p;
    }

    // Reads the four hex digits after "\u"; -1 when they are not four hex digits.
    long hex4()
    {
        if (m_end - m_p < 4)
            return -1;
        long value = 0;
        for (int i = 0; i < 4; ++i) {
            const int digit = hexValue(m_p[i]);
            if (digit < 0)
                return -1;
            value = value * 16 + digit;
        }
        m_p += 4;
        return value;
    }

    bool scanEscape()
    {
        ++m_p; // the backslash
        if (m_p == m_end)
            return error("the text ends inside a string");
        switch (*m_p++) {
        case '"':
        case '\\':
        case '/':
        case 'b':
        case 'f':
        case 'n':
        case 'r':
        case 't':
            return true;
        case 'u': {
            const long unit = hex4();
            if (unit < 0)
                return error("\\u without four hex digits");
            if (unit >= 0xDC00 && unit <= 0xDFFF)
                return error("a low surrogate without a high one before it");
            if (unit >= 0xD800 && unit <= 0xDBFF) {
                if (m_end - m_p < 2 || m_p[0] != '\\' || m_p[1] != 'u')
                    return error("a high surrogate without a low one after it");
                m_p += 2;
                const long low = hex4();
                if (low < 0xDC00 || low > 0xDFFF)
                    return error("a high surrogate without a low one after it");
            }
            return true;
        }
        default:
            return error("an unknown escape");
        }
    }

    // One character of two to four bytes, well-formed as the Unicode standard defines it.
    bool scanMultiByte()
    {
        const text::Utf8Step step =
            text::utf8StepAt(reinterpret_cast<const unsigned char*>(m_begin), m_p - m_begin, m_end - m_begin);
        if (!step.valid)
            return error("ill-formed UTF-8 in a string");
        m_p += step.length;
        return true;
    }

    bool scanString(JsonString& out)
    {
        ++m_p; // the opening quote
        const char* start = m_p;
        bool escaped = false;
        for (;;) {
            skipPlain();
            if (m_p == m_end)
                return error("the text ends inside a string");
            const auto c = static_cast<unsigned char>(*m_p);
            if (c == '"') {
                out.raw = std::string_view(start, std::size_t(m_p - start));
                out.escaped = escaped;
                ++m_p;
                return true;
            }
            if (c == '\\') {
                escaped = true;
                if (!scanEscape())
                    return false;
            } else if (c < 0x20) {
                return error("a control character in a string");
            } else if (!scanMultiByte()) {
                return false;
            }
        }
    }

    const char* m_begin;
    const char* m_p;
    const char* m_end;
    Handler& m_handler;
    std::vector<char> m_stack; // '{' or '[' for every open container
    std::string m_key;         // a key with escapes, resolved
};

} // namespace brightloom::json
