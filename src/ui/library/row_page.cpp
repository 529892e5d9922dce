#include "row_page.h"

#include "ui/shared/column.h"

#include <QEvent>
#include <QScrollBar>
#include <algorithm>
#include <limits>

namespace brightloom::ui {

RowPage::RowPage(QWidget* parent) : QAbstractScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setAutoFillBackground(true);
    viewport()->installEventFilter(this);
    verticalScrollBar()->setSingleStep(24);
}

RowPage::~RowPage()
{
    // The runs may go before the widgets they made; nothing may bind rows from now on.
    for (Section& section : m_sections)
        section.rows = nullptr;
}

void RowPage::addWidget(QWidget* widget)
{
    widget->setParent(viewport());
    widget->installEventFilter(this);
    Section section;
    section.widget = widget;
    m_sections.push_back(std::move(section));
    relayout();
}

void RowPage::addRows(Rows* rows)
{
    Section section;
    section.rows = rows;
    m_sections.push_back(std::move(section));
    rowsChanged(rows);
}

void RowPage::setColumn(int maxWidth, int margin, int spacing)
{
    m_maxWidth = maxWidth;
    m_margin = margin;
    m_spacing = spacing;
    m_measuredWidth = -1;
    relayout();
}

RowPage::Section* RowPage::sectionOf(const Rows* rows)
{
    for (Section& section : m_sections) {
        if (section.rows && section.rows == rows)
            return &section;
    }
    return nullptr;
}

const RowPage::Section* RowPage::sectionOf(const Rows* rows) const
{
    return const_cast<RowPage*>(this)->sectionOf(rows);
}

void RowPage::rowsChanged(Rows* rows)
{
    Section* section = sectionOf(rows);
    if (!section)
        return;
    std::vector<int> heights(std::size_t(rows->count()));
    for (std::size_t i = 0; i < heights.size(); ++i)
        heights[i] = rows->rowHeight(int(i));
    section->extents.assign(std::move(heights));
    // Every row may now stand for another one.
    section->widgets.releaseAll();
    relayout();
}

void RowPage::rebindVisible()
{
    place(true);
}

Column RowPage::column() const
{
    return Column::centred(viewport()->width(), m_maxWidth, m_margin);
}

void RowPage::measure(Section& section) const
{
    if (section.rows) {
        section.height = section.extents.end();
        return;
    }
    QWidget* widget = section.widget;
    if (!widget || widget->isHidden()) {
        section.height = 0;
        return;
    }
    const int width = column().width;
    int height = widget->hasHeightForWidth() ? widget->heightForWidth(width) : widget->sizeHint().height();
    section.height = std::max(height, widget->minimumSizeHint().height());
}

void RowPage::relayout()
{
    if (m_placing)
        return;
    qint64 y = m_margin;
    bool first = true;
    for (Section& section : m_sections) {
        measure(section);
        if (section.height == 0) {
            section.top = y;
            continue;
        }
        if (!first)
            y += m_spacing;
        first = false;
        section.top = y;
        y += section.height;
    }
    m_contentHeight = y + m_margin;
    const int visible = viewport()->height();
    const qint64 range = std::max<qint64>(0, m_contentHeight - visible);
    QScrollBar* bar = verticalScrollBar();
    bar->setPageStep(visible);
    bar->setRange(0, int(std::min<qint64>(range, std::numeric_limits<int>::max())));
    place(false);
}

void RowPage::place(bool rebind)
{
    m_placing = true;
    const auto [x, width] = column();
    const qint64 scroll = verticalScrollBar()->value();
    for (Section& section : m_sections) {
        if (section.rows) {
            placeRows(section, x, width, rebind);
            continue;
        }
        if (section.widget && !section.widget->isHidden())
            section.widget->setGeometry(x, int(section.top - scroll), width, int(section.height));
    }
    m_placing = false;
}

void RowPage::placeRows(Section& section, int x, int width, bool rebind)
{
    const qint64 scroll = verticalScrollBar()->value();
    const qint64 from = scroll - section.top;
    const auto [first, last] = section.extents.rowsBetween(from, from + viewport()->height() - 1);
    section.widgets.keepOnly(first, last);
    if (!section.rows)
        return;
    for (int index = first; index < last; ++index) {
        const auto [widget, fresh] =
            section.widgets.take(index, [&section, this] { return section.rows->makeRow(viewport()); });
        if (fresh || rebind)
            section.rows->bind(widget, index);
        const qint64 top = section.top + section.extents.top(index) - scroll;
        widget->setGeometry(x, int(top), width, section.extents.height(index));
        if (fresh)
            widget->show();
    }
}

QWidget* RowPage::rowWidget(const Rows* rows, int index) const
{
    const Section* section = sectionOf(rows);
    return section ? section->widgets.at(index) : nullptr;
}

QList<int> RowPage::visibleRows(const Rows* rows) const
{
    const Section* section = sectionOf(rows);
    return section ? section->widgets.indexes() : QList<int>();
}

void RowPage::scrollToRow(const Rows* rows, int index)
{
    const Section* section = sectionOf(rows);
    if (!section || index < 0 || index >= section->extents.count())
        return;
    const qint64 y = section->top + section->extents.top(index);
    verticalScrollBar()->setValue(int(std::min<qint64>(y, verticalScrollBar()->maximum())));
    place(false);
}

void RowPage::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    relayout();
}

void RowPage::scrollContentsBy(int, int)
{
    place(false);
}

bool RowPage::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::LayoutRequest:
    case QEvent::ShowToParent:
    case QEvent::HideToParent:
        // Compressed by the event loop, so a burst of changes lays the page out once.
        relayout();
        break;
    default:
        break;
    }
    return QAbstractScrollArea::eventFilter(watched, event);
}

bool RowPage::focusNextPrevChild(bool next)
{
    const bool moved = QAbstractScrollArea::focusNextPrevChild(next);
    if (moved)
        ensureVisible(focusWidget());
    return moved;
}

void RowPage::ensureVisible(QWidget* widget)
{
    if (!widget || !viewport()->isAncestorOf(widget))
        return;
    const QRect area = widget->rect().translated(widget->mapTo(viewport(), QPoint(0, 0)));
    QScrollBar* bar = verticalScrollBar();
    if (area.top() < 0)
        bar->setValue(bar->value() + area.top() - m_spacing);
    else if (area.bottom() > viewport()->height())
        bar->setValue(bar->value() + area.bottom() - viewport()->height() + m_spacing);
}

} // namespace brightloom::ui
