#pragma once

#include "screens.h"
#include "shell/main_view.h"

#include <QPointer>
#include <QWidget>
#include <optional>

class QAction;
class QVBoxLayout;

namespace brightloom {
class ChatView;
class LocalBuilds;
class Notifier;
class WorkerStatusBanner;
} // namespace brightloom

namespace brightloom::ui {

class Sidebar;
class WorkerStatusBannerWidget;

// The main screen: the sidebar, the worker banner over the detail pane, and the screen for the
// current selection, made afresh each time the selection changes. Tells the desktop when a build
// ends while the window is not in front.
class MainViewWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainViewWidget)

public:
    MainViewWidget(MainView& model, WorkerStatusBanner& banner, LocalBuilds& local, Screens screens,
                   Notifier* notifier, QWidget* parent = nullptr);

    MainView& model() const { return *m_model; }
    Sidebar* sidebar() const { return m_sidebar; }
    WorkerStatusBannerWidget* banner() const { return m_banner; }
    // The screen in the detail pane.
    QWidget* detail() const { return m_detail; }
    // The keyboard's and the menus' roads: "New App", and "My Apps" followed by the first nine
    // projects (those without a project are hidden).
    QAction* newAppAction() const { return m_newApp; }
    const QList<QAction*>& destinationActions() const { return m_destinations; }

private:
    void makeNavigation();
    void nameProjectActions();
    void showDetail();
    void watchConversation(ChatView* chat, const Project& project);
    void notify(const QString& title, const QString& body);

    MainView* m_model;
    LocalBuilds& m_local;
    Screens m_screens;
    Notifier* m_notifier;
    Sidebar* m_sidebar;
    WorkerStatusBannerWidget* m_banner;
    QVBoxLayout* m_pane;
    QPointer<QWidget> m_detail;
    QAction* m_newApp = nullptr;
    QList<QAction*> m_destinations;
};

} // namespace brightloom::ui
