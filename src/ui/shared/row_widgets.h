#pragma once

#include <QHash>
#include <QList>
#include <algorithm>
#include <utility>

namespace brightloom::ui {

// The widgets that show the rows of a virtual list: one for each row in view, and the ones that
// scrolled away kept hidden to show the next rows, so a list of thousands holds what its view needs.
template <typename Widget> class RowWidgets
{
public:
    // The widget showing row `index`, or null.
    Widget* at(int index) const { return m_shown.value(index); }
    const QHash<int, Widget*>& shown() const { return m_shown; }

    QList<int> indexes() const
    {
        QList<int> indexes = m_shown.keys();
        std::sort(indexes.begin(), indexes.end());
        return indexes;
    }

    // Hides and keeps the widgets of rows outside [first, last).
    void keepOnly(int first, int last)
    {
        for (auto it = m_shown.begin(); it != m_shown.end();) {
            if (it.key() < first || it.key() >= last) {
                release(it.value());
                it = m_shown.erase(it);
            } else {
                ++it;
            }
        }
    }

    // Every widget may now stand for another row.
    void releaseAll() { keepOnly(0, 0); }

    // The widget for row `index`: the one showing it, else a kept one or one `make` gives. `fresh`
    // says it has yet to be bound to the row and shown.
    template <typename Make> std::pair<Widget*, bool> take(int index, Make&& make)
    {
        if (Widget* widget = m_shown.value(index))
            return {widget, false};
        Widget* widget = m_spare.isEmpty() ? make() : m_spare.takeLast();
        m_shown.insert(index, widget);
        return {widget, true};
    }

private:
    void release(Widget* widget)
    {
        widget->hide();
        m_spare.append(widget);
    }

    QHash<int, Widget*> m_shown;
    QList<Widget*> m_spare;
};

} // namespace brightloom::ui
