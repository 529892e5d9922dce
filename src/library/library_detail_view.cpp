#include "library_detail_view.h"

#include "platform/desktop.h"
#include "service/api.h"
#include "service/screen_action.h"

#include <qcoro/qcorofuture.h>

namespace brightloom {

const QString LibraryDetailView::changeAppText = QStringLiteral("Change this app");
const QString LibraryDetailView::versionsTitle = QStringLiteral("Versions");
const QString LibraryDetailView::treeTitle = QStringLiteral("Version tree");
const QString LibraryDetailView::treeCaption =
    QStringLiteral("Every change is a new version, starting at 1.0 at the top. Use any build as a "
                   "template to start a new branch from it.");
const QString LibraryDetailView::showInFinderText = QStringLiteral("Show in Finder");

LibraryDetailView::LibraryDetailView(API& api, QString projectId, OpenProject onOpen, Desktop* desktop,
                                     QObject* parent)
    : QObject(parent), m_api(&api), m_projectId(std::move(projectId)), m_onOpen(std::move(onOpen)),
      m_desktop(desktop), m_downloads(desktop)
{}

std::optional<QString> LibraryDetailView::originLine(const std::optional<ForkOrigin>& origin)
{
    if (!origin)
        return std::nullopt;
    if (!origin->name)
        return QStringLiteral("Started from a template that is no longer shared.");
    QString line = QStringLiteral("Started from ");
    if (origin->version)
        line += QStringLiteral("version ") + *origin->version + QStringLiteral(" of ");
    return line + *origin->name;
}

std::optional<QString> LibraryDetailView::originLine() const
{
    return m_detail ? originLine(m_detail->origin) : std::nullopt;
}

QString LibraryDetailView::downloadLabel(const LibraryVersion& version)
{
    return version.dmgUrl ? QStringLiteral("Download .dmg") : QStringLiteral("Download .zip");
}

QString LibraryDetailView::downloadName(const LibraryVersion& version)
{
    return QString(version.appName + QLatin1Char(' ') + version.version).trimmed();
}

QString LibraryDetailView::downloadUrl(const LibraryVersion& version)
{
    return version.dmgUrl.value_or(version.downloadUrl);
}

std::optional<QString> LibraryDetailView::savedFile(const QString& jobId) const
{
    const auto found = m_downloads.saved().constFind(jobId);
    if (found == m_downloads.saved().cend())
        return std::nullopt;
    return *found;
}

TemplateButton LibraryDetailView::templateButton(const TreeRow& row) const
{
    return TreeRows::templateButton(row, m_detail && m_detail->canTemplate, forkingText());
}

QCoro::Task<> LibraryDetailView::load()
{
    if (!m_api)
        co_return;
    ScreenAction action(
        this, ScreenAction::Busy(), [this](std::optional<QString> error) { setError(error); }, false);
    std::optional<LibraryDetail> detail = co_await action.attempt(m_api->libraryDetail(m_projectId));
    if (!action.screenAlive())
        co_return;
    if (detail) {
        // A deep tree takes a while to list: the rows are made on the thread pool.
        const std::shared_ptr<std::vector<TreeRow>> rows =
            co_await TreeRows::flattenInBackground(detail->tree);
        if (!action.screenAlive())
            co_return;
        m_detail = std::move(detail);
        m_rows = std::move(*rows);
        Q_EMIT detailChanged();
    }
    Q_EMIT loadFinished();
}

void LibraryDetailView::changeApp()
{
    // A copy: opening the conversation may close this screen, and its handler with it.
    const OpenProject open = m_onOpen;
    if (open)
        open(m_projectId);
}

QCoro::Task<> LibraryDetailView::fork(QString jobId)
{
    if (m_forking || !m_api)
        co_return;
    ScreenAction action(
        this, [this, jobId](bool on) { setForking(on ? std::optional<QString>(jobId) : std::nullopt); },
        [this](std::optional<QString> error) { setError(std::move(error)); });
    const std::optional<QString> created = co_await action.attempt(m_api->forkTemplate(jobId));
    if (!created)
        co_return;
    // A copy: opening the new project may close this screen, and its handler with it.
    const OpenProject open = m_onOpen;
    if (open)
        open(*created);
}

const LibraryVersion* LibraryDetailView::version(const QString& jobId) const
{
    if (!m_detail)
        return nullptr;
    for (const LibraryVersion& v : m_detail->app.versions) {
        if (v.jobId == jobId)
            return &v;
    }
    return nullptr;
}

void LibraryDetailView::download(const QString& jobId)
{
    const LibraryVersion* found = version(jobId);
    if (!found || !m_api)
        return;
    // A version without a disk image offers its app archive, which is kept as the zip it is.
    const QString extension = found->dmgUrl ? QStringLiteral("dmg") : QStringLiteral("zip");
    m_downloads.get(jobId, downloadUrl(*found), downloadName(*found), *m_api, extension);
}

void LibraryDetailView::showInFinder(const QString& jobId)
{
    const std::optional<QString> saved = savedFile(jobId);
    if (saved && m_desktop)
        m_desktop->reveal(*saved);
}

void LibraryDetailView::setError(std::optional<QString> error)
{
    assignAndNotify(this, m_error, std::move(error), &LibraryDetailView::errorChanged);
}

void LibraryDetailView::setForking(std::optional<QString> jobId)
{
    assignAndNotify(this, m_forking, std::move(jobId), &LibraryDetailView::forkingChanged);
}

} // namespace brightloom
