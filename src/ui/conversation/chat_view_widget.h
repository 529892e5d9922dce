#pragma once

#include "service/records.h"

#include <QWidget>

class QLabel;

namespace brightloom {
class ChatView;
class Desktop;
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class BubbleListModel;
class BubbleListView;
class Composer;
class StatusAreaWidget;
class UnsafeBanner;

// The conversation about one project, as the window shows it: the project banner when it was made
// from an imported repository, the messages as bubbles followed by the status area in one scrolling
// list, the error line, and the composer. It owns its conversation, whose polling the window starts
// when it makes the screen and which ends with the widget, however often the window is hidden or
// minimised in between (a build must go on while nobody looks); another project gets a new widget.
class ChatViewWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ChatViewWidget)

public:
    ChatViewWidget(ChatView& view, IconLoader& icons, Desktop& desktop, QWidget* parent = nullptr);
    ~ChatViewWidget() override;

    ChatView* chatView() const { return m_view; }
    BubbleListModel* bubbles() const { return m_bubbles; }
    BubbleListView* list() const { return m_list; }
    StatusAreaWidget* statusArea() const { return m_status; }
    QLabel* errorLine() const { return m_error; }
    Composer* composer() const { return m_composer; }
    // Null unless the project was made from an imported repository.
    UnsafeBanner* banner() const { return m_banner; }

private:
    void showError();
    void updateTabOrder();

    ChatView* m_view;
    BubbleListModel* m_bubbles;
    UnsafeBanner* m_banner = nullptr;
    BubbleListView* m_list;
    StatusAreaWidget* m_status;
    QLabel* m_error;
    Composer* m_composer;
    int m_messageCount = 0;
};

} // namespace brightloom::ui
