#include "lossy_utf8.h"

#include <QStringDecoder>

namespace brightloom::text {
namespace {

constexpr char16_t replacement = 0xFFFD;

// The byte-by-byte decoder, for input that holds something ill-formed. The ranges of the second byte
// are those of the well-formed sequences of the Unicode standard (its table 3-7).
QChar* decodeCarefully(QByteArrayView bytes, QChar* out)
{
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const qsizetype n = bytes.size();
    qsizetype i = 0;
    while (i < n) {
        const unsigned char lead = data[i];
        if (lead < 0x80) {
            *out++ = QChar(char16_t(lead));
            ++i;
            continue;
        }
        int length = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0)
                low = 0xA0; // no overlong forms
            else if (lead == 0xED)
                high = 0x9F; // no surrogates
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0)
                low = 0x90; // no overlong forms
            else if (lead == 0xF4)
                high = 0x8F; // nothing past U+10FFFF
        } else {
            // A continuation byte without its lead, or a byte that never starts a character.
            *out++ = QChar(replacement);
            ++i;
            continue;
        }
        char32_t code = lead & (0xFF >> (length + 1));
        qsizetype at = i + 1;
        bool whole = true;
        for (int k = 1; k < length; ++k, ++at) {
            const unsigned char next = at < n ? data[at] : 0;
            const bool fits = at < n && (k == 1 ? next >= low && next <= high : next >= 0x80 && next <= 0xBF);
            if (!fits) {
                whole = false;
                break;
            }
            code = (code << 6) | (next & 0x3F);
        }
        if (!whole) {
            // The maximal subpart ends before the byte that did not fit; that byte starts afresh.
            *out++ = QChar(replacement);
            i = at;
            continue;
        }
        if (code > 0xFFFF) {
            *out++ = QChar(QChar::highSurrogate(code));
            *out++ = QChar(QChar::lowSurrogate(code));
        } else {
            *out++ = QChar(char16_t(code));
        }
        i = at;
    }
    return out;
}

} // namespace

QChar* decodeUtf8Repairing(QByteArrayView bytes, QChar* out)
{
    // Qt's decoder is fast but replaces every byte of a damaged sequence; it is kept for input
    // without damage, which is nearly all of it.
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QChar* end = decoder.appendToBuffer(out, bytes);
    if (!decoder.hasError())
        return end;
    return decodeCarefully(bytes, out);
}

QString fromUtf8Repairing(QByteArrayView bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar* start = text.data();
    text.truncate(decodeUtf8Repairing(bytes, start) - start);
    return text;
}

} // namespace brightloom::text
