#pragma once

#include <QList>
#include <QPointF>
#include <QSizeF>

namespace brightloom {

// Lays chips out in rows, left to right, starting a new row when the next chip would pass the
// available width. A chip wider than the width gets a row of its own and is not shrunk.
struct ChipsLayout
{
    struct Arrangement
    {
        QSizeF size;              // the width actually used and the total height
        QList<QPointF> positions; // the top-left corner of each chip, in order
    };

    qreal spacing = 8;

    Arrangement arrange(const QList<QSizeF>& chips, qreal width) const;
};

} // namespace brightloom
