#pragma once

#include <QAccessibleWidget>
#include <QHash>

namespace brightloom::ui {

class BubbleListView;

// What a screen reader finds in the conversation: a list whose items are the bubbles (named by
// their text, described by who wrote them), followed by the widgets of the status area.
class BubbleListAccessible final : public QAccessibleWidget
{
public:
    explicit BubbleListAccessible(QWidget* viewport);
    ~BubbleListAccessible() override;

    // Makes the accessibility layer use this interface for the list's viewport.
    static void install();

    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;

    BubbleListView* view() const;

private:
    QAccessibleInterface* item(int row) const;

    mutable QHash<int, QAccessible::Id> m_items;
};

} // namespace brightloom::ui
