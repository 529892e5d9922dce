#include "bubble_delegate.h"

#include "bubble_list_model.h"
#include "ui/shared/accent.h"
#include "ui/shared/metrics.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QTextLine>
#include <cmath>

namespace brightloom::ui {

namespace {

// Layouts kept for painting and finding characters: a few screens' worth of bubbles.
constexpr int keptLayouts = 600;

bool fromUser(const QModelIndex& index)
{
    return index.data(BubbleListModel::FromUserRole).toBool();
}

} // namespace

BubbleDelegate::BubbleDelegate(QObject* parent) : QStyledItemDelegate(parent), m_texts(keptLayouts) {}

BubbleDelegate::~BubbleDelegate() = default;

int BubbleDelegate::wrapWidth(int columnWidth)
{
    return std::max(1, std::min(metrics::bubbleMaxWidth, columnWidth) - 2 * metrics::bubblePaddingX);
}

int BubbleDelegate::estimatedHeight(qsizetype characters, int lineBreaks, int columnWidth, const QFont& font)
{
    const QFontMetrics metrics(font);
    const double perLine = double(wrapWidth(columnWidth)) / std::max(1, metrics.averageCharWidth());
    const int wrapped = int(std::ceil(double(characters) / std::max(1.0, perLine)));
    const int lines = std::max({1, lineBreaks + 1, wrapped});
    return lines * metrics.lineSpacing() + 2 * metrics::bubblePaddingY + rowGap;
}

const BubbleDelegate::Text& BubbleDelegate::text(const QModelIndex& index,
                                                 const QStyleOptionViewItem& option) const
{
    const QString id = index.data(BubbleListModel::IdRole).toString();
    const QString content = index.data(Qt::DisplayRole).toString();
    const int wrap = wrapWidth(option.rect.width());
    if (Text* kept = m_texts.object(id);
        kept && kept->wrapWidth == wrap && kept->font == option.font && kept->content == content)
        return *kept;

    auto made = std::make_unique<Text>();
    made->content = content;
    made->wrapWidth = wrap;
    made->font = option.font;
    QTextLayout& layout = made->layout;
    // A text layout breaks lines only at the line separator; one for one, so positions still match.
    QString shown = content;
    shown.replace(QLatin1Char('\n'), QChar::LineSeparator);
    layout.setText(shown);
    layout.setFont(option.font);
    layout.setCacheEnabled(true);
    QTextOption textOption;
    textOption.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    textOption.setTextDirection(option.direction);
    layout.setTextOption(textOption);
    qreal y = 0;
    qreal widest = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(wrap);
        line.setPosition(QPointF(0, y));
        y += line.height();
        widest = std::max(widest, line.naturalTextWidth());
    }
    layout.endLayout();
    made->size = QSize(std::min(wrap, int(std::ceil(widest))), int(std::ceil(y)));
    ++m_layoutsMade;
    Text* stored = made.release();
    m_texts.insert(id, stored);
    return *stored;
}

int BubbleDelegate::height(const QModelIndex& index, const QStyleOptionViewItem& option) const
{
    return text(index, option).size.height() + 2 * metrics::bubblePaddingY + rowGap;
}

namespace {

// The bubble around text of `size` in the row `option.rect`.
QRect bubbleAround(QSize size, bool user, const QStyleOptionViewItem& option)
{
    const int width =
        std::min(std::min(metrics::bubbleMaxWidth, option.rect.width()),
                 std::max(size.width() + 2 * metrics::bubblePaddingX, 2 * metrics::bubbleCorner));
    const int height = size.height() + 2 * metrics::bubblePaddingY;
    // The user's bubbles stand on the trailing side: the right, or the left in a right-to-left layout.
    const bool right = user != (option.direction == Qt::RightToLeft);
    const int x = right ? option.rect.right() + 1 - width : option.rect.left();
    return QRect(x, option.rect.top(), width, height);
}

QPoint textStart(const QRect& bubble)
{
    return bubble.topLeft() + QPoint(metrics::bubblePaddingX, metrics::bubblePaddingY);
}

} // namespace

QRect BubbleDelegate::bubbleRect(const QModelIndex& index, const QStyleOptionViewItem& option) const
{
    return bubbleAround(text(index, option).size, fromUser(index), option);
}

QPoint BubbleDelegate::textOrigin(const QModelIndex& index, const QStyleOptionViewItem& option) const
{
    return textStart(bubbleRect(index, option));
}

int BubbleDelegate::cursorAt(const QModelIndex& index, const QStyleOptionViewItem& option, QPoint point) const
{
    const Text& laid = text(index, option);
    const QPointF local = point - textStart(bubbleAround(laid.size, fromUser(index), option));
    if (local.y() < 0)
        return 0;
    if (local.y() >= laid.size.height())
        return int(laid.content.size());
    for (int i = 0; i < laid.layout.lineCount(); ++i) {
        const QTextLine line = laid.layout.lineAt(i);
        if (local.y() < line.y() + line.height() || i == laid.layout.lineCount() - 1)
            return line.xToCursor(local.x(), QTextLine::CursorBetweenCharacters);
    }
    return int(laid.content.size());
}

void BubbleDelegate::paintBubble(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index, int selectionStart, int selectionEnd) const
{
    const Text& laid = text(index, option);
    const bool user = fromUser(index);
    const QRect bubble = bubbleAround(laid.size, user, option);
    QColor fill = user ? accent() : option.palette.color(QPalette::Text);
    if (!user)
        fill.setAlphaF(0.08f);
    const QColor ink = user ? QColor(Qt::black) : option.palette.color(QPalette::Text);

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(fill);
    painter->drawRoundedRect(QRectF(bubble), metrics::bubbleCorner, metrics::bubbleCorner);
    painter->setPen(ink);
    QList<QTextLayout::FormatRange> selections;
    if (selectionEnd > selectionStart) {
        QTextLayout::FormatRange range;
        range.start = selectionStart;
        range.length = selectionEnd - selectionStart;
        range.format.setBackground(option.palette.brush(QPalette::Active, QPalette::Highlight));
        range.format.setForeground(option.palette.brush(QPalette::Active, QPalette::HighlightedText));
        selections.append(range);
    }
    laid.layout.draw(painter, textStart(bubble), selections);
    painter->restore();
}

void BubbleDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const
{
    paintBubble(painter, option, index, 0, 0);
}

QSize BubbleDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    return QSize(option.rect.width(), height(index, option));
}

void BubbleDelegate::forgetLayouts()
{
    m_texts.clear();
}

} // namespace brightloom::ui
