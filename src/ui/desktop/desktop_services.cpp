#include "desktop_services.h"

#include "desktop_notifier.h"
#include "platform/desktop_road.h"
#include "platform/mac_desktop.h"
#include "system_desktop.h"
#include "tray_notifier.h"

namespace brightloom::ui {

std::unique_ptr<Desktop> systemDesktop()
{
    if (desktopRoad() == DesktopRoad::mac)
        return std::make_unique<MacDesktop>();
    return std::make_unique<SystemDesktop>();
}

std::unique_ptr<Notifier> systemNotifier()
{
    if (desktopRoad() == DesktopRoad::mac)
        return std::make_unique<TrayNotifier>();
    return std::make_unique<DesktopNotifier>();
}

} // namespace brightloom::ui
