#pragma once

#include <QDBusConnection>
#include <QString>

namespace brightloom::ui {

// Shows desktop notifications through org.freedesktop.Notifications; without a notification
// service nothing happens and nothing waits.
class DesktopNotifier
{
public:
    explicit DesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus()) : m_bus(std::move(bus)) {}
    virtual ~DesktopNotifier() = default;

    virtual void notify(const QString& title, const QString& body);

private:
    QDBusConnection m_bus;
};

} // namespace brightloom::ui
