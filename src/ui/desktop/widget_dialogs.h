#pragma once

#include "platform/dialogs.h"

#include <QPointer>
#include <QWidget>

namespace brightloom::ui {

// Asks with a modal message box over the window; its buttons stand in the order given, and Escape
// or closing the box answers "closed".
class WidgetDialogs final : public Dialogs
{
public:
    explicit WidgetDialogs(QWidget* window = nullptr) : m_window(window) {}

    void setWindow(QWidget* window) { m_window = window; }
    std::optional<int> ask(const Alert& alert) override;

private:
    QPointer<QWidget> m_window;
};

} // namespace brightloom::ui
