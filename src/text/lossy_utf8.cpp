#include "lossy_utf8.h"

#include "utf8_sequence.h"

#include <cstdint>
#include <cstring>

namespace brightloom::text {
namespace {

// How many leading bytes are ASCII, eight at a time.
qsizetype asciiPrefix(const unsigned char* data, qsizetype n)
{
    qsizetype i = 0;
    while (n - i >= 8) {
        std::uint64_t word;
        std::memcpy(&word, data + i, 8);
        if (word & 0x8080808080808080ull)
            break;
        i += 8;
    }
    while (i < n && data[i] < 0x80)
        ++i;
    return i;
}

} // namespace

bool isWellFormedUtf8(QByteArrayView bytes)
{
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const qsizetype n = bytes.size();
    qsizetype i = 0;
    while (i < n) {
        i += asciiPrefix(data + i, n - i);
        if (i == n)
            break;
        const Utf8Step step = utf8StepAt(data, i, n);
        if (!step.valid)
            return false;
        i += step.length;
    }
    return true;
}

QByteArray repairedUtf8(QByteArrayView bytes)
{
    static constexpr char replacement[] = "\xEF\xBF\xBD";
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const qsizetype n = bytes.size();
    QByteArray out;
    out.reserve(n + n / 2);
    qsizetype i = 0;
    while (i < n) {
        const Utf8Step step = utf8StepAt(data, i, n);
        if (step.valid)
            out.append(bytes.data() + i, step.length);
        else
            out.append(replacement, 3);
        i += step.length;
    }
    return out;
}

} // namespace brightloom::text
