// Scenes of the conversation: a request queued and being built, the result ready to download and
// saved, a build on this machine that succeeded and one that failed, and a project made from an
// imported repository. Each scene makes its own project on the stand-in service and moves its job
// through the control interface.

#include "conversation/chat_view.h"
#include "localbuild/local_builds.h"
#include "scene.h"
#include "service/api.h"
#include "service_control.h"
#include "ui/app/window_screens.h"
#include "ui/conversation/bubble_list_view.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/download_area_widget.h"
#include "ui/conversation/progress_row.h"
#include "ui/conversation/status_area_widget.h"
#include "ui/shared/elapsed_seconds_label.h"

#include <QAbstractButton>
#include <QLabel>
#include <QPushButton>

namespace brightloom::screens {
namespace {

const QSize sceneSize(900, 720);

QCoro::Task<Project> newProject(SceneContext& context, QString prompt, bool source,
                                std::optional<QString> importRepo = std::nullopt)
{
    const QString id = co_await context.api.createProject(prompt, source, importRepo, std::nullopt);
    for (const Project& project : context.api.projects()) {
        if (project.id == id)
            co_return project;
    }
    co_return Project{id, prompt, std::nullopt};
}

// The conversation of `project`, shown and polling quickly until the scene has what it needs.
ui::ChatViewWidget* conversation(SceneContext& context, const Project& project)
{
    auto* widget =
        ui::conversationScreen(context.api, context.local, context.icons, context.desktop, project);
    const auto quick = std::chrono::milliseconds(100);
    widget->chatView()->setPollIntervals({quick, quick, quick});
    widget->chatView()->startPolling();
    widget->resize(sceneSize);
    widget->show();
    return widget;
}

QString statusText(ui::ChatViewWidget* widget)
{
    return widget->statusArea()->progress()->label()->text();
}

// The counter as it reads some way into a stage, so the picture shows it counting.
void counterAt(ui::ChatViewWidget* widget, int seconds)
{
    ui::ElapsedSecondsLabel* counter = widget->statusArea()->progress()->counter();
    const QDateTime since = counter->since();
    counter->setClock([since, seconds] { return since.addSecs(seconds); });
}

QPushButton* buttonNamed(QWidget* root, const QString& name)
{
    for (QPushButton* button : root->findChildren<QPushButton*>()) {
        if (button->accessibleName() == name && button->isVisible())
            return button;
    }
    return nullptr;
}

// A project with one finished request, and a second request sent.
QCoro::Task<ui::ChatViewWidget*> secondRequest(SceneContext& context)
{
    const Project project =
        co_await newProject(context, QStringLiteral("a recipe box that sorts recipes by cuisine"), false);
    co_await finishJobs(context.api);
    co_await context.api.send(
        QStringLiteral("Add a search field that filters the recipes as I type, and keep "
                       "the selection when the list changes."),
        project.id, false);
    co_return conversation(context, project);
}

QCoro::Task<QWidget*> queued(SceneContext& context)
{
    ui::ChatViewWidget* widget = co_await secondRequest(context);
    const auto isQueued = [widget] { return statusText(widget).startsWith(QStringLiteral("Queued")); };
    co_await waitUntil(isQueued);
    counterAt(widget, 4);
    co_return widget;
}

QCoro::Task<QWidget*> building(SceneContext& context)
{
    ui::ChatViewWidget* widget = co_await secondRequest(context);
    co_await stepClock(context.api, 2);
    const auto isBuilding = [widget] {
        return statusText(widget) == QStringLiteral("Building: writing code…");
    };
    co_await waitUntil(isBuilding);
    counterAt(widget, 42);
    co_return widget;
}

QCoro::Task<ui::ChatViewWidget*> readyToDownload(SceneContext& context)
{
    const Project project =
        co_await newProject(context, QStringLiteral("a markdown notes app with a live preview"), false);
    co_await finishJobs(context.api);
    ui::ChatViewWidget* widget = conversation(context, project);
    const auto isReady = [widget] {
        return buttonNamed(widget, QStringLiteral("Download app (.dmg)")) != nullptr;
    };
    co_await waitUntil(isReady);
    co_return widget;
}

QCoro::Task<QWidget*> ready(SceneContext& context)
{
    co_return co_await readyToDownload(context);
}

QCoro::Task<QWidget*> saved(SceneContext& context)
{
    ui::ChatViewWidget* widget = co_await readyToDownload(context);
    if (QPushButton* dmg = buttonNamed(widget, QStringLiteral("Download app (.dmg)")))
        dmg->click();
    const auto isSaved = [widget] { return !widget->statusArea()->download()->savedLabels().isEmpty(); };
    co_await waitUntil(isSaved);
    co_return widget;
}

QCoro::Task<QWidget*> localDone(SceneContext& context)
{
    const Project project =
        co_await newProject(context, QStringLiteral("a pocket timer for the menu bar"), true);
    co_await finishJobs(context.api);
    ui::ChatViewWidget* widget = conversation(context, project);
    const auto isBuilt = [widget] {
        const std::optional<Job> job = widget->chatView()->latest();
        return job &&
               widget->chatView()->localStatus(*job).text.startsWith(QStringLiteral("Compiled on this Mac."));
    };
    co_await waitUntil(isBuilt, 60000);
    co_return widget;
}

QCoro::Task<QWidget*> localFailed(SceneContext& context)
{
    // The first source and the three fixes the build asks for all fail to compile.
    for (int i = 0; i < 4; ++i)
        co_await nextSourceNeverCompiles(context.api);
    const Project project =
        co_await newProject(context, QStringLiteral("a habit tracker with streaks"), true);
    co_await finishJobs(context.api);
    ui::ChatViewWidget* widget = conversation(context, project);
    for (int round = 0; round < 300; ++round) {
        const std::optional<Job> job = widget->chatView()->latest();
        if (job &&
            widget->chatView()->localStatus(*job).text == QStringLiteral("Could not build on this Mac."))
            break;
        co_await finishJobs(context.api); // each fix request makes a new job
        const auto never = [] { return false; };
        co_await waitUntil(never, 200);
    }
    co_return widget;
}

QCoro::Task<QWidget*> unsafe(SceneContext& context)
{
    const Project project = co_await newProject(context, QStringLiteral("make this a menu bar app"), true,
                                                QStringLiteral("https://github.com/octo/Pomodoro"));
    co_await stepClock(context.api, 2);
    ui::ChatViewWidget* widget = conversation(context, project);
    const auto isWriting = [widget] {
        return statusText(widget).startsWith(QStringLiteral("Writing the code"));
    };
    co_await waitUntil(isWriting);
    counterAt(widget, 17);
    co_return widget;
}

const SceneRegistration registered{
    {QStringLiteral("conversation-queued"), sceneSize, queued},
    {QStringLiteral("conversation-building"), sceneSize, building},
    {QStringLiteral("conversation-ready"), sceneSize, ready},
    {QStringLiteral("conversation-saved"), sceneSize, saved},
    {QStringLiteral("conversation-local-done"), sceneSize, localDone},
    {QStringLiteral("conversation-local-failed"), sceneSize, localFailed},
    {QStringLiteral("conversation-unsafe"), sceneSize, unsafe},
};

} // namespace
} // namespace brightloom::screens
