#include "chips_layout.h"

#include <algorithm>

namespace brightloom {

ChipsLayout::Arrangement ChipsLayout::arrange(const QList<QSizeF>& chips, qreal width) const
{
    Arrangement result;
    result.positions.reserve(chips.size());
    qreal x = 0;
    qreal y = 0;
    qreal rowHeight = 0;
    qreal usedWidth = 0;
    for (const QSizeF& chip : chips) {
        if (x > 0 && x + chip.width() > width) {
            y += rowHeight + spacing;
            x = 0;
            rowHeight = 0;
        }
        result.positions.append(QPointF(x, y));
        x += chip.width() + spacing;
        rowHeight = std::max(rowHeight, chip.height());
        usedWidth = std::max(usedWidth, x - spacing);
    }
    result.size = QSizeF(usedWidth, y + rowHeight);
    return result;
}

} // namespace brightloom
