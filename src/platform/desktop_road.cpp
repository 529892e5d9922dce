#include "platform/desktop_road.h"

#include <QByteArray>
#include <QtGlobal>

namespace brightloom {

DesktopRoad desktopRoad()
{
    const QByteArray chosen = qgetenv("BRIGHTLOOM_DESKTOP");
    if (chosen == "mac")
        return DesktopRoad::mac;
    if (chosen == "freedesktop")
        return DesktopRoad::freedesktop;
#ifdef Q_OS_MACOS
    return DesktopRoad::mac;
#else
    return DesktopRoad::freedesktop;
#endif
}

} // namespace brightloom
