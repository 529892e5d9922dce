#pragma once

#include "platform/notifier.h"

#include <QSystemTrayIcon>

namespace brightloom::ui {

// Shows notifications through the system tray's messages: on a Mac these become the system's own
// notifications. The tray icon appears with the first notice, not at start, and goes when a notice
// is clicked; where no tray exists nothing is shown.
class TrayNotifier final : public Notifier
{
public:
    explicit TrayNotifier(const QIcon& icon);

    void notify(const QString& title, const QString& body) override;

    // Whether the last notice went to a tray (for tests: none exists on a machine without one).
    bool lastShown() const { return m_lastShown; }

private:
    QSystemTrayIcon m_tray;
    bool m_lastShown = false;
};

} // namespace brightloom::ui
