#pragma once

#include <QDBusConnection>
#include <optional>

namespace brightloom {

// Whether the desktop names a session bus: an address in the environment, or the socket in the
// runtime folder, where libdbus and GLib both look when no address is set. Without either there is no
// bus to find, and connecting would only try to start one through an X11 helper.
bool sessionBusNamed();

// The session bus when one is named; otherwise a connection that is not connected, reached without
// trying. Connecting takes a round trip, so callers ask for it when they first need the bus.
QDBusConnection sessionBusIfNamed();

// The connection given, or else the session bus when first asked for (sessionBusIfNamed()).
class LazySessionBus
{
public:
    explicit LazySessionBus(std::optional<QDBusConnection> given = std::nullopt) : m_bus(std::move(given)) {}

    QDBusConnection& get()
    {
        if (!m_bus)
            m_bus = sessionBusIfNamed();
        return *m_bus;
    }

private:
    std::optional<QDBusConnection> m_bus;
};

} // namespace brightloom
