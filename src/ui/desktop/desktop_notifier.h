#pragma once

#include "platform/notifier.h"
#include "platform/session_bus.h"

#include <QDBusConnection>
#include <optional>

namespace brightloom::ui {

// Shows notifications through org.freedesktop.Notifications.
class DesktopNotifier final : public Notifier
{
public:
    // Without a bus given, the session bus is reached when first needed, not before the first frame.
    explicit DesktopNotifier(std::optional<QDBusConnection> bus = std::nullopt) : m_bus(std::move(bus)) {}
    void notify(const QString& title, const QString& body) override;

private:
    LazySessionBus m_bus;
};

} // namespace brightloom::ui
