#include "bubble_list_view.h"

#include "bubble_delegate.h"
#include "bubble_list_accessible.h"
#include "ui/shared/column.h"
#include "ui/shared/metrics.h"

#include <QAbstractItemModel>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <algorithm>

namespace brightloom::ui {

namespace {

// How far beyond the screen rows are laid out ahead of being scrolled to, in screens.
constexpr double layoutAhead = 0.5;

} // namespace

BubbleListView::BubbleListView(QWidget* parent)
    : QAbstractScrollArea(parent), m_delegate(new BubbleDelegate(this))
{
    BubbleListAccessible::install();
    setViewport(new BubbleViewport(this));
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setAutoFillBackground(true);
    viewport()->setMouseTracking(true);
    viewport()->installEventFilter(this);
    setAccessibleName(QStringLiteral("Conversation"));
    m_autoScroll.setInterval(40);
    connect(&m_autoScroll, &QTimer::timeout, this, &BubbleListView::autoScroll);
}

BubbleListView::~BubbleListView() = default;

void BubbleListView::setModel(QAbstractItemModel* model)
{
    if (m_model)
        disconnect(m_model, nullptr, this, nullptr);
    m_model = model;
    if (model) {
        connect(model, &QAbstractItemModel::rowsInserted, this,
                [this](const QModelIndex& parent, int first, int last) {
                    if (!parent.isValid())
                        rowsInserted(first, last);
                });
        connect(model, &QAbstractItemModel::rowsRemoved, this,
                [this](const QModelIndex& parent, int first, int last) {
                    if (!parent.isValid())
                        rowsRemoved(first, last);
                });
        connect(
            model, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& from, const QModelIndex& to) { rowsChanged(from.row(), to.row()); });
        connect(model, &QAbstractItemModel::modelReset, this, &BubbleListView::reset);
        connect(model, &QAbstractItemModel::layoutChanged, this, &BubbleListView::reset);
        connect(model, &QObject::destroyed, this, &BubbleListView::reset);
    }
    reset();
}

void BubbleListView::setFooter(QWidget* footer)
{
    if (m_footer)
        m_footer->removeEventFilter(this);
    m_footer = footer;
    if (footer) {
        const bool hidden = footer->testAttribute(Qt::WA_WState_ExplicitShowHide) &&
                            footer->testAttribute(Qt::WA_WState_Hidden);
        footer->setParent(viewport());
        footer->installEventFilter(this);
        footer->setVisible(!hidden);
    }
    settle();
}

// Rows ------------------------------------------------------------------------------------------

BubbleListView::Row BubbleListView::rowFor(int row) const
{
    const QString text = m_selection.rowText(row);
    return {text.size(), int(text.count(QLatin1Char('\n'))), false};
}

int BubbleListView::estimate(const Row& row) const
{
    return BubbleDelegate::estimatedHeight(row.characters, row.lineBreaks, columnWidth(), font());
}

void BubbleListView::estimateAll()
{
    std::vector<int> heights;
    heights.reserve(m_rows.size());
    for (Row& row : m_rows) {
        row.exact = false;
        heights.push_back(estimate(row));
    }
    m_extents.assign(std::move(heights));
}

bool BubbleListView::layOut(int row)
{
    Row& entry = m_rows[std::size_t(row)];
    if (entry.exact)
        return false;
    entry.exact = true;
    m_extents.setHeight(row, m_delegate->height(m_model->index(row, 0), rowOption(row)));
    return true;
}

void BubbleListView::rowsInserted(int first, int last)
{
    std::vector<Row> added;
    std::vector<int> heights;
    for (int row = first; row <= last; ++row) {
        added.push_back(rowFor(row));
        heights.push_back(estimate(added.back()));
    }
    // The screen keeps showing what it showed: rows put in above it push the offset down.
    const bool above = !m_rows.empty() && first <= m_extents.rowAt(offset()) && !m_stickToEnd;
    m_rows.insert(m_rows.begin() + first, added.begin(), added.end());
    const qint64 shift = m_extents.insert(first, heights);
    if (above) {
        updateRange();
        setOffset(int(offset() + shift));
    }
    settle();
    viewport()->update();
}

void BubbleListView::rowsRemoved(int first, int last)
{
    m_rows.erase(m_rows.begin() + first, m_rows.begin() + std::min<std::size_t>(last + 1, m_rows.size()));
    m_extents.remove(first, last);
    if (m_selection.lost())
        clearSelection();
    settle();
    viewport()->update();
}

void BubbleListView::rowsChanged(int first, int last)
{
    for (int row = std::max(first, 0); row <= last && row < int(m_rows.size()); ++row) {
        m_rows[std::size_t(row)] = rowFor(row);
        m_extents.setHeight(row, estimate(m_rows[std::size_t(row)]));
    }
    settle();
    viewport()->update();
}

void BubbleListView::reset()
{
    m_selection.setModel(m_model.data());
    m_rows.clear();
    const int count = m_model ? m_model->rowCount() : 0;
    m_rows.reserve(std::size_t(count));
    for (int row = 0; row < count; ++row)
        m_rows.push_back(rowFor(row));
    estimateAll();
    m_delegate->forgetLayouts();
    settle();
    viewport()->update();
}

// Geometry --------------------------------------------------------------------------------------

int BubbleListView::columnWidth() const
{
    return Column::centred(viewport()->width(), metrics::columnMaxWidth, metrics::pagePadding).width;
}

int BubbleListView::columnLeft() const
{
    return Column::centred(viewport()->width(), metrics::columnMaxWidth, metrics::pagePadding).left;
}

int BubbleListView::offset() const
{
    return verticalScrollBar()->value();
}

void BubbleListView::setOffset(int offset)
{
    const QScopedValueRollback moving(m_movingScrollBar, true);
    verticalScrollBar()->setValue(offset);
}

int BubbleListView::footerHeight() const
{
    if (!m_footer || m_footer->isHidden())
        return 0;
    const int width = columnWidth();
    const int height =
        m_footer->hasHeightForWidth() ? m_footer->heightForWidth(width) : m_footer->sizeHint().height();
    return std::max({height, m_footer->minimumSizeHint().height(), 0});
}

int BubbleListView::contentHeight() const
{
    return int(m_extents.end()) + footerHeight() + bottomMargin;
}

int BubbleListView::rowAt(QPoint point) const
{
    const int y = point.y() + offset();
    if (m_extents.isEmpty() || y < m_extents.start() || y >= m_extents.end())
        return -1;
    return m_extents.rowAt(y);
}

QStyleOptionViewItem BubbleListView::rowOption(int row) const
{
    QStyleOptionViewItem option;
    option.initFrom(viewport());
    option.font = font();
    option.fontMetrics = fontMetrics();
    option.direction = layoutDirection();
    const bool inside = row >= 0 && row < m_extents.count();
    const int top = int(inside ? m_extents.top(row) : m_extents.end());
    const int height = inside ? m_extents.height(row) : 0;
    option.rect = QRect(columnLeft(), top - offset(), columnWidth(), height);
    return option;
}

QRect BubbleListView::rowRect(int row)
{
    if (row < 0 || row >= int(m_rows.size()))
        return {};
    if (layOut(row)) {
        updateRange();
        placeFooter();
    }
    return rowOption(row).rect;
}

QRect BubbleListView::bubbleRect(int row)
{
    const QRect rect = rowRect(row);
    if (rect.isNull())
        return {};
    QStyleOptionViewItem option = rowOption(row);
    return m_delegate->bubbleRect(m_model->index(row, 0), option);
}

// Layout ----------------------------------------------------------------------------------------

void BubbleListView::updateRange()
{
    const int maximum = std::max(0, contentHeight() - viewport()->height());
    const QScopedValueRollback moving(m_movingScrollBar, true);
    QScrollBar* bar = verticalScrollBar();
    bar->setRange(0, maximum);
    bar->setPageStep(std::max(1, viewport()->height() - fontMetrics().lineSpacing()));
    bar->setSingleStep(fontMetrics().lineSpacing() * 3);
}

void BubbleListView::settle()
{
    if (m_settling)
        return;
    const QScopedValueRollback settling(m_settling, true);
    const int screen = viewport()->height();
    const int ahead = int(screen * layoutAhead);
    // A few passes at most: each corrects guesses, which may bring further rows onto the screen.
    for (int pass = 0; pass < 6 && !m_rows.empty(); ++pass) {
        const int top = offset();
        // The row that keeps its place on the screen: the first one shown that is laid out already,
        // so what the reader just saw does not move; else simply the first one shown.
        const int shownFirst = m_extents.rowAt(top);
        const int shownLast = m_extents.rowAt(top + screen);
        int anchor = shownFirst;
        while (anchor < shownLast && !m_rows[std::size_t(anchor)].exact)
            ++anchor;
        if (!m_rows[std::size_t(anchor)].exact)
            anchor = shownFirst;
        const qint64 anchorOnScreen = m_extents.top(anchor) - top;
        int first = m_extents.rowAt(top - ahead);
        int last = m_extents.rowAt(top + screen + ahead);
        if (m_stickToEnd) {
            // Showing the end: lay out upwards from the last row until the screen is full.
            last = int(m_rows.size()) - 1;
            first = m_extents.rowAt(m_extents.end() + footerHeight() + bottomMargin - screen - ahead);
        }
        bool changed = false;
        for (int row = first; row <= last; ++row)
            changed = layOut(row) || changed;
        updateRange();
        setOffset(m_stickToEnd ? verticalScrollBar()->maximum()
                               : int(m_extents.top(anchor) - anchorOnScreen));
        if (!changed)
            break;
    }
    if (m_rows.empty()) {
        updateRange();
        if (m_stickToEnd)
            setOffset(verticalScrollBar()->maximum());
    }
    placeFooter();
}

void BubbleListView::placeFooter()
{
    if (!m_footer || m_footer->isHidden())
        return;
    m_footer->setGeometry(columnLeft(), int(m_extents.end()) - offset(), columnWidth(), footerHeight());
}

void BubbleListView::scrollToEnd()
{
    m_stickToEnd = true;
    settle();
    viewport()->update();
}

bool BubbleListView::isAtEnd() const
{
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum();
}

void BubbleListView::scrollContentsBy(int, int)
{
    if (!m_movingScrollBar)
        m_stickToEnd = isAtEnd();
    settle();
    viewport()->update();
}

void BubbleListView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    const int width = columnWidth();
    if (width != m_laidOutWidth) {
        // Every row wraps anew; the row at the top of the screen keeps its place.
        const int anchor = m_extents.rowAt(offset());
        const qint64 anchorOnScreen = anchor >= 0 ? m_extents.top(anchor) - offset() : 0;
        m_laidOutWidth = width;
        estimateAll();
        if (anchor >= 0 && !m_stickToEnd) {
            updateRange();
            setOffset(int(m_extents.top(anchor) - anchorOnScreen));
        }
    }
    settle();
}

void BubbleListView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange) {
        m_delegate->forgetLayouts();
        estimateAll();
        settle();
        viewport()->update();
    }
}

bool BubbleListView::eventFilter(QObject* watched, QEvent* event)
{
    const bool footerMoved = (watched == m_footer && (event->type() == QEvent::LayoutRequest ||
                                                      event->type() == QEvent::ShowToParent ||
                                                      event->type() == QEvent::HideToParent)) ||
                             (watched == viewport() && event->type() == QEvent::LayoutRequest);
    if (footerMoved) {
        // The footer's contents changed after this event; measure it once they have settled.
        QMetaObject::invokeMethod(
            this,
            [this] {
                settle();
                viewport()->update();
            },
            Qt::QueuedConnection);
    }
    return QAbstractScrollArea::eventFilter(watched, event);
}

// Painting --------------------------------------------------------------------------------------

void BubbleListView::paintEvent(QPaintEvent*)
{
    ++m_framesPainted;
    QPainter painter(viewport());
    if (!m_rows.empty() && m_model) {
        const int top = offset();
        for (int row = m_extents.rowAt(top); row < int(m_rows.size()); ++row) {
            if (m_extents.top(row) >= top + viewport()->height())
                break;
            const auto [from, to] = m_selection.charactersOf(row);
            m_delegate->paintBubble(&painter, rowOption(row), m_model->index(row, 0), from, to);
        }
    }
    if (hasFocus() && m_keyboardFocus) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(viewport()->rect()).adjusted(1, 1, -1, -1), 6, 6);
    }
}

void BubbleListView::focusInEvent(QFocusEvent* event)
{
    m_keyboardFocus = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason ||
                      event->reason() == Qt::ShortcutFocusReason;
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void BubbleListView::focusOutEvent(QFocusEvent* event)
{
    m_keyboardFocus = false;
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

} // namespace brightloom::ui
