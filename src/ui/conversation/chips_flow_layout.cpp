#include "chips_flow_layout.h"

#include <QWidget>

namespace brightloom::ui {

ChipsFlowLayout::ChipsFlowLayout(QWidget* parent, qreal spacing) : QLayout(parent)
{
    m_chips.spacing = spacing;
    setContentsMargins(0, 0, 0, 0);
}

ChipsFlowLayout::~ChipsFlowLayout()
{
    while (QLayoutItem* item = takeAt(0))
        delete item;
}

void ChipsFlowLayout::addItem(QLayoutItem* item)
{
    m_items.append(item);
}

QLayoutItem* ChipsFlowLayout::takeAt(int index)
{
    if (index < 0 || index >= m_items.size())
        return nullptr;
    return m_items.takeAt(index);
}

ChipsLayout::Arrangement ChipsFlowLayout::arrange(int width) const
{
    QList<QSizeF> sizes;
    sizes.reserve(m_items.size());
    for (QLayoutItem* item : m_items) {
        // Hidden widgets take no place.
        const bool hidden = item->widget() && item->widget()->isHidden();
        sizes.append(hidden ? QSizeF(0, 0) : QSizeF(item->sizeHint()));
    }
    return m_chips.arrange(sizes, width);
}

int ChipsFlowLayout::heightForWidth(int width) const
{
    const QMargins m = contentsMargins();
    return int(std::ceil(arrange(width - m.left() - m.right()).size.height())) + m.top() + m.bottom();
}

QSize ChipsFlowLayout::sizeHint() const
{
    // One row when there is room for it.
    const ChipsLayout::Arrangement all = arrange(std::numeric_limits<int>::max() / 2);
    const QMargins m = contentsMargins();
    return QSize(int(std::ceil(all.size.width())), int(std::ceil(all.size.height()))) +
           QSize(m.left() + m.right(), m.top() + m.bottom());
}

QSize ChipsFlowLayout::minimumSize() const
{
    QSize size;
    for (QLayoutItem* item : m_items)
        size = size.expandedTo(item->minimumSize());
    const QMargins m = contentsMargins();
    return size + QSize(m.left() + m.right(), m.top() + m.bottom());
}

void ChipsFlowLayout::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    const QRect inner = rect.marginsRemoved(contentsMargins());
    const ChipsLayout::Arrangement placed = arrange(inner.width());
    for (qsizetype i = 0; i < m_items.size(); ++i) {
        const QPointF at = placed.positions[i];
        m_items[i]->setGeometry(QRect(inner.topLeft() + at.toPoint(), m_items[i]->sizeHint()));
    }
}

} // namespace brightloom::ui
