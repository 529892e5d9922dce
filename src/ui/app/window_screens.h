#pragma once

#include "screens.h"

namespace brightloom {
class API;
class Desktop;
class Dialogs;
class IconLoader;
class LocalBuilds;
} // namespace brightloom

namespace brightloom::ui {

// The window's screens over the shared objects: the new project screen with its gallery, the
// library, and a project's conversation.
Screens windowScreens(API& api, LocalBuilds& local, IconLoader& icons, Desktop& desktop, Dialogs& dialogs);

} // namespace brightloom::ui
