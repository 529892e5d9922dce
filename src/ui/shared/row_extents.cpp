#include "row_extents.h"

#include <algorithm>
#include <numeric>

namespace brightloom::ui {

void RowExtents::sumTo(int row) const
{
    // m_tops[i] is the top of row i relative to the start, gaps included.
    for (int i = m_summed; i < row; ++i)
        m_tops[std::size_t(i) + 1] = m_tops[std::size_t(i)] + m_heights[std::size_t(i)] + m_gap;
    m_summed = std::max(m_summed, row);
}

// Tops up to and including the one of `row` stay right.
void RowExtents::invalidateFrom(int row)
{
    m_tops.resize(m_heights.size() + 1);
    m_summed = std::clamp(row, 0, std::min(m_summed, count()));
}

qint64 RowExtents::top(int row) const
{
    sumTo(row);
    return m_start + m_tops[std::size_t(row)];
}

qint64 RowExtents::end() const
{
    return isEmpty() ? m_start : top(count()) - m_gap;
}

void RowExtents::assign(std::vector<int> heights)
{
    m_heights = std::move(heights);
    invalidateFrom(0);
}

void RowExtents::setHeight(int row, int height)
{
    if (m_heights[std::size_t(row)] == height)
        return;
    m_heights[std::size_t(row)] = height;
    invalidateFrom(row);
}

qint64 RowExtents::insert(int first, std::span<const int> heights)
{
    m_heights.insert(m_heights.begin() + first, heights.begin(), heights.end());
    invalidateFrom(first);
    return std::accumulate(heights.begin(), heights.end(), qint64(0)) + qint64(heights.size()) * m_gap;
}

qint64 RowExtents::remove(int first, int last)
{
    first = std::max(first, 0);
    last = std::min(last, count() - 1);
    if (first > last)
        return 0;
    const auto from = m_heights.begin() + first;
    const auto to = m_heights.begin() + last + 1;
    const qint64 moved = std::accumulate(from, to, qint64(0)) + qint64(last - first + 1) * m_gap;
    m_heights.erase(from, to);
    invalidateFrom(first);
    return moved;
}

void RowExtents::clear()
{
    assign({});
}

int RowExtents::rowAt(qint64 y) const
{
    if (isEmpty())
        return -1;
    sumTo(count());
    const auto begin = m_tops.begin();
    const auto after = std::upper_bound(begin, begin + count(), y - m_start);
    return std::clamp(int(after - begin) - 1, 0, count() - 1);
}

std::pair<int, int> RowExtents::rowsBetween(qint64 from, qint64 to) const
{
    if (isEmpty() || to < from || to < m_start || from >= end())
        return {0, 0};
    int first = rowAt(from);
    if (from >= bottom(first))
        ++first; // in the gap below it
    const int last = rowAt(to);
    if (first > last)
        return {0, 0};
    return {first, last + 1};
}

} // namespace brightloom::ui
