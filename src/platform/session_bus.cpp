#include "session_bus.h"

#include <QFileInfo>
#include <QString>

namespace brightloom {

bool sessionBusNamed()
{
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtime.isEmpty() && QFileInfo::exists(runtime + QStringLiteral("/bus"));
}

QDBusConnection sessionBusIfNamed()
{
    // A name no connection was ever made under: a connection object that says it is not connected.
    return sessionBusNamed() ? QDBusConnection::sessionBus()
                             : QDBusConnection(QStringLiteral("brightloom-no-bus"));
}

} // namespace brightloom
