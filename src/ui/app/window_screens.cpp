#include "window_screens.h"

#include "auth_view_widget.h"
#include "conversation/chat_view.h"
#include "conversation/new_project_view.h"
#include "library/gallery_view.h"
#include "library/github_sync_view.h"
#include "library/library_detail_view.h"
#include "library/library_view.h"
#include "main_view_widget.h"
#include "root_view_widget.h"
#include "settings_window.h"
#include "shell/auth_view.h"
#include "shell/main_view.h"
#include "shell/root_view.h"
#include "shell/settings_view.h"
#include "shell/worker_status_banner.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/new_project_view_widget.h"
#include "ui/library/gallery_view_widget.h"
#include "ui/library/library_detail_view_widget.h"
#include "ui/library/library_view_widget.h"

namespace brightloom::ui {

namespace {

// Models are made without a parent and given to the widget once it exists, so they go after the
// widgets that draw them.
template <typename Widget, typename... Models> Widget* owning(Widget* widget, Models*... models)
{
    (models->setParent(widget), ...);
    return widget;
}

} // namespace

RootViewWidget* rootScreen(API& api, Screens screens)
{
    auto* model = new RootView(api);
    return owning(new RootViewWidget(*model, std::move(screens)), model);
}

SettingsWindow* settingsScreen(API& api, Dialogs& dialogs, QWidget* parent)
{
    auto* model = new SettingsView(api, dialogs);
    return owning(new SettingsWindow(*model, parent), model);
}

AuthViewWidget* signInScreen(API& api)
{
    auto* model = new AuthView(api);
    return owning(new AuthViewWidget(*model), model);
}

MainViewWidget* mainScreen(API& api, LocalBuilds& local, Screens details, Notifier* notifier)
{
    auto* model = new MainView(api);
    auto* banner = new WorkerStatusBanner(api);
    return owning(new MainViewWidget(*model, *banner, local, std::move(details), notifier), model, banner);
}

NewProjectViewWidget* newProjectScreen(API& api, LocalBuilds& local, IconLoader& icons, Desktop& desktop,
                                       Dialogs& dialogs, Screens::Open open)
{
    auto* model = new NewProjectView(api, local, dialogs, open);
    auto* gallery = new GalleryView(api, &desktop, std::move(open));
    return owning(new NewProjectViewWidget(*model, *gallery, icons), model, gallery);
}

GalleryViewWidget* galleryScreen(API& api, IconLoader& icons, Desktop& desktop, Screens::Open open)
{
    auto* model = new GalleryView(api, &desktop, std::move(open));
    return owning(new GalleryViewWidget(*model, icons), model);
}

LibraryViewWidget* libraryScreen(API& api, IconLoader& icons, Desktop& desktop, Screens::Open open)
{
    auto* model = new LibraryView(api, open);
    auto detail = [&api, &icons, &desktop, open](const QString& projectId,
                                                 const std::optional<LibraryApp>& listed) {
        return libraryDetailScreen(api, icons, desktop, projectId, open, listed);
    };
    return owning(new LibraryViewWidget(*model, std::move(detail)), model);
}

LibraryDetailViewWidget* libraryDetailScreen(API& api, IconLoader& icons, Desktop& desktop,
                                             const QString& projectId, Screens::Open open,
                                             const std::optional<LibraryApp>& listed)
{
    auto* model = new LibraryDetailView(api, projectId, std::move(open), &desktop);
    auto* github = new GithubSyncView(api, projectId);
    return owning(new LibraryDetailViewWidget(*model, *github, icons, desktop, listed), model, github);
}

ChatViewWidget* conversationScreen(API& api, LocalBuilds& local, IconLoader& icons, Desktop& desktop,
                                   const Project& project)
{
    auto* model = new ChatView(api, local, project, &desktop);
    return owning(new ChatViewWidget(*model, icons, desktop), model);
}

Screens shellScreens(API& api, LocalBuilds& local, Notifier* notifier, Screens details)
{
    Screens screens = details;
    screens.signIn = [&api]() -> QWidget* { return signInScreen(api); };
    screens.main = [&api, &local, notifier, details]() -> QWidget* {
        return mainScreen(api, local, details, notifier);
    };
    return screens;
}

Screens windowScreens(API& api, LocalBuilds& local, IconLoader& icons, Desktop& desktop, Dialogs& dialogs,
                      Notifier* notifier)
{
    Screens details;
    details.newProject = [&api, &local, &icons, &desktop, &dialogs](Screens::Open open) -> QWidget* {
        return newProjectScreen(api, local, icons, desktop, dialogs, std::move(open));
    };
    details.library = [&api, &icons, &desktop](Screens::Open open) -> QWidget* {
        return libraryScreen(api, icons, desktop, std::move(open));
    };
    details.conversation = [&api, &local, &icons, &desktop](const Project& project) {
        auto* chat = conversationScreen(api, local, icons, desktop, project);
        chat->chatView()->startPolling();
        return Screens::Conversation{chat, chat->chatView()};
    };
    return shellScreens(api, local, notifier, std::move(details));
}

} // namespace brightloom::ui
