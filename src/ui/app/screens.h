#pragma once

#include "service/records.h"

#include <QString>
#include <QWidget>
#include <functional>

namespace brightloom {
class ChatView;
}

namespace brightloom::ui {

// The screens the main screen shows in its detail pane, made afresh for each selection. `open`
// selects a project (a new one, a fork, or "Change this app").
struct Screens
{
    using Open = std::function<void(QString)>;

    struct Conversation
    {
        QWidget* widget = nullptr;
        ChatView* model = nullptr; // watched for builds that end while the window is elsewhere
    };

    std::function<QWidget*(Open open)> newProject;
    std::function<QWidget*(Open open)> library;
    std::function<Conversation(const Project& project)> conversation;
};

} // namespace brightloom::ui
