#pragma once

#include "service/records.h"

#include <QString>
#include <QWidget>
#include <functional>

namespace brightloom {
class ChatView;
}

namespace brightloom::ui {

// The window's screens, each made afresh when it appears: the sign-in and main screens the root shows,
// and the ones the main screen shows in its detail pane for each selection. `open` selects a project
// (a new one, a fork, or "Change this app"). A screen left empty shows as a blank page.
struct Screens
{
    using Open = std::function<void(QString)>;

    struct Conversation
    {
        QWidget* widget = nullptr;
        ChatView* model = nullptr; // watched for builds that end while the window is elsewhere
    };

    std::function<QWidget*()> signIn;
    std::function<QWidget*()> main;
    std::function<QWidget*(Open open)> newProject;
    std::function<QWidget*(Open open)> library;
    std::function<Conversation(const Project& project)> conversation;
};

} // namespace brightloom::ui
