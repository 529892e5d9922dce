#pragma once

// Finding a screen's pieces the way a person (or a screen reader) does: a button by the name it is
// read by, a changing text by the description it carries.

#include "task_runner.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

namespace brightloom::test {

// The button read as `name` that is shown within `root` and laid out (a person can only click what
// has a size), or null.
inline QPushButton* buttonNamed(const QWidget* root, const QString& name)
{
    for (QPushButton* button : root->findChildren<QPushButton*>()) {
        if (button->accessibleName() == name && button->isVisibleTo(root->window()) &&
            !button->size().isEmpty())
            return button;
    }
    return nullptr;
}

// The button read as `name` once it is shown and laid out, or null when it does not come.
inline QPushButton* waitForButton(const QWidget* root, const QString& name)
{
    QPushButton* found = nullptr;
    spinUntil([&] { return (found = buttonNamed(root, name)) != nullptr; });
    return found;
}

// The text shown within `root` that carries `description`, or null.
inline QLabel* labelDescribed(const QWidget* root, const QString& description)
{
    for (QLabel* label : root->findChildren<QLabel*>()) {
        if (label->accessibleDescription() == description && label->isVisibleTo(root->window()))
            return label;
    }
    return nullptr;
}

// Its text, or "" when there is no such text on the screen.
inline QString textDescribed(const QWidget* root, const QString& description)
{
    const QLabel* label = labelDescribed(root, description);
    return label ? label->text() : QString();
}

} // namespace brightloom::test
