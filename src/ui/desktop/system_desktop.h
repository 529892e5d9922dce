#pragma once

#include "platform/desktop.h"

#include <QDBusConnection>

namespace brightloom::ui {

// The desktop of the machine: files, apps and web pages open in their default programs; a file is
// shown selected in the file manager over D-Bus, or its folder opened when no file manager answers.
class SystemDesktop final : public Desktop
{
public:
    explicit SystemDesktop(QDBusConnection bus = QDBusConnection::sessionBus()) : m_bus(std::move(bus)) {}

    void open(const QUrl& url) override;
    void reveal(const QString& path) override;

private:
    QDBusConnection m_bus;
};

} // namespace brightloom::ui
