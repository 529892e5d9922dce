#include "conversation_window.h"

#include "conversation/chat_view.h"
#include "temp_home.h"
#include "ui/app/window_screens.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace brightloom::test {

ConversationWindow::ConversationWindow(TempHome& home, const QUrl& base)
{
    home.setEnv("BRIGHTLOOM_URL", base.toString().toUtf8());
    api = std::make_unique<API>();
}

// The screen holds the client and the controller by reference: it goes first.
ConversationWindow::~ConversationWindow()
{
    widget.reset();
}

Project ConversationWindow::project()
{
    return Project{QStringLiteral("p1"), QStringLiteral("Timer"), std::nullopt};
}

QByteArray ConversationWindow::detail(const QJsonArray& messages, const QJsonArray& jobs)
{
    const QJsonObject body{
        {QStringLiteral("project"), QJsonObject{{QStringLiteral("id"), QStringLiteral("p1")},
                                                {QStringLiteral("name"), QStringLiteral("Timer")}}},
        {QStringLiteral("messages"), messages},
        {QStringLiteral("jobs"), jobs}};
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

ui::ChatViewWidget& ConversationWindow::open(QSize size)
{
    widget.reset(ui::conversationScreen(*api, local, icons, desktop, project()));
    widget->chatView()->setPollIntervals(
        {std::chrono::hours(1), std::chrono::hours(1), std::chrono::hours(1)});
    widget->chatView()->startPolling();
    widget->resize(size);
    widget->show();
    return *widget;
}

} // namespace brightloom::test
