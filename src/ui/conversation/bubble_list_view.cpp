#include "bubble_list_view.h"

#include "bubble_delegate.h"
#include "bubble_list_accessible.h"
#include "ui/shared/metrics.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStyleHints>
#include <QTextBoundaryFinder>
#include <algorithm>

namespace brightloom::ui {

namespace {

// How far beyond the screen rows are laid out ahead of being scrolled to, in screens.
constexpr double layoutAhead = 0.5;

} // namespace

BubbleListView::BubbleListView(QWidget* parent)
    : QAbstractScrollArea(parent), m_delegate(new BubbleDelegate(this)), m_tops{topMargin}
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

QString BubbleListView::rowText(int row) const
{
    return m_model ? m_model->index(row, 0).data(Qt::DisplayRole).toString() : QString();
}

BubbleListView::Row BubbleListView::rowFor(int row) const
{
    const QString text = rowText(row);
    Row made;
    made.characters = text.size();
    made.lineBreaks = int(text.count(QLatin1Char('\n')));
    estimate(made);
    return made;
}

void BubbleListView::estimate(Row& row) const
{
    row.height = BubbleDelegate::estimatedHeight(row.characters, row.lineBreaks, columnWidth(), font());
    row.exact = false;
}

void BubbleListView::retop(int from)
{
    m_tops.resize(m_rows.size() + 1);
    for (std::size_t i = std::size_t(std::max(from, 0)); i < m_rows.size(); ++i)
        m_tops[i + 1] = m_tops[i] + m_rows[i].height;
}

void BubbleListView::rowsInserted(int first, int last)
{
    std::vector<Row> added;
    added.reserve(std::size_t(last - first + 1));
    for (int row = first; row <= last; ++row)
        added.push_back(rowFor(row));
    // The screen keeps showing what it showed: rows put in above it push the offset down.
    const int shift = [&] {
        int sum = 0;
        for (const Row& row : added)
            sum += row.height;
        return sum;
    }();
    const bool above = !m_rows.empty() && first <= rowAtContent(offset()) && !m_stickToEnd;
    m_rows.insert(m_rows.begin() + first, added.begin(), added.end());
    retop(first);
    const int count = last - first + 1;
    for (TextPoint* point : {&m_anchor, &m_cursor}) {
        if (point->row >= first)
            point->row += count;
    }
    if (above) {
        updateRange();
        m_movingScrollBar = true;
        verticalScrollBar()->setValue(offset() + shift);
        m_movingScrollBar = false;
    }
    settle();
    viewport()->update();
}

void BubbleListView::rowsRemoved(int first, int last)
{
    const int count = last - first + 1;
    m_rows.erase(m_rows.begin() + first, m_rows.begin() + std::min<std::size_t>(last + 1, m_rows.size()));
    retop(first);
    bool lost = false;
    for (TextPoint* point : {&m_anchor, &m_cursor}) {
        if (point->row >= first && point->row <= last)
            lost = true;
        else if (point->row > last)
            point->row -= count;
    }
    if (lost)
        clearSelection();
    settle();
    viewport()->update();
}

void BubbleListView::rowsChanged(int first, int last)
{
    for (int row = std::max(first, 0); row <= last && row < int(m_rows.size()); ++row)
        m_rows[std::size_t(row)] = rowFor(row);
    retop(first);
    settle();
    viewport()->update();
}

void BubbleListView::reset()
{
    m_rows.clear();
    const int count = m_model ? m_model->rowCount() : 0;
    m_rows.reserve(std::size_t(count));
    for (int row = 0; row < count; ++row)
        m_rows.push_back(rowFor(row));
    m_tops.assign(1, topMargin);
    retop(0);
    m_anchor = m_cursor = TextPoint();
    m_delegate->forgetLayouts();
    settle();
    viewport()->update();
}

// Geometry --------------------------------------------------------------------------------------

int BubbleListView::columnWidth() const
{
    const int available = viewport()->width() - 2 * metrics::pagePadding;
    return std::max(1, std::min(available, metrics::columnMaxWidth));
}

int BubbleListView::columnLeft() const
{
    return (viewport()->width() - columnWidth()) / 2;
}

int BubbleListView::offset() const
{
    return verticalScrollBar()->value();
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
    return m_tops.back() + footerHeight() + bottomMargin;
}

int BubbleListView::rowAtContent(int y) const
{
    if (m_rows.empty())
        return -1;
    const auto end = m_tops.begin() + std::ptrdiff_t(m_rows.size());
    const auto after = std::upper_bound(m_tops.begin(), end, y);
    return std::clamp(int(after - m_tops.begin()) - 1, 0, int(m_rows.size()) - 1);
}

int BubbleListView::rowAt(QPoint point) const
{
    const int y = point.y() + offset();
    if (m_rows.empty() || y < m_tops.front() || y >= m_tops.back())
        return -1;
    return rowAtContent(y);
}

QStyleOptionViewItem BubbleListView::rowOption(int row) const
{
    QStyleOptionViewItem option;
    option.initFrom(viewport());
    option.font = font();
    option.fontMetrics = fontMetrics();
    option.direction = layoutDirection();
    const int top = row >= 0 && row < int(m_rows.size()) ? m_tops[std::size_t(row)] : m_tops.back();
    const int height = row >= 0 && row < int(m_rows.size()) ? m_rows[std::size_t(row)].height : 0;
    option.rect = QRect(columnLeft(), top - offset(), columnWidth(), height);
    return option;
}

QRect BubbleListView::rowRect(int row)
{
    if (row < 0 || row >= int(m_rows.size()))
        return {};
    if (!m_rows[std::size_t(row)].exact) {
        m_rows[std::size_t(row)].height = m_delegate->height(m_model->index(row, 0), rowOption(row));
        m_rows[std::size_t(row)].exact = true;
        retop(row);
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
    m_movingScrollBar = true;
    QScrollBar* bar = verticalScrollBar();
    bar->setRange(0, maximum);
    bar->setPageStep(std::max(1, viewport()->height() - fontMetrics().lineSpacing()));
    bar->setSingleStep(fontMetrics().lineSpacing() * 3);
    m_movingScrollBar = false;
}

void BubbleListView::settle()
{
    if (m_settling)
        return;
    m_settling = true;
    const int screen = viewport()->height();
    const int ahead = int(screen * layoutAhead);
    // A few passes at most: each corrects guesses, which may bring further rows onto the screen.
    for (int pass = 0; pass < 6 && !m_rows.empty(); ++pass) {
        const int top = offset();
        // The row that keeps its place on the screen: the first one shown that is laid out already,
        // so what the reader just saw does not move; else simply the first one shown.
        const int shownFirst = rowAtContent(top);
        const int shownLast = rowAtContent(top + screen);
        int anchor = shownFirst;
        while (anchor < shownLast && !m_rows[std::size_t(anchor)].exact)
            ++anchor;
        if (!m_rows[std::size_t(anchor)].exact)
            anchor = shownFirst;
        const int anchorOnScreen = m_tops[std::size_t(anchor)] - top;
        int first = rowAtContent(top - ahead);
        int last = rowAtContent(top + screen + ahead);
        if (m_stickToEnd) {
            // Showing the end: lay out upwards from the last row until the screen is full.
            last = int(m_rows.size()) - 1;
            first = rowAtContent(m_tops.back() + footerHeight() + bottomMargin - screen - ahead);
        }
        bool changed = false;
        for (int row = first; row <= last; ++row) {
            Row& entry = m_rows[std::size_t(row)];
            if (entry.exact)
                continue;
            entry.height = m_delegate->height(m_model->index(row, 0), rowOption(row));
            entry.exact = true;
            changed = true;
        }
        if (changed)
            retop(first);
        updateRange();
        m_movingScrollBar = true;
        if (m_stickToEnd)
            verticalScrollBar()->setValue(verticalScrollBar()->maximum());
        else
            verticalScrollBar()->setValue(m_tops[std::size_t(anchor)] - anchorOnScreen);
        m_movingScrollBar = false;
        if (!changed)
            break;
    }
    if (m_rows.empty()) {
        updateRange();
        if (m_stickToEnd) {
            m_movingScrollBar = true;
            verticalScrollBar()->setValue(verticalScrollBar()->maximum());
            m_movingScrollBar = false;
        }
    }
    placeFooter();
    m_settling = false;
}

void BubbleListView::placeFooter()
{
    if (!m_footer || m_footer->isHidden())
        return;
    m_footer->setGeometry(columnLeft(), m_tops.back() - offset(), columnWidth(), footerHeight());
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
        const int anchor = rowAtContent(offset());
        const int anchorOnScreen = anchor >= 0 ? m_tops[std::size_t(anchor)] - offset() : 0;
        m_laidOutWidth = width;
        for (Row& row : m_rows)
            estimate(row);
        retop(0);
        if (anchor >= 0 && !m_stickToEnd) {
            updateRange();
            m_movingScrollBar = true;
            verticalScrollBar()->setValue(m_tops[std::size_t(anchor)] - anchorOnScreen);
            m_movingScrollBar = false;
        }
    }
    settle();
}

void BubbleListView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange) {
        m_delegate->forgetLayouts();
        for (Row& row : m_rows)
            estimate(row);
        retop(0);
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
        const TextPoint start = selectionStart();
        const TextPoint end = selectionEnd();
        const bool selecting = hasSelection();
        for (int row = rowAtContent(top); row < int(m_rows.size()); ++row) {
            if (m_tops[std::size_t(row)] >= top + viewport()->height())
                break;
            const QStyleOptionViewItem option = rowOption(row);
            int from = 0;
            int to = 0;
            if (selecting && row >= start.row && row <= end.row) {
                from = row == start.row ? start.pos : 0;
                to = row == end.row ? end.pos : int(rowText(row).size());
            }
            m_delegate->paintBubble(&painter, option, m_model->index(row, 0), from, to);
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

// Selection -------------------------------------------------------------------------------------

BubbleListView::TextPoint BubbleListView::pointAt(QPoint point)
{
    if (m_rows.empty())
        return {};
    const int y = point.y() + offset();
    if (y < m_tops.front())
        return {0, 0};
    if (y >= m_tops.back())
        return {int(m_rows.size()) - 1, int(rowText(int(m_rows.size()) - 1).size())};
    const int row = rowAtContent(y);
    rowRect(row); // laid out, so the hit is on the text as drawn
    return {row, m_delegate->cursorAt(m_model->index(row, 0), rowOption(row), point)};
}

bool BubbleListView::hasSelection() const
{
    return m_anchor.row >= 0 && m_cursor.row >= 0 && m_anchor != m_cursor;
}

QString BubbleListView::selectedText() const
{
    if (!hasSelection())
        return {};
    const TextPoint start = selectionStart();
    const TextPoint end = selectionEnd();
    QStringList parts;
    for (int row = start.row; row <= end.row; ++row) {
        const QString text = rowText(row);
        const int from = row == start.row ? start.pos : 0;
        const int to = row == end.row ? end.pos : int(text.size());
        parts.append(text.mid(from, to - from));
    }
    // Messages are paragraphs of their own.
    return parts.join(QStringLiteral("\n\n"));
}

void BubbleListView::setSelection(TextPoint anchor, TextPoint cursor)
{
    if (anchor == m_anchor && cursor == m_cursor)
        return;
    m_anchor = anchor;
    m_cursor = cursor;
    viewport()->update();
    Q_EMIT selectionChanged();
}

void BubbleListView::selectAll()
{
    if (m_rows.empty())
        return;
    const int last = int(m_rows.size()) - 1;
    setSelection({0, 0}, {last, int(rowText(last).size())});
    publishSelection();
}

void BubbleListView::clearSelection()
{
    setSelection({}, {});
}

void BubbleListView::copy() const
{
    if (hasSelection())
        QGuiApplication::clipboard()->setText(selectedText());
}

void BubbleListView::publishSelection() const
{
    // Where the desktop has a selection clipboard, selected text is ready for a middle-click paste.
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (hasSelection() && clipboard->supportsSelection())
        clipboard->setText(selectedText(), QClipboard::Selection);
}

void BubbleListView::selectWordAt(TextPoint point)
{
    const QString text = rowText(point.row);
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, text);
    words.setPosition(point.pos);
    int start = point.pos;
    int end = point.pos;
    if (!words.isAtBoundary() || (words.boundaryReasons() & QTextBoundaryFinder::StartOfItem)) {
        end = int(words.toNextBoundary());
        words.setPosition(point.pos);
        start = words.isAtBoundary() ? point.pos : int(words.toPreviousBoundary());
    } else {
        start = int(words.toPreviousBoundary());
    }
    if (start < 0 || end < 0)
        return;
    setSelection({point.row, start}, {point.row, end});
}

void BubbleListView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    setFocus(Qt::MouseFocusReason);
    const TextPoint point = pointAt(event->position().toPoint());
    if (point.row < 0)
        return;
    const bool tripleClick =
        m_sinceDoubleClick.isValid() && !(event->modifiers() & Qt::ShiftModifier) &&
        m_sinceDoubleClick.elapsed() < QGuiApplication::styleHints()->mouseDoubleClickInterval() &&
        (event->position().toPoint() - m_doubleClickPoint).manhattanLength() <
            QApplication::startDragDistance();
    m_sinceDoubleClick.invalidate();
    if (tripleClick) {
        setSelection({point.row, 0}, {point.row, int(rowText(point.row).size())});
        publishSelection();
        return;
    }
    if (event->modifiers() & Qt::ShiftModifier && m_anchor.row >= 0)
        setSelection(m_anchor, point);
    else
        setSelection(point, point);
    m_dragging = true;
    m_dragPoint = event->position().toPoint();
}

void BubbleListView::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint at = event->position().toPoint();
    if (!m_dragging) {
        const int row = rowAt(at);
        const bool overText = row >= 0 && bubbleRect(row).contains(at);
        viewport()->setCursor(overText ? Qt::IBeamCursor : Qt::ArrowCursor);
        return;
    }
    m_dragPoint = at;
    setSelection(m_anchor, pointAt(at));
    const bool outside = at.y() < 0 || at.y() >= viewport()->height();
    if (outside && !m_autoScroll.isActive())
        m_autoScroll.start();
    else if (!outside)
        m_autoScroll.stop();
}

void BubbleListView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_dragging) {
        QAbstractScrollArea::mouseReleaseEvent(event);
        return;
    }
    m_dragging = false;
    m_autoScroll.stop();
    if (!hasSelection())
        clearSelection();
    publishSelection();
}

void BubbleListView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const TextPoint point = pointAt(event->position().toPoint());
    if (point.row < 0)
        return;
    selectWordAt(point);
    publishSelection();
    m_sinceDoubleClick.start();
    m_doubleClickPoint = event->position().toPoint();
}

void BubbleListView::autoScroll()
{
    if (!m_dragging) {
        m_autoScroll.stop();
        return;
    }
    const int above = -m_dragPoint.y();
    const int below = m_dragPoint.y() - viewport()->height();
    const int distance = above > 0 ? -above : std::max(below, 0);
    if (distance == 0)
        return;
    verticalScrollBar()->setValue(offset() + std::clamp(distance, -120, 120));
    setSelection(m_anchor, pointAt(m_dragPoint));
}

void BubbleListView::keyPressEvent(QKeyEvent* event)
{
    QScrollBar* bar = verticalScrollBar();
    if (event == QKeySequence::Copy) {
        copy();
    } else if (event == QKeySequence::SelectAll) {
        selectAll();
    } else if (event->key() == Qt::Key_PageDown) {
        bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
    } else if (event->key() == Qt::Key_PageUp) {
        bar->triggerAction(QAbstractSlider::SliderPageStepSub);
    } else if (event->key() == Qt::Key_Down) {
        bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    } else if (event->key() == Qt::Key_Up) {
        bar->triggerAction(QAbstractSlider::SliderSingleStepSub);
    } else if (event->key() == Qt::Key_Home) {
        bar->triggerAction(QAbstractSlider::SliderToMinimum);
    } else if (event->key() == Qt::Key_End) {
        scrollToEnd();
    } else {
        QAbstractScrollArea::keyPressEvent(event);
        return;
    }
    event->accept();
}

void BubbleListView::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    QAction* copyAction = menu.addAction(QStringLiteral("Copy"), this, &BubbleListView::copy);
    copyAction->setShortcut(QKeySequence::Copy);
    copyAction->setEnabled(hasSelection());
    QAction* all = menu.addAction(QStringLiteral("Select All"), this, &BubbleListView::selectAll);
    all->setShortcut(QKeySequence::SelectAll);
    all->setEnabled(!m_rows.empty());
    menu.exec(event->globalPos());
}

} // namespace brightloom::ui
