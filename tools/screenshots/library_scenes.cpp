// Scenes of the library: the list of apps, the page of a forked app with its versions and tree,
// and each state of the GitHub panel. The stand-in service is prepared through its own paths and
// its control interface, the same way in the light and the dark run, so both show the same apps.

#include "library/github_sync_view.h"
#include "library/library_view.h"
#include "platform/desktop.h"
#include "scene.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "ui/app/window_screens.h"
#include "ui/library/github_sync_view_widget.h"
#include "ui/library/library_detail_view_widget.h"
#include "ui/library/library_view_widget.h"

#include <QJsonObject>
#include <QLabel>
#include <QUuid>
#include <cstdio>

namespace brightloom::screens {
namespace {

const QString demoEmail = QStringLiteral("demo@brightloom.test");
const QString demoPassword = QStringLiteral("brightloom-demo");

QJsonObject publicTemplate()
{
    QJsonObject body;
    body.insert(QStringLiteral("public"), true);
    return body;
}

QString freshEmail(const QString& name)
{
    return name.toLower() + QLatin1Char('-') + QUuid::createUuid().toString(QUuid::Id128).left(8) +
           QStringLiteral("@brightloom.test");
}

QCoro::Task<> finishJobs(API& api)
{
    co_await api.request(QStringLiteral("control/clock/finish"), "POST", QJsonObject());
}

QCoro::Task<> publish(API& api, QString projectId)
{
    co_await api.request(QStringLiteral("control/projects/") + projectId + QStringLiteral("/template"), "PUT",
                         publicTemplate());
}

QCoro::Task<> change(API& api, QString projectId, QString prompt)
{
    co_await api.send(prompt, projectId, false);
    co_await finishJobs(api);
}

QCoro::Task<QStringList> versionJobs(API& api, QString projectId)
{
    const LibraryDetail detail = co_await api.libraryDetail(projectId);
    QStringList jobs;
    for (const LibraryVersion& version : detail.app.versions)
        jobs.prepend(version.jobId);
    co_return jobs;
}

struct Prepared
{
    QString notes; // the published original
    QString fork;  // the demo account's own fork of it
};

Prepared prepared(const QString& notes, const QString& fork)
{
    Prepared made;
    made.notes = notes;
    made.fork = fork;
    return made;
}

// A page that says why a scene could not be prepared, so the picture tells.
QWidget* failed(const char* scene, const std::exception& error)
{
    std::fprintf(stderr, "%s: %s\n", scene, error.what());
    return page(new QLabel(QString::fromUtf8(error.what())));
}

std::optional<Prepared> findPrepared(const QList<LibraryApp>& apps)
{
    Prepared prepared;
    for (const LibraryApp& app : apps) {
        if (app.name != QLatin1String("Notes"))
            continue;
        if (app.templatePublic)
            prepared.notes = app.projectId;
        else
            prepared.fork = app.projectId;
    }
    if (prepared.notes.isEmpty() || prepared.fork.isEmpty())
        return std::nullopt;
    return prepared;
}

// The demo account's library: a few apps, one of them published and forked by two other people (one
// fork private, one shared) and by the demo account itself; and its GitHub account connected.
QCoro::Task<Prepared> prepareLibrary(API& api)
{
    if (const std::optional<Prepared> found = findPrepared(co_await api.library()))
        co_return *found;

    const QString notes = co_await api.createProject(QStringLiteral("a notes app with tags"), false,
                                                     std::nullopt, std::nullopt);
    co_await finishJobs(api);
    co_await change(api, notes, QStringLiteral("Add a dark mode that follows the system."));
    co_await change(api, notes, QStringLiteral("Sync notes with iCloud."));
    for (const Project& project : api.projects()) {
        if (project.name == QLatin1String("Pomodoro Timer"))
            co_await change(api, project.id,
                            QStringLiteral("A pomodoro timer with a countdown in the menu bar."));
        if (project.name == QLatin1String("Recipe Box")) {
            co_await change(api, project.id, QStringLiteral("A recipe box that sorts recipes by cuisine."));
            co_await change(api, project.id, QStringLiteral("Add a shopping list."));
        }
    }
    co_await publish(api, notes);
    const QStringList jobs = co_await versionJobs(api, notes);

    co_await api.signUp(QStringLiteral("Ada"), freshEmail(QStringLiteral("ada")),
                        QStringLiteral("long enough"));
    co_await api.forkTemplate(jobs.value(0));
    co_await api.signUp(QStringLiteral("Bo"), freshEmail(QStringLiteral("bo")),
                        QStringLiteral("long enough"));
    const QString shared = co_await api.forkTemplate(jobs.value(1));
    co_await change(api, shared, QStringLiteral("Add a Markdown preview."));
    co_await publish(api, shared);

    co_await api.signIn(demoEmail, demoPassword);
    const QString fork = co_await api.forkTemplate(jobs.value(1));
    co_await change(api, fork, QStringLiteral("Make it a menu bar app."));
    // Opening the service's library page with the session connects GitHub.
    co_await api.request(QStringLiteral("library/") + notes, "GET");
    co_return prepared(notes, fork);
}

QCoro::Task<QWidget*> libraryList(SceneContext& context)
{
    try {
        co_await prepareLibrary(context.api);
        auto* widget = ui::libraryScreen(context.api, context.icons, context.desktop, [](QString) {});
        co_await waitUntil([widget] { return widget->model().loaded(); });
        co_return widget;
    } catch (const std::exception& error) {
        co_return failed("library", error);
    }
}

QCoro::Task<QWidget*> libraryDetail(SceneContext& context)
{
    try {
        const Prepared prepared = co_await prepareLibrary(context.api);
        auto* widget = ui::libraryScreen(context.api, context.icons, context.desktop, [](QString) {});
        co_await waitUntil([widget] { return widget->model().loaded(); });
        widget->model().select(prepared.fork);
        co_await waitUntil([widget] {
            return widget->detail() && widget->detail()->model().detail() &&
                   widget->detail()->github().panel().has_value();
        });
        co_return widget;
    } catch (const std::exception& error) {
        co_return failed("library-detail", error);
    }
}

// The panel alone, on a page, once it has loaded.
QCoro::Task<QWidget*> panelPage(SceneContext& context, GithubSyncView* model)
{
    auto* panel = new ui::GithubSyncViewWidget(*model, context.desktop);
    QWidget* shown = page(panel);
    model->setParent(shown);
    co_return shown;
}

QCoro::Task<QWidget*> githubUnavailable(SceneContext& context)
{
    try {
        auto* model = new GithubSyncView(context.api, QStringLiteral("no-such-project"));
        co_await model->load();
        co_return co_await panelPage(context, model);
    } catch (const std::exception& error) {
        co_return failed("github-unavailable", error);
    }
}

QCoro::Task<QWidget*> githubConnect(SceneContext& context)
{
    try {
        // GitHub is connected per account: a new account has not connected it yet.
        API& api = context.api;
        co_await api.signUp(QStringLiteral("Cy"), freshEmail(QStringLiteral("cy")),
                            QStringLiteral("long enough"));
        const QString project = co_await api.createProject(QStringLiteral("a habit tracker with streaks"),
                                                           false, std::nullopt, std::nullopt);
        co_await finishJobs(api);
        auto* model = new GithubSyncView(api, project);
        co_await model->load();
        co_await api.signIn(demoEmail, demoPassword);
        co_return co_await panelPage(context, model);
    } catch (const std::exception& error) {
        co_return failed("github-connect", error);
    }
}

QCoro::Task<QWidget*> githubChoose(SceneContext& context)
{
    try {
        const Prepared prepared = co_await prepareLibrary(context.api);
        auto* model = new GithubSyncView(context.api, prepared.fork);
        co_await model->load();
        co_return co_await panelPage(context, model);
    } catch (const std::exception& error) {
        co_return failed("github-choose", error);
    }
}

QCoro::Task<QWidget*> githubLinked(SceneContext& context)
{
    try {
        const Prepared prepared = co_await prepareLibrary(context.api);
        auto* model = new GithubSyncView(context.api, prepared.notes);
        co_await model->load();
        // Linked anew each run, so the push always sends the newest version.
        if (model->state() == GithubSyncView::State::linked)
            co_await model->unlink();
        model->setChoice(QStringLiteral("demo/brightloom-apps"));
        co_await model->link();
        co_await model->push();
        if (!model->errorText().isEmpty())
            std::fprintf(stderr, "github-linked: %s\n", qPrintable(model->errorText()));
        co_return co_await panelPage(context, model);
    } catch (const std::exception& error) {
        co_return failed("github-linked", error);
    }
}

const SceneRegistration registered{
    {QStringLiteral("library"), QSize(900, 620), libraryList},
    {QStringLiteral("library-detail"), QSize(900, 1070), libraryDetail},
    {QStringLiteral("github-unavailable"), QSize(700, 124), githubUnavailable},
    {QStringLiteral("github-connect"), QSize(700, 152), githubConnect},
    {QStringLiteral("github-choose"), QSize(700, 152), githubChoose},
    {QStringLiteral("github-linked"), QSize(700, 204), githubLinked},
};

} // namespace
} // namespace brightloom::screens
