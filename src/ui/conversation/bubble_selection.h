#pragma once

#include <QPersistentModelIndex>
#include <QString>
#include <utility>

class QAbstractItemModel;

namespace brightloom::ui {

// A place between two characters of a row's text.
struct TextPoint
{
    int row = -1;
    int pos = 0;
    bool operator==(const TextPoint&) const = default;
    bool operator<(const TextPoint& other) const
    {
        return row != other.row ? row < other.row : pos < other.pos;
    }
};

// The text selected across the bubbles of a conversation, from an anchor to a cursor. Each end is
// held by the model's own index of its row, so rows put in or taken out elsewhere leave the
// selection on the same text; taking out a row that holds an end ends the selection.
class BubbleSelection
{
public:
    void setModel(const QAbstractItemModel* model);

    TextPoint anchor() const { return point(m_anchor); }
    TextPoint cursor() const { return point(m_cursor); }
    TextPoint start() const { return std::min(anchor(), cursor()); }
    TextPoint end() const { return std::max(anchor(), cursor()); }
    bool isEmpty() const;
    // An end was held by a row that has gone.
    bool lost() const;

    // Gives whether anything changed.
    bool set(TextPoint anchor, TextPoint cursor);
    bool clear() { return set({}, {}); }
    // The whole of every row.
    bool selectAll();
    // The word at `point`, or the run of spaces or signs there.
    bool selectWordAt(TextPoint point);

    // The selected characters of `row`, as the range [first, second).
    std::pair<int, int> charactersOf(int row) const;
    // The selected text; messages are paragraphs of their own.
    QString text() const;
    QString rowText(int row) const;

private:
    struct Mark
    {
        QPersistentModelIndex row;
        int pos = 0;
    };

    TextPoint point(const Mark& mark) const;
    Mark mark(TextPoint point) const;

    const QAbstractItemModel* m_model = nullptr;
    Mark m_anchor;
    Mark m_cursor;
    bool m_set = false;
};

} // namespace brightloom::ui
