#pragma once

#include <QtGlobal>
#include <span>
#include <utility>
#include <vector>

namespace brightloom::ui {

// Where each row of a virtual list sits: the rows' heights, their running tops from a starting
// offset with a fixed gap between rows, which rows a band of the content meets, and how an insert,
// a removal or a new height moves the rows below. Tops are summed again only from the first row that
// changed, and only when asked for, so laying out a few rows near the screen of a long list costs a
// few rows, not the list.
class RowExtents
{
public:
    explicit RowExtents(qint64 start = 0, int gap = 0) : m_start(start), m_gap(gap) {}

    int count() const { return int(m_heights.size()); }
    bool isEmpty() const { return m_heights.empty(); }
    // The content offset of the first row's top.
    qint64 start() const { return m_start; }
    int gap() const { return m_gap; }

    // The top of `row`; `top(count())` is where the rows end.
    qint64 top(int row) const;
    int height(int row) const { return m_heights[std::size_t(row)]; }
    qint64 bottom(int row) const { return top(row) + height(row); }
    // The bottom of the last row, or the start when there is none.
    qint64 end() const;
    // From the start to the end.
    qint64 extent() const { return end() - m_start; }

    void assign(std::vector<int> heights);
    void setHeight(int row, int height);
    // Puts rows with these heights in before `first`; gives how far the rows after them moved.
    qint64 insert(int first, std::span<const int> heights);
    // Takes the rows from `first` to `last` (inclusive) out; gives how far the rows after them moved.
    qint64 remove(int first, int last);
    void clear();

    // The row whose extent (with the gap below it) holds `y`, clamped to the rows; -1 when empty.
    int rowAt(qint64 y) const;
    // The rows that meet the band from `from` to `to` (both inclusive), as the half-open range
    // [first, last); a band inside the gap between two rows meets neither.
    std::pair<int, int> rowsBetween(qint64 from, qint64 to) const;

private:
    void sumTo(int row) const;
    void invalidateFrom(int row);

    qint64 m_start;
    int m_gap;
    std::vector<int> m_heights;
    // Running tops; those up to m_summed are right, the rest are summed again when asked for.
    mutable std::vector<qint64> m_tops{0};
    mutable int m_summed = 0;
};

} // namespace brightloom::ui
