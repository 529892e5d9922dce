#include "library_app_delegate.h"

#include "library_app_list_model.h"
#include "ui/shared/letter_tile.h"
#include "ui/shared/symbols.h"

#include <QPainter>

namespace brightloom::ui {
namespace {

constexpr int padding = 12;
constexpr int chevronSide = 16;

} // namespace

LibraryAppDelegate::LibraryAppDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

QSize LibraryAppDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    const int lines = 2 * option.fontMetrics.height() + 4;
    return QSize(option.rect.width(), std::max(tileSide, lines) + 2 * padding);
}

void LibraryAppDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRect box = option.rect;
    const QPalette& palette = option.palette;

    // Hover and selection as a soft rounded highlight, readable in both palettes.
    const bool selected = option.state & QStyle::State_Selected;
    const bool hovered = option.state & QStyle::State_MouseOver;
    if (selected || hovered) {
        QColor fill = palette.color(QPalette::Highlight);
        fill.setAlphaF(selected ? 0.22f : 0.10f);
        painter->setPen(Qt::NoPen);
        painter->setBrush(fill);
        painter->drawRoundedRect(QRectF(box).adjusted(2, 2, -2, -2), 8, 8);
    }
    if (option.state & QStyle::State_HasFocus) {
        QColor ring = palette.color(QPalette::Highlight);
        painter->setPen(QPen(ring, 1.5));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(box).adjusted(2.5, 2.5, -2.5, -2.5), 8, 8);
    }

    const QString name = index.data(Qt::DisplayRole).toString();
    const QRectF tile(box.left() + padding, box.center().y() - tileSide / 2.0 + 0.5, tileSide, tileSide);
    LetterTile::paint(*painter, tile, name, tileSide * 0.225);

    const QRect chevron(box.right() - padding - chevronSide, box.center().y() - chevronSide / 2, chevronSide,
                        chevronSide);
    symbol(Symbol::chevronRight).paint(painter, chevron);

    const int textLeft = int(tile.right()) + padding;
    const QRect text(textLeft, box.top() + padding, chevron.left() - padding - textLeft,
                     box.height() - 2 * padding);
    const int line = option.fontMetrics.height();
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    painter->setPen(palette.color(QPalette::Text));
    const QRect nameRect(text.left(), text.center().y() - line - 1, text.width(), line);
    painter->drawText(nameRect, Qt::AlignLeft | Qt::AlignVCenter,
                      QFontMetrics(bold).elidedText(name, Qt::ElideRight, nameRect.width()));
    painter->setFont(option.font);
    painter->setPen(palette.color(QPalette::PlaceholderText));
    const QRect lineRect(text.left(), text.center().y() + 2, text.width(), line);
    painter->drawText(
        lineRect, Qt::AlignLeft | Qt::AlignVCenter,
        option.fontMetrics.elidedText(index.data(LibraryAppListModel::versionLineRole).toString(),
                                      Qt::ElideRight, lineRect.width()));

    // A hairline under each app but the last.
    if (index.row() + 1 < index.model()->rowCount()) {
        QColor rule = palette.color(QPalette::PlaceholderText);
        rule.setAlphaF(rule.alphaF() * 0.25f);
        painter->setPen(rule);
        painter->drawLine(QPointF(textLeft, box.bottom() + 0.5),
                          QPointF(box.right() - padding, box.bottom() + 0.5));
    }
    painter->restore();
}

} // namespace brightloom::ui
