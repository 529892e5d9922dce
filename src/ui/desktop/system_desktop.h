#pragma once

#include "platform/desktop.h"
#include "platform/session_bus.h"

#include <QDBusConnection>
#include <optional>

namespace brightloom::ui {

// The desktop of the machine: files, apps and web pages open in their default programs; a file is
// shown selected in the file manager over D-Bus, or its folder opened when no file manager answers.
class SystemDesktop final : public Desktop
{
public:
    // Without a bus given, the session bus is reached when first needed, not before the first frame.
    explicit SystemDesktop(std::optional<QDBusConnection> bus = std::nullopt) : m_bus(std::move(bus)) {}

    void open(const QUrl& url) override;
    void reveal(const QString& path) override;

private:
    LazySessionBus m_bus;
};

} // namespace brightloom::ui
