#pragma once

#include <QString>

namespace brightloom {

// The composer's character counter: hidden until the text reaches 85 % of the limit (the whole part
// of limit × 0.85, so 6800 of 8000), then "6812/8000", red from the limit on.
struct ComposerCounter
{
    bool shown = false;
    bool atLimit = false;
    QString text;   // "6812/8000"
    QString spoken; // "6812 of 8000 characters"

    static qsizetype threshold(qsizetype maxLength) { return maxLength * 85 / 100; }
    static ComposerCounter forCount(qsizetype count, qsizetype maxLength);

    bool operator==(const ComposerCounter&) const = default;
};

} // namespace brightloom
