#include "window_screens.h"

#include <QLabel>

namespace brightloom::ui {

Screens windowScreens(API&, LocalBuilds&, IconLoader&, Desktop&, Dialogs&)
{
    // Each screen lands here as it is built; until then the pane names what will stand there.
    Screens screens;
    screens.newProject = [](Screens::Open) { return new QLabel(QStringLiteral("New app")); };
    screens.library = [](Screens::Open) { return new QLabel(QStringLiteral("My apps")); };
    screens.conversation = [](const Project& project) {
        return Screens::Conversation{new QLabel(project.name), nullptr};
    };
    return screens;
}

} // namespace brightloom::ui
