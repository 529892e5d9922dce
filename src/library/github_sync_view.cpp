#include "github_sync_view.h"

#include "service/api.h"
#include "service/screen_action.h"

namespace brightloom {

const QString GithubSyncView::title = QStringLiteral("GitHub");
const QString GithubSyncView::unavailableText = QStringLiteral("GitHub sync is not available right now.");
const QString GithubSyncView::connectText =
    QStringLiteral("Connect GitHub to keep this app's source in a repository.");
const QString GithubSyncView::connectButton = QStringLiteral("Connect GitHub");
const QString GithubSyncView::noSourceText =
    QStringLiteral("The newest build did not keep its source, so there is nothing to push.");
const QString GithubSyncView::pushAgainText = QStringLiteral("Push again");
const QString GithubSyncView::unlinkText = QStringLiteral("Stop syncing");
const QString GithubSyncView::noReposText = QStringLiteral(
    "No repositories shared with the app yet. Manage access on GitHub, then reopen this page.");
const QString GithubSyncView::repositoryLabel = QStringLiteral("Repository");
const QString GithubSyncView::useRepoText = QStringLiteral("Use this repository");
const QString GithubSyncView::upToDateText =
    QStringLiteral("Already up to date. The repository matches this build.");
const QString GithubSyncView::viewCommitText = QStringLiteral("View the commit");

GithubSyncView::GithubSyncView(API& api, QString projectId, QObject* parent)
    : QObject(parent), m_api(&api), m_projectId(std::move(projectId))
{}

GithubSyncView::State GithubSyncView::state() const
{
    if (!m_panel)
        return State::unavailable;
    if (m_panel->state == QLatin1String("connect"))
        return State::connect;
    if (m_panel->state == QLatin1String("ready"))
        return m_panel->link ? State::linked : State::choose;
    return State::unavailable;
}

void GithubSyncView::setChoice(const QString& fullName)
{
    assignAndNotify(this, m_choice, fullName, &GithubSyncView::choiceChanged);
}

QUrl GithubSyncView::connectUrl() const
{
    if (!m_api)
        return {};
    QUrl url = m_api->base();
    QString path = url.path();
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    url.setPath(path + QStringLiteral("library/") + m_projectId, QUrl::DecodedMode);
    url.setQuery(QString());
    url.setFragment(QString());
    return url;
}

QString GithubSyncView::linkedText() const
{
    if (!m_panel || !m_panel->link)
        return {};
    QString text = QStringLiteral("Syncs to ") + m_panel->link->repo;
    if (m_panel->link->lastVersion)
        text += QStringLiteral(". Last pushed: version ") + *m_panel->link->lastVersion;
    return text;
}

std::optional<QString> GithubSyncView::pushLabel() const
{
    if (!m_panel || !m_panel->pushVersion)
        return std::nullopt;
    if (m_panel->link && m_panel->link->upToDate)
        return pushAgainText;
    return QStringLiteral("Push version ") + *m_panel->pushVersion;
}

QString GithubSyncView::chooseText() const
{
    const QString login = m_panel && m_panel->login ? *m_panel->login : QStringLiteral("your account");
    return QStringLiteral("Connected as ") + login + QStringLiteral(". Pick the repository to push to.");
}

QString GithubSyncView::pushMessage(const GithubPushResult& result)
{
    if (result.changed == false)
        return upToDateText;
    // A push that names no version still reports the push itself.
    if (!result.version)
        return QStringLiteral("Pushed to GitHub.");
    return QStringLiteral("Pushed version ") + *result.version + QStringLiteral(" to GitHub.");
}

QCoro::Task<> GithubSyncView::load()
{
    QPointer<GithubSyncView> self(this);
    co_await loadPanel();
    if (self)
        Q_EMIT loadFinished();
}

QCoro::Task<> GithubSyncView::loadPanel()
{
    QPointer<GithubSyncView> self(this);
    if (!m_api)
        co_return;
    std::optional<GithubPanel> panel = co_await m_api->githubPanel(m_projectId);
    if (!self)
        co_return;
    const bool ready = panel && panel->state == QLatin1String("ready");
    const bool linked = panel && panel->link.has_value();
    setPanel(std::move(panel));
    // The repositories are only needed to choose one.
    if (!ready || linked || !m_api)
        co_return;
    std::optional<QList<GithubRepo>> repos;
    QString failure;
    try {
        repos = co_await m_api->githubRepos();
    } catch (const std::exception& e) {
        failure = QString::fromUtf8(e.what());
    }
    if (!self)
        co_return;
    if (!repos) {
        setError(failure);
        co_return;
    }
    if (*repos != m_repos) {
        m_repos = std::move(*repos);
        Q_EMIT reposChanged();
    }
    if (m_choice.isEmpty() && !m_repos.isEmpty())
        setChoice(m_repos.front().fullName);
}

QCoro::Task<> GithubSyncView::link()
{
    if (m_busy || !m_api)
        co_return;
    ScreenAction action(this, &GithubSyncView::setBusy, &GithubSyncView::setError);
    if (co_await action.attempt(m_api->githubLinkRepo(m_projectId, m_choice)))
        co_await load();
}

QCoro::Task<> GithubSyncView::unlink()
{
    if (m_busy || !m_api)
        co_return;
    ScreenAction action(this, &GithubSyncView::setBusy, &GithubSyncView::setError);
    if (co_await action.attempt(m_api->githubUnlink(m_projectId)))
        co_await load();
}

QCoro::Task<> GithubSyncView::push()
{
    if (m_busy || !m_api)
        co_return;
    ScreenAction action(this, &GithubSyncView::setBusy, &GithubSyncView::setError);
    const std::optional<GithubPushResult> result = co_await action.attempt(m_api->githubPush(m_projectId));
    if (!result)
        co_return;
    setMessage(pushMessage(*result));
    setCommitUrl(result->commitUrl);
    co_await load();
}

void GithubSyncView::setPanel(std::optional<GithubPanel> panel)
{
    m_panel = std::move(panel);
    Q_EMIT panelChanged();
}

void GithubSyncView::setBusy(bool busy)
{
    assignAndNotify(this, m_busy, busy, &GithubSyncView::busyChanged);
}

void GithubSyncView::setMessage(std::optional<QString> message)
{
    assignAndNotify(this, m_message, std::move(message), &GithubSyncView::messageChanged);
}

void GithubSyncView::setError(std::optional<QString> error)
{
    assignAndNotify(this, m_error, std::move(error), &GithubSyncView::errorChanged);
}

void GithubSyncView::setCommitUrl(std::optional<QString> url)
{
    assignAndNotify(this, m_commitUrl, std::move(url), &GithubSyncView::commitUrlChanged);
}

} // namespace brightloom
