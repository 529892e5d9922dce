#pragma once

namespace brightloom {

// Which desktop the program talks to. A Mac reveals and opens with its "open" tool and shows
// notifications through the menu bar's tray API; a freedesktop system asks D-Bus services and
// xdg-open. The choice is made here and nowhere else.
enum class DesktopRoad { mac, freedesktop };

// The road of the system the program was built for, unless BRIGHTLOOM_DESKTOP says "mac" or
// "freedesktop" (so the Mac's road runs in tests on Linux, through stand-in tools).
DesktopRoad desktopRoad();

} // namespace brightloom
