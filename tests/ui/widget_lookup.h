#pragma once

// Finding a window's controls the way a person using a screen reader meets them: by the name read
// out, or, for labels with changing text, by their description.

#include <QAbstractButton>
#include <QAccessible>
#include <QLabel>
#include <QWidget>

namespace brightloom::test {

inline QString accessibleName(QWidget* widget)
{
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    return face ? face->text(QAccessible::Name) : QString();
}

// The visible button read out as `name` under `root`, or null.
inline QAbstractButton* buttonNamed(QWidget* root, const QString& name)
{
    for (QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
        if (button->isVisibleTo(root) && accessibleName(button) == name)
            return button;
    }
    return nullptr;
}

inline QList<QAbstractButton*> buttonsNamed(QWidget* root, const QString& name)
{
    QList<QAbstractButton*> found;
    for (QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
        if (button->isVisibleTo(root) && accessibleName(button) == name)
            found.append(button);
    }
    return found;
}

// The visible label described as `description` under `root`, or null.
inline QLabel* labelDescribed(QWidget* root, const QString& description)
{
    for (QLabel* label : root->findChildren<QLabel*>()) {
        if (label->isVisibleTo(root) && label->accessibleDescription() == description)
            return label;
    }
    return nullptr;
}

} // namespace brightloom::test
