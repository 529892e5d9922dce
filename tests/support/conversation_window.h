#pragma once

#include "localbuild/local_builds.h"
#include "recording_desktop.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "ui/conversation/chat_view_widget.h"

#include <QJsonArray>
#include <QSize>
#include <QUrl>
#include <memory>

namespace brightloom::test {

class TempHome;

// A project's conversation as the window shows it, over a scripted service: the client, the local
// build controller, the icon loader and the desktop that the window shares between its screens, and
// the conversation's screen. The project is "p1", named "Timer".
class ConversationWindow
{
public:
    // Its client talks to the service at `base` (set in `home`, which stays the caller's).
    ConversationWindow(TempHome& home, const QUrl& base);
    ~ConversationWindow();
    Q_DISABLE_COPY_MOVE(ConversationWindow)

    // Makes the screen afresh and shows it. Its polling refreshes once and then waits an hour, so
    // whoever drives it refreshes when they mean to.
    ui::ChatViewWidget& open(QSize size);

    static Project project();
    // The project's detail as the service sends it.
    static QByteArray detail(const QJsonArray& messages, const QJsonArray& jobs);

    std::unique_ptr<API> api;
    LocalBuilds local;
    IconLoader icons{QString()};
    RecordingDesktop desktop;
    std::unique_ptr<ui::ChatViewWidget> widget;
};

} // namespace brightloom::test
