#pragma once

#include <QColor>

namespace brightloom {

// The product's one fixed colour: the user's bubbles and the prominent archive button.
inline const QColor& accent()
{
    static const QColor colour = QColor::fromRgbF(0.0f, 0.9f, 0.6f, 1.0f);
    return colour;
}

} // namespace brightloom
