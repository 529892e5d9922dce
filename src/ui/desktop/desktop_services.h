#pragma once

#include <memory>

namespace brightloom {
class Desktop;
class Notifier;
} // namespace brightloom

namespace brightloom::ui {

// The desktop and the notifier of the road this system takes: the Mac's "open" and tray messages,
// or freedesktop's D-Bus services.
std::unique_ptr<Desktop> systemDesktop();
std::unique_ptr<Notifier> systemNotifier();

} // namespace brightloom::ui
