#pragma once

#include <QtGlobal>

namespace brightloom::text {

// At `i`: a well-formed character of `length` bytes, or (when !valid) the maximal subpart of an
// ill-formed one, `length` bytes that become one replacement. The ranges of the second byte are
// those of the well-formed sequences of the Unicode standard (its table 3-7).
struct Utf8Step
{
    qsizetype length;
    bool valid;
};

inline Utf8Step utf8StepAt(const unsigned char* data, qsizetype i, qsizetype n)
{
    const unsigned char lead = data[i];
    if (lead < 0x80)
        return {1, true};
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
        return {1, false}; // a continuation byte without its lead, or a byte that never starts one
    }
    for (int k = 1; k < length; ++k) {
        const qsizetype at = i + k;
        const bool fits =
            at < n && (k == 1 ? data[at] >= low && data[at] <= high : data[at] >= 0x80 && data[at] <= 0xBF);
        if (!fits)
            return {k, false}; // the subpart ends before the byte that did not fit
    }
    return {length, true};
}

} // namespace brightloom::text
