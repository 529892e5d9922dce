#pragma once

#include "screens.h"

#include <optional>

namespace brightloom {
class API;
class Desktop;
class Dialogs;
class IconLoader;
class LocalBuilds;
class Notifier;
struct LibraryApp;
} // namespace brightloom

namespace brightloom::ui {

class AuthViewWidget;
class ChatViewWidget;
class GalleryViewWidget;
class LibraryDetailViewWidget;
class LibraryViewWidget;
class MainViewWidget;
class NewProjectViewWidget;
class RootViewWidget;
class SettingsWindow;

// Where the window is put together. Each function makes a screen's models over the shared objects and
// hands them to the widget that draws them; the widget owns its models, so a screen and its state go
// together.
RootViewWidget* rootScreen(API& api, Screens screens);
AuthViewWidget* signInScreen(API& api);
// The Settings… window, over the window `parent`.
SettingsWindow* settingsScreen(API& api, Dialogs& dialogs, QWidget* parent);
// The main screen, whose detail pane shows the screens of `details` (blank pages where it has none).
MainViewWidget* mainScreen(API& api, LocalBuilds& local, Screens details, Notifier* notifier);
NewProjectViewWidget* newProjectScreen(API& api, LocalBuilds& local, IconLoader& icons, Desktop& desktop,
                                       Dialogs& dialogs, Screens::Open open);
GalleryViewWidget* galleryScreen(API& api, IconLoader& icons, Desktop& desktop, Screens::Open open);
LibraryViewWidget* libraryScreen(API& api, IconLoader& icons, Desktop& desktop, Screens::Open open);
LibraryDetailViewWidget* libraryDetailScreen(API& api, IconLoader& icons, Desktop& desktop,
                                             const QString& projectId, Screens::Open open,
                                             const std::optional<LibraryApp>& listed);
// A project's conversation; it polls once its model is told to start.
ChatViewWidget* conversationScreen(API& api, LocalBuilds& local, IconLoader& icons, Desktop& desktop,
                                   const Project& project);

// The sign-in and main screens, the main screen's detail pane showing the screens of `details`.
Screens shellScreens(API& api, LocalBuilds& local, Notifier* notifier, Screens details = {});
// Every screen of the window over the shared objects.
Screens windowScreens(API& api, LocalBuilds& local, IconLoader& icons, Desktop& desktop, Dialogs& dialogs,
                      Notifier* notifier = nullptr);

} // namespace brightloom::ui
