#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace brightloom {

// A modal question: a message, a longer explanation and buttons in the order given.
struct Alert
{
    enum class Style { warning, informational };

    Style style = Style::warning;
    QString message;
    QString informativeText;
    QStringList buttons;

    bool operator==(const Alert&) const = default;
};

// Asks the user modal questions. The window shows a dialog; tests and the command line answer
// from a script, flags or the terminal.
class Dialogs
{
public:
    virtual ~Dialogs() = default;

    // The index of the button chosen, or absent when the alert was closed without one
    // (Escape, the window's close button).
    virtual std::optional<int> ask(const Alert& alert) = 0;
};

} // namespace brightloom
