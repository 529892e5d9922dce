#pragma once

#include "platform/notifier.h"

#include <QDBusConnection>

namespace brightloom::ui {

// Shows notifications through org.freedesktop.Notifications.
class DesktopNotifier final : public Notifier
{
public:
    explicit DesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus()) : m_bus(std::move(bus)) {}
    void notify(const QString& title, const QString& body) override;

private:
    QDBusConnection m_bus;
};

} // namespace brightloom::ui
