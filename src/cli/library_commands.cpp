// Commands about the library, the gallery, GitHub and the build machines. The library and GitHub
// print what their screens show, through the same screen models.

#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "library/github_sync_view.h"
#include "library/library_detail_view.h"
#include "library/library_view.h"
#include "service/api.h"
#include "service/api_error.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <qcoro/qcorosignal.h>

namespace brightloom::cli {
namespace {

const QString unsafeLine = QStringLiteral("Made from an imported GitHub repo (unsafe mode).");

// One app's page: its name, where it started, its versions with their job ids and downloads, and
// the version tree indented two spaces a level.
void printDetail(const LibraryDetailView& view)
{
    const LibraryDetail& detail = *view.detail();
    out(detail.app.name);
    if (detail.app.unsafe.value_or(false))
        out(unsafeLine);
    if (const std::optional<QString> origin = view.originLine())
        out(*origin);
    out(QString());
    out(LibraryDetailView::versionsTitle);
    for (const LibraryVersion& version : detail.app.versions) {
        out(QStringLiteral("Version ") + version.version + QLatin1Char('\t') + version.appName +
            QLatin1Char('\t') + version.summary.value_or(QString()) + QLatin1Char('\t') + version.jobId +
            QLatin1Char('\t') + LibraryDetailView::downloadLabel(version));
    }
    out(QString());
    out(LibraryDetailView::treeTitle);
    for (const TreeRow& row : view.rows()) {
        QString line = QString(row.depth * 2, QLatin1Char(' ')) + row.text;
        if (row.kind == TreeRow::Kind::version) {
            line += QLatin1Char('\t') + row.detail + QLatin1Char('\t') + row.jobId;
            if (!row.hasSource)
                line += QStringLiteral("\tsource not kept");
        }
        out(line);
    }
}

QCoro::Task<int> libraryList(API& api, bool json)
{
    if (json) {
        LibraryResp resp;
        resp.apps = co_await api.library();
        out(QString::fromUtf8(encodeRecord(resp)));
        co_return 0;
    }
    LibraryView view(api, {});
    co_await view.load();
    if (view.error())
        throw APIError(*view.error());
    if (view.showsEmptyText())
        out(LibraryView::emptyText);
    for (const LibraryApp& app : view.apps())
        out(app.projectId + QLatin1Char('\t') + app.name + QLatin1Char('\t') + LibraryView::versionLine(app));
    co_return 0;
}

// Saves the version `jobId` as the app's page does: through its downloads, keyed by the job.
QCoro::Task<int> downloadVersion(LibraryDetailView& view, QString jobId)
{
    bool known = false;
    for (const LibraryVersion& version : view.detail()->app.versions)
        known = known || version.jobId == jobId;
    if (!known)
        throw APIError(QStringLiteral("This app has no version built by job ") + jobId + QLatin1Char('.'));
    DmgDownloads* downloads = view.downloads();
    view.download(jobId);
    while (view.downloadBusy(jobId))
        co_await qCoro(downloads, &DmgDownloads::finished);
    const std::optional<QString> saved = view.savedFile(jobId);
    if (!saved)
        throw APIError(downloads->error());
    out(*saved);
    co_return 0;
}

// The panel as it reads: its title, the texts of its state and the labels of what can be done.
void printPanel(const GithubSyncView& view)
{
    out(GithubSyncView::title);
    switch (view.state()) {
    case GithubSyncView::State::unavailable:
        out(GithubSyncView::unavailableText);
        break;
    case GithubSyncView::State::connect:
        out(GithubSyncView::connectText);
        out(GithubSyncView::connectButton + QStringLiteral(": ") + view.connectUrl().toString());
        break;
    case GithubSyncView::State::linked:
        out(view.linkedText());
        out(view.pushLabel().value_or(GithubSyncView::noSourceText));
        out(GithubSyncView::unlinkText);
        break;
    case GithubSyncView::State::choose:
        out(view.chooseText());
        if (view.repos().isEmpty()) {
            out(GithubSyncView::noReposText);
            break;
        }
        out(GithubSyncView::repositoryLabel);
        for (const GithubRepo& repo : view.repos())
            out(QStringLiteral("  ") + repo.fullName +
                (repo.fullName == view.choice() ? QStringLiteral("\tchosen") : QString()));
        out(GithubSyncView::useRepoText);
        break;
    }
}

void failOnError(const GithubSyncView& view)
{
    if (view.error())
        throw APIError(*view.error());
}

} // namespace

QCoro::Task<int> library(API& api, Arguments args)
{
    const bool json = args.flag(QStringLiteral("json"));
    if (args.positionalCount() == 0)
        co_return co_await libraryList(api, json);

    const QString projectId = args.positional(0, "project id");
    if (json) {
        out(QString::fromUtf8(encodeRecord(co_await api.libraryDetail(projectId))));
        co_return 0;
    }
    LibraryDetailView view(api, projectId, {});
    co_await view.load();
    if (!view.detail())
        throw APIError(view.errorText());
    if (const std::optional<QString> job = args.option(QStringLiteral("download")))
        co_return co_await downloadVersion(view, *job);
    printDetail(view);
    co_return 0;
}

QCoro::Task<int> fork(API& api, Arguments args)
{
    const QString jobId = args.positional(0, "job id");
    // The fork is the app page's "Use as template": it needs no app loaded, only the version.
    QString created;
    LibraryDetailView view(api, QString(), [&created](QString projectId) { created = projectId; });
    co_await view.fork(jobId);
    if (view.error())
        throw APIError(*view.error());
    out(created);
    co_return 0;
}

QCoro::Task<int> favorite(API& api, Arguments args)
{
    const QString slug = args.positional(0, "slug");
    const QString state = args.positional(1, "on or off");
    if (state != QLatin1String("on") && state != QLatin1String("off"))
        throw UsageError(QStringLiteral("favorite takes on or off"));
    co_await api.setFavorite(slug, state == QLatin1String("on"));
    co_return 0;
}

QCoro::Task<int> github(API& api, Arguments args)
{
    const QString project = args.positional(0, "project id");
    const QString action = args.positionalCount() > 1 ? args.positional(1, "action") : QString();
    const bool json = args.flag(QStringLiteral("json"));
    GithubSyncView view(api, project);
    if (action.isEmpty()) {
        co_await view.load();
        if (json && view.panel()) {
            out(QString::fromUtf8(encodeRecord(*view.panel())));
            co_return 0;
        }
        // No panel is a failure here: its text alone goes to standard error.
        if (view.state() == GithubSyncView::State::unavailable)
            throw APIError(GithubSyncView::unavailableText);
        printPanel(view);
        failOnError(view);
        co_return 0;
    }
    if (action == QLatin1String("repos")) {
        for (const GithubRepo& repo : co_await api.githubRepos())
            out(repo.fullName);
    } else if (action == QLatin1String("link")) {
        view.setChoice(args.positional(2, "repository"));
        co_await view.link();
        failOnError(view);
        printPanel(view);
    } else if (action == QLatin1String("unlink")) {
        co_await view.unlink();
        failOnError(view);
        printPanel(view);
    } else if (action == QLatin1String("push")) {
        if (json) {
            out(QString::fromUtf8(encodeRecord(co_await api.githubPush(project))));
            co_return 0;
        }
        co_await view.push();
        failOnError(view);
        out(view.messageText());
        if (view.commitUrl())
            out(*view.commitUrl());
    } else {
        throw UsageError(QStringLiteral("unknown github action ") + action);
    }
    co_return 0;
}

QCoro::Task<int> workerStatus(API& api, Arguments args)
{
    const WorkerStatus status = co_await api.workerStatus();
    if (args.flag(QStringLiteral("json"))) {
        out(QString::fromUtf8(encodeRecord(status)));
        co_return 0;
    }
    out((status.online ? QStringLiteral("online") : QStringLiteral("offline")) +
        (status.delayed ? QStringLiteral("\tdelayed") : QString()) +
        (status.reason ? QLatin1Char('\t') + *status.reason : QString()));
    co_return 0;
}

} // namespace brightloom::cli
