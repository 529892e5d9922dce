#include "row_page.h"

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
    const int count = rows->count();
    section->offsets.resize(std::size_t(count) + 1);
    qint64 y = 0;
    for (int i = 0; i < count; ++i) {
        section->offsets[std::size_t(i)] = y;
        y += rows->rowHeight(i);
    }
    section->offsets[std::size_t(count)] = y;
    // Every row may now stand for another one.
    for (QWidget* widget : std::as_const(section->shown)) {
        widget->hide();
        section->spare.append(widget);
    }
    section->shown.clear();
    relayout();
}

void RowPage::rebindVisible()
{
    place(true);
}

int RowPage::columnWidth() const
{
    return std::max(0, std::min(m_maxWidth, viewport()->width() - 2 * m_margin));
}

int RowPage::columnX() const
{
    return std::max(m_margin, (viewport()->width() - columnWidth()) / 2);
}

void RowPage::measure(Section& section) const
{
    if (section.rows) {
        section.height = section.offsets.empty() ? 0 : section.offsets.back();
        return;
    }
    QWidget* widget = section.widget;
    if (!widget || widget->isHidden()) {
        section.height = 0;
        return;
    }
    const int width = columnWidth();
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
    const int x = columnX();
    const int width = columnWidth();
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
    const qint64 to = from + viewport()->height();
    const int count = int(section.offsets.size()) - 1;

    int first = 0;
    int last = -1; // inclusive
    if (count > 0 && to > 0 && from < section.height) {
        const auto begin = section.offsets.begin();
        first = int(std::upper_bound(begin, begin + count, std::max<qint64>(from, 0)) - begin) - 1;
        first = std::max(first, 0);
        last = first;
        while (last + 1 < count && section.offsets[std::size_t(last + 1)] < to)
            ++last;
    }

    for (auto it = section.shown.begin(); it != section.shown.end();) {
        if (it.key() < first || it.key() > last) {
            it.value()->hide();
            section.spare.append(it.value());
            it = section.shown.erase(it);
        } else {
            ++it;
        }
    }
    if (!section.rows)
        return;
    for (int index = first; index <= last; ++index) {
        QWidget* widget = section.shown.value(index);
        const bool fresh = widget == nullptr;
        if (fresh) {
            widget = section.spare.isEmpty() ? section.rows->makeRow(viewport()) : section.spare.takeLast();
            section.shown.insert(index, widget);
        }
        if (fresh || rebind)
            section.rows->bind(widget, index);
        const qint64 top = section.top + section.offsets[std::size_t(index)] - scroll;
        const qint64 height = section.offsets[std::size_t(index) + 1] - section.offsets[std::size_t(index)];
        widget->setGeometry(x, int(top), width, int(height));
        if (fresh)
            widget->show();
    }
}

QWidget* RowPage::rowWidget(const Rows* rows, int index) const
{
    const Section* section = sectionOf(rows);
    return section ? section->shown.value(index) : nullptr;
}

QList<int> RowPage::visibleRows(const Rows* rows) const
{
    const Section* section = sectionOf(rows);
    if (!section)
        return {};
    QList<int> indexes = section->shown.keys();
    std::sort(indexes.begin(), indexes.end());
    return indexes;
}

void RowPage::scrollToRow(const Rows* rows, int index)
{
    const Section* section = sectionOf(rows);
    if (!section || index < 0 || index + 1 >= int(section->offsets.size()))
        return;
    const qint64 y = section->top + section->offsets[std::size_t(index)];
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
