#pragma once

#include "platform/notifier.h"

#include <QSystemTrayIcon>
#include <memory>

namespace brightloom::ui {

// Shows notifications through the system tray's messages: on a Mac these become the system's own
// notifications. The tray icon (the application's own icon) is made with the first notice, not at
// start, and goes when a notice is clicked; where no tray exists nothing is shown.
class TrayNotifier final : public Notifier
{
public:
    TrayNotifier();
    ~TrayNotifier() override;

    void notify(const QString& title, const QString& body) override;

    // Whether the tray icon is up: from the first notice on, where a tray exists.
    bool iconShown() const { return m_tray && m_tray->isVisible(); }

private:
    std::unique_ptr<QSystemTrayIcon> m_tray;
};

} // namespace brightloom::ui
