// Every service call beyond signing in and out.

#include "api.h"

namespace brightloom {
namespace {

QString projectPath(const QString& projectId)
{
    return QStringLiteral("api/projects/") + projectId;
}

QJsonObject promptBody(const QString& prompt)
{
    QJsonObject body;
    body.insert(QStringLiteral("prompt"), prompt);
    return body;
}

QJsonObject createBody(const QString& prompt, bool source, const std::optional<QString>& importRepo,
                       const std::optional<QString>& importRef)
{
    QJsonObject body = promptBody(prompt);
    if (source)
        body.insert(QStringLiteral("mode"), QStringLiteral("source"));
    if (importRepo) {
        body.insert(QStringLiteral("importRepo"), *importRepo);
        body.insert(QStringLiteral("acknowledgeUnsafe"), true);
        if (importRef && !importRef->isEmpty())
            body.insert(QStringLiteral("importRef"), *importRef);
    }
    return body;
}

QJsonObject singleValue(const char* key, const QJsonValue& value)
{
    QJsonObject body;
    body.insert(QLatin1String(key), value);
    return body;
}

} // namespace

QCoro::Task<ProjectDetail> API::detail(QString projectId)
{
    co_return co_await decode<ProjectDetail>(projectPath(projectId));
}

QCoro::Task<QString> API::createProject(QString prompt, bool source, std::optional<QString> importRepo,
                                        std::optional<QString> importRef)
{
    QPointer<API> self(this);
    const CreatedProjectResp resp = co_await decode<CreatedProjectResp>(
        QStringLiteral("api/projects"), "POST", createBody(prompt, source, importRepo, importRef));
    if (self)
        co_await loadProjects();
    co_return resp.id;
}

QCoro::Task<> API::send(QString prompt, QString projectId, bool fix)
{
    QJsonObject body = promptBody(prompt);
    if (fix)
        body.insert(QStringLiteral("mode"), QStringLiteral("source-fix"));
    co_await request(projectPath(projectId) + QStringLiteral("/messages"), "POST", body);
}

QCoro::Task<LibraryDetail> API::libraryDetail(QString projectId)
{
    co_return co_await decode<LibraryDetail>(QStringLiteral("api/library/") + projectId);
}

QCoro::Task<QList<LibraryApp>> API::library()
{
    const LibraryResp resp = co_await decode<LibraryResp>(QStringLiteral("api/library"));
    co_return resp.apps;
}

QCoro::Task<QString> API::forkTemplate(QString jobId)
{
    QPointer<API> self(this);
    const ForkResp resp =
        co_await decode<ForkResp>(QStringLiteral("api/templates/fork"), "POST", singleValue("jobId", jobId));
    if (self)
        co_await loadProjects();
    co_return resp.projectId;
}

QCoro::Task<QList<GalleryApp>> API::gallery()
{
    try {
        const GalleryResp resp = co_await decode<GalleryResp>(QStringLiteral("api/gallery"));
        co_return resp.apps;
    } catch (...) {
        co_return QList<GalleryApp>();
    }
}

QCoro::Task<QSet<QString>> API::favoriteSlugs()
{
    try {
        const FavoriteSlugsResp resp =
            co_await decode<FavoriteSlugsResp>(QStringLiteral("api/apps/favorites"));
        co_return QSet<QString>(resp.slugs.cbegin(), resp.slugs.cend());
    } catch (...) {
        co_return QSet<QString>();
    }
}

QCoro::Task<> API::setFavorite(QString slug, bool favorite)
{
    co_await request(QStringLiteral("api/apps/") + slug + QStringLiteral("/favorite"), "PUT",
                     singleValue("favorite", favorite));
}

QCoro::Task<std::optional<GithubPanel>> API::githubPanel(QString projectId)
{
    try {
        co_return co_await decode<GithubPanel>(projectPath(projectId) + QStringLiteral("/github"));
    } catch (...) {
        co_return std::nullopt;
    }
}

QCoro::Task<QList<GithubRepo>> API::githubRepos()
{
    const GithubReposResp resp = co_await decode<GithubReposResp>(QStringLiteral("api/github/repos"));
    co_return resp.repos;
}

QCoro::Task<> API::githubLinkRepo(QString projectId, QString repo)
{
    co_await request(projectPath(projectId) + QStringLiteral("/github"), "POST", singleValue("repo", repo));
}

QCoro::Task<> API::githubUnlink(QString projectId)
{
    co_await request(projectPath(projectId) + QStringLiteral("/github"), "DELETE");
}

QCoro::Task<GithubPushResult> API::githubPush(QString projectId)
{
    co_return co_await decode<GithubPushResult>(projectPath(projectId) + QStringLiteral("/github/push"),
                                                "POST", QJsonObject());
}

QCoro::Task<WorkerStatus> API::workerStatus()
{
    co_return co_await decode<WorkerStatus>(QStringLiteral("api/worker-status"));
}

std::optional<QUrl> API::iconURL(const QString& text) const
{
    // Only the prefix is tested: a text starting with "http" is taken as it stands, never resolved.
    if (text.startsWith(QLatin1String("http"))) {
        const QUrl url(text, QUrl::StrictMode);
        return url.isValid() ? std::optional<QUrl>(url) : std::nullopt;
    }
    const QUrl reference(text, QUrl::StrictMode);
    if (!reference.isValid())
        return std::nullopt;
    return m_base.resolved(reference);
}

} // namespace brightloom
