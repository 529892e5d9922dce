#include "app_menus.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QMetaObject>
#include <QWidget>

namespace brightloom::ui {
namespace {

// Edit commands go to the widget with the focus, by the slot name that Qt's text widgets share
// ("copy", "paste"…); a widget without it is left alone.
void forwardToFocus(const char* slot)
{
    QWidget* focus = QApplication::focusWidget();
    if (!focus)
        return;
    const QByteArray signature = QByteArray(slot) + "()";
    if (focus->metaObject()->indexOfMethod(signature.constData()) >= 0)
        QMetaObject::invokeMethod(focus, slot);
}

QAction* addCommand(QMenu* menu, const QString& text, const QKeySequence& keys)
{
    QAction* action = menu->addAction(text);
    action->setShortcut(keys);
    return action;
}

// Every key the platform binds to a standard command, or `usual` where its key scheme has none
// (the scheme Qt takes on a desktop it does not know has no key to quit).
QAction* addCommand(QMenu* menu, const QString& text, QKeySequence::StandardKey command,
                    const QKeySequence& usual = {})
{
    QAction* action = menu->addAction(text);
    action->setShortcuts(command);
    if (action->shortcuts().isEmpty() && !usual.isEmpty())
        action->setShortcut(usual);
    return action;
}

} // namespace

AppMenus::AppMenus(QWidget& window)
    : QObject(&window), m_bar(new QMenuBar(&window)), m_file(m_bar->addMenu(QStringLiteral("&File"))),
      m_edit(m_bar->addMenu(QStringLiteral("&Edit"))), m_window(m_bar->addMenu(QStringLiteral("&Window"))),
      m_help(m_bar->addMenu(QStringLiteral("&Help")))
{
    m_bar->setAccessibleName(QStringLiteral("Menu bar"));
    Q_ASSERT(window.layout());
    window.layout()->setMenuBar(m_bar);

    m_closeWindow = addCommand(m_file, QStringLiteral("Close Window"), QKeySequence::Close,
                               QKeySequence(Qt::CTRL | Qt::Key_W));
    connect(m_closeWindow, &QAction::triggered, &window, &QWidget::close);
    m_file->addSeparator();
    QAction* settings = addCommand(m_file, QStringLiteral("Settings…"), QKeySequence::Preferences);
    settings->setMenuRole(QAction::PreferencesRole);
    connect(settings, &QAction::triggered, this, &AppMenus::settingsRequested);
    m_file->addSeparator();
    QAction* quit = addCommand(m_file, QStringLiteral("Quit Brightloom"), QKeySequence::Quit,
                               QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, this, &AppMenus::quitRequested);

    const struct
    {
        const char* text;
        QKeySequence::StandardKey keys;
        const char* slot;
        bool separatorBefore;
    } edits[] = {{"Undo", QKeySequence::Undo, "undo", false},
                 {"Redo", QKeySequence::Redo, "redo", false},
                 {"Cut", QKeySequence::Cut, "cut", true},
                 {"Copy", QKeySequence::Copy, "copy", false},
                 {"Paste", QKeySequence::Paste, "paste", false},
                 {"Select All", QKeySequence::SelectAll, "selectAll", true}};
    for (const auto& edit : edits) {
        if (edit.separatorBefore)
            m_edit->addSeparator();
        QAction* action = addCommand(m_edit, QString::fromLatin1(edit.text), edit.keys);
        const char* slot = edit.slot;
        connect(action, &QAction::triggered, this, [slot] { forwardToFocus(slot); });
    }

    QAction* minimize = addCommand(m_window, QStringLiteral("Minimize"), QKeySequence(Qt::CTRL | Qt::Key_M));
    connect(minimize, &QAction::triggered, &window, &QWidget::showMinimized);
    m_window->addSeparator();

    QAction* about = m_help->addAction(QStringLiteral("About Brightloom"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, &AppMenus::aboutRequested);
}

void AppMenus::showNavigation(QAction* newApp, const QList<QAction*>& destinations)
{
    if (newApp)
        m_file->insertAction(m_closeWindow, newApp);
    m_window->addActions(destinations);
}

} // namespace brightloom::ui
