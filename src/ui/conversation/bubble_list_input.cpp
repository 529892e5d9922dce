// The list's mouse and keys: selecting text across bubbles, copying it, and scrolling by key.
#include "bubble_delegate.h"
#include "bubble_list_view.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QScrollBar>
#include <QStyleHints>
#include <algorithm>

namespace brightloom::ui {

TextPoint BubbleListView::pointAt(QPoint point)
{
    if (m_rows.empty())
        return {};
    const int y = point.y() + offset();
    if (y < m_extents.start())
        return {0, 0};
    if (y >= m_extents.end())
        return {int(m_rows.size()) - 1, int(m_selection.rowText(int(m_rows.size()) - 1).size())};
    const int row = m_extents.rowAt(y);
    rowRect(row); // laid out, so the hit is on the text as drawn
    return {row, m_delegate->cursorAt(m_model->index(row, 0), rowOption(row), point)};
}

bool BubbleListView::hasSelection() const
{
    return !m_selection.isEmpty();
}

QString BubbleListView::selectedText() const
{
    return m_selection.text();
}

void BubbleListView::selectionMoved(bool changed)
{
    if (!changed)
        return;
    viewport()->update();
    Q_EMIT selectionChanged();
}

void BubbleListView::selectAll()
{
    selectionMoved(m_selection.selectAll());
    publishSelection();
}

void BubbleListView::clearSelection()
{
    selectionMoved(m_selection.clear());
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
        selectionMoved(
            m_selection.set({point.row, 0}, {point.row, int(m_selection.rowText(point.row).size())}));
        publishSelection();
        return;
    }
    if (event->modifiers() & Qt::ShiftModifier && m_selection.anchor().row >= 0)
        selectionMoved(m_selection.set(m_selection.anchor(), point));
    else
        selectionMoved(m_selection.set(point, point));
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
    selectionMoved(m_selection.set(m_selection.anchor(), pointAt(at)));
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
    selectionMoved(m_selection.selectWordAt(point));
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
    selectionMoved(m_selection.set(m_selection.anchor(), pointAt(m_dragPoint)));
}

bool BubbleListView::event(QEvent* event)
{
    // Copy and Select All are this list's own while it has the focus, before the Edit menu's.
    if (event->type() == QEvent::ShortcutOverride) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key == QKeySequence::Copy || key == QKeySequence::SelectAll) {
            event->accept();
            return true;
        }
    }
    return QAbstractScrollArea::event(event);
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
