#include "window_screens.h"

#include "conversation/chat_view.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/new_project_view_widget.h"
#include "ui/library/library_view_widget.h"

namespace brightloom::ui {

Screens windowScreens(API& api, LocalBuilds& local, IconLoader& icons, Desktop& desktop, Dialogs& dialogs)
{
    Screens screens;
    screens.newProject = [&api, &local, &icons, &desktop, &dialogs](Screens::Open open) -> QWidget* {
        return new NewProjectViewWidget(api, local, icons, desktop, dialogs, std::move(open));
    };
    screens.library = [&api, &icons, &desktop](Screens::Open open) -> QWidget* {
        return new LibraryViewWidget(api, icons, desktop, std::move(open));
    };
    screens.conversation = [&api, &local, &icons, &desktop](const Project& project) {
        auto* chat = new ChatViewWidget(api, local, icons, desktop, project);
        chat->chatView()->startPolling();
        return Screens::Conversation{chat, chat->chatView()};
    };
    return screens;
}

} // namespace brightloom::ui
