#pragma once

// Finding a window's controls the way a person using a screen reader meets them: a button by the
// name read out, a label with changing text by its description.

#include "task_runner.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

namespace brightloom::test {

inline QString accessibleName(QWidget* widget)
{
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    return face ? face->text(QAccessible::Name) : QString();
}

// The visible buttons read out as `name` under `root`.
inline QList<QAbstractButton*> buttonsNamed(const QWidget* root, const QString& name)
{
    QList<QAbstractButton*> found;
    for (QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
        if (button->isVisibleTo(root) && accessibleName(button) == name)
            found.append(button);
    }
    return found;
}

// The visible button read out as `name` under `root`, or null.
inline QAbstractButton* buttonNamed(const QWidget* root, const QString& name)
{
    const QList<QAbstractButton*> found = buttonsNamed(root, name);
    return found.isEmpty() ? nullptr : found.front();
}

// The button read out as `name` once it is shown and laid out (a person can only click what has a
// size), or null when it does not come.
inline QAbstractButton* waitForButton(const QWidget* root, const QString& name)
{
    QAbstractButton* found = nullptr;
    spinUntil([&] {
        found = nullptr;
        for (QAbstractButton* button : buttonsNamed(root, name)) {
            if (button->isVisibleTo(root->window()) && !button->size().isEmpty())
                found = button;
        }
        return found != nullptr;
    });
    return found;
}

// The visible label described as `description` under `root`, or null.
inline QLabel* labelDescribed(const QWidget* root, const QString& description)
{
    for (QLabel* label : root->findChildren<QLabel*>()) {
        if (label->isVisibleTo(root) && label->accessibleDescription() == description)
            return label;
    }
    return nullptr;
}

// The control of type `W` under `root` read out as `name`, shown or not, or null: for asking whether
// it shows, or what it says, as well as for using it.
template <typename W = QWidget> W* controlNamed(const QWidget* root, const QString& name)
{
    // A combo box reads out its current item; the name it was given is the one a person hears first.
    for (W* control : root->findChildren<W*>()) {
        if (control->accessibleName() == name || accessibleName(control) == name)
            return control;
    }
    return nullptr;
}

// The label under `root` described as `description`, shown or not, or null.
inline QLabel* anyLabelDescribed(const QWidget* root, const QString& description)
{
    for (QLabel* label : root->findChildren<QLabel*>()) {
        if (label->accessibleDescription() == description)
            return label;
    }
    return nullptr;
}

// The text of the label described as `description`, or "" when there is none on the screen.
inline QString textDescribed(const QWidget* root, const QString& description)
{
    const QLabel* label = labelDescribed(root, description);
    return label ? label->text() : QString();
}

} // namespace brightloom::test
