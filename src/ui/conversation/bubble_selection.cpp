#include "bubble_selection.h"

#include <QAbstractItemModel>
#include <QStringList>
#include <QTextBoundaryFinder>

namespace brightloom::ui {

void BubbleSelection::setModel(const QAbstractItemModel* model)
{
    m_model = model;
    m_anchor = m_cursor = Mark();
    m_set = false;
}

TextPoint BubbleSelection::point(const Mark& mark) const
{
    return mark.row.isValid() ? TextPoint{mark.row.row(), mark.pos} : TextPoint();
}

BubbleSelection::Mark BubbleSelection::mark(TextPoint point) const
{
    if (!m_model || point.row < 0)
        return {};
    return {QPersistentModelIndex(m_model->index(point.row, 0)), point.pos};
}

bool BubbleSelection::isEmpty() const
{
    const TextPoint a = anchor();
    const TextPoint c = cursor();
    return a.row < 0 || c.row < 0 || a == c;
}

bool BubbleSelection::lost() const
{
    return m_set && (!m_anchor.row.isValid() || !m_cursor.row.isValid());
}

bool BubbleSelection::set(TextPoint anchor, TextPoint cursor)
{
    if (!lost() && anchor == this->anchor() && cursor == this->cursor())
        return false;
    m_anchor = mark(anchor);
    m_cursor = mark(cursor);
    m_set = m_anchor.row.isValid() && m_cursor.row.isValid();
    return true;
}

bool BubbleSelection::selectAll()
{
    const int rows = m_model ? m_model->rowCount() : 0;
    if (rows == 0)
        return false;
    return set({0, 0}, {rows - 1, int(rowText(rows - 1).size())});
}

bool BubbleSelection::selectWordAt(TextPoint point)
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
        return false;
    return set({point.row, start}, {point.row, end});
}

std::pair<int, int> BubbleSelection::charactersOf(int row) const
{
    if (isEmpty())
        return {0, 0};
    const TextPoint from = start();
    const TextPoint to = end();
    if (row < from.row || row > to.row)
        return {0, 0};
    return {row == from.row ? from.pos : 0, row == to.row ? to.pos : int(rowText(row).size())};
}

QString BubbleSelection::text() const
{
    if (isEmpty())
        return {};
    QStringList parts;
    for (int row = start().row; row <= end().row; ++row) {
        const auto [from, to] = charactersOf(row);
        parts.append(rowText(row).mid(from, to - from));
    }
    return parts.join(QStringLiteral("\n\n"));
}

QString BubbleSelection::rowText(int row) const
{
    return m_model ? m_model->index(row, 0).data(Qt::DisplayRole).toString() : QString();
}

} // namespace brightloom::ui
