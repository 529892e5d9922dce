#pragma once

#include <QList>
#include <QObject>

class QAction;
class QMenu;
class QMenuBar;
class QWidget;

namespace brightloom::ui {

// The window's menus, built from actions with the platform's standard shortcuts: File (the main
// screen's New App, Close Window, Settings…, Quit Brightloom), Edit (for the text that has the focus),
// Window (Minimize and the main screen's destinations) and Help (About Brightloom). On a Mac the bar
// becomes the system's menu bar, and About, Settings… and Quit move to the application menu.
class AppMenus final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AppMenus)

public:
    // Puts the bar above the content of `window`, whose layout must exist already.
    explicit AppMenus(QWidget& window);

    QMenuBar* menuBar() const { return m_bar; }
    QMenu* fileMenu() const { return m_file; }
    QMenu* editMenu() const { return m_edit; }
    QMenu* windowMenu() const { return m_window; }
    QMenu* helpMenu() const { return m_help; }

    // Shows the main screen's navigation: `newApp` at the top of File, `destinations` at the foot
    // of Window. The actions belong to the screen, and leave the menus when it goes.
    void showNavigation(QAction* newApp, const QList<QAction*>& destinations);

Q_SIGNALS:
    void settingsRequested();
    void aboutRequested();
    void quitRequested();

private:
    QMenuBar* m_bar;
    QMenu* m_file;
    QMenu* m_edit;
    QMenu* m_window;
    QMenu* m_help;
    QAction* m_closeWindow;
};

} // namespace brightloom::ui
