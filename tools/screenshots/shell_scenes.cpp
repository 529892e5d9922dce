// Scenes of the app as a whole: the sign-in screen, the main screen with its menu bar and sidebar,
// and the worker banner.

#include "conversation/chat_view.h"
#include "scene.h"
#include "service/api.h"
#include "shell/auth_view.h"
#include "shell/main_view.h"
#include "shell/worker_status_banner.h"
#include "ui/app/about_dialog.h"
#include "ui/app/app_menus.h"
#include "ui/app/auth_view_widget.h"
#include "ui/app/main_view_widget.h"
#include "ui/app/settings_window.h"
#include "ui/app/window_screens.h"
#include "ui/app/worker_status_banner_widget.h"
#include "ui/conversation/chat_view_widget.h"

#include <QLineEdit>
#include <QVBoxLayout>

namespace brightloom::screens {
namespace {

QCoro::Task<QWidget*> signIn(SceneContext& context)
{
    co_return ui::signInScreen(context.api);
}

QCoro::Task<QWidget*> signInError(SceneContext& context)
{
    auto* screen = ui::signInScreen(context.api);
    screen->model().toggle();
    // Typed as a person would, into the fields a screen reader names.
    const auto type = [screen](const QString& field, const QString& text) {
        for (auto* edit : screen->findChildren<QLineEdit*>()) {
            if (edit->accessibleName() == field)
                edit->setText(text);
        }
    };
    type(QStringLiteral("Name"), QStringLiteral("Ada"));
    type(QStringLiteral("Password"), QStringLiteral("secret"));
    // Signing up with the demo account's address again: the service refuses it.
    type(QStringLiteral("Email"), QStringLiteral("demo@brightloom.test"));
    screen->model().submit();
    co_await waitUntil([screen] { return !screen->model().busy(); });
    co_return screen;
}

QCoro::Task<QWidget*> mainScreen(SceneContext& context)
{
    co_await context.api.loadProjects();
    auto* screen = ui::mainScreen(context.api, context.local, context.screens, nullptr);
    // The newest project that has a conversation to show.
    for (const Project& project : context.api.projects()) {
        const ProjectDetail detail = co_await context.api.detail(project.id);
        if (!detail.messages.isEmpty()) {
            screen->model().select(project.id);
            break;
        }
    }
    // In a window as the program makes it: the menu bar above the screen.
    auto* window = new QWidget;
    auto* layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(screen);
    auto* menus = new ui::AppMenus(*window);
    menus->showNavigation(screen->newAppAction(), screen->destinationActions());
    window->resize(1100, 700);
    window->show();
    co_await waitUntil([screen] {
        auto* chat = qobject_cast<ui::ChatViewWidget*>(screen->detail());
        return !chat || chat->chatView()->loaded();
    });
    co_return window;
}

QCoro::Task<QWidget*> settings(SceneContext& context)
{
    co_return ui::settingsScreen(context.api, context.dialogs, nullptr);
}

QCoro::Task<QWidget*> about(SceneContext&)
{
    co_return new ui::AboutDialog;
}

QCoro::Task<QWidget*> workerDelayed(SceneContext& context)
{
    co_await context.control(QStringLiteral("PUT"), QStringLiteral("control/worker-status"),
                             QByteArray(R"({"online":false,"delayed":true,"reason":"offline"})"));
    auto* screen = ui::mainScreen(context.api, context.local, context.screens, nullptr);
    screen->resize(1100, 400);
    screen->show(); // the banner polls while it is shown
    co_await waitUntil([screen] { return screen->banner()->model().shown(); });
    co_return screen;
}

QCoro::Task<> workersBackOnTime(SceneContext& context)
{
    co_await context.control(QStringLiteral("PUT"), QStringLiteral("control/worker-status"),
                             QByteArray(R"({"online":true,"delayed":false})"));
}

const SceneRegistration registered{
    {QStringLiteral("sign-in"), QSize(900, 600), signIn},
    {QStringLiteral("sign-in-error"), QSize(900, 640), signInError},
    {QStringLiteral("main"), QSize(1100, 700), mainScreen},
    {QStringLiteral("settings"), QSize(480, 260), settings},
    {QStringLiteral("about"), QSize(480, 480), about},
    {QStringLiteral("worker-delayed"), QSize(1100, 400), workerDelayed, workersBackOnTime},
};

} // namespace
} // namespace brightloom::screens
