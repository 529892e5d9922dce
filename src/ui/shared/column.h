#pragma once

#include <algorithm>

namespace brightloom::ui {

// A column of content at most `maxWidth` wide, centred in `available` with at least `margin` on each
// side, and never narrower than one pixel.
struct Column
{
    int left = 0;
    int width = 1;

    static Column centred(int available, int maxWidth, int margin)
    {
        Column column;
        column.width = std::max(1, std::min(maxWidth, available - 2 * margin));
        column.left = std::max(margin, (available - column.width) / 2);
        return column;
    }
};

} // namespace brightloom::ui
