// Commands about the library, the gallery, GitHub and the build machines.

#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "service/api.h"
#include "service/api_error.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace brightloom::cli {
namespace {

QString flag(bool on, const char* word)
{
    return on ? QLatin1Char('\t') + QString::fromLatin1(word) : QString();
}

// Prints a version tree with an explicit stack, indenting forks under the version they branch off.
void printTree(const std::vector<std::shared_ptr<const TreeNode>>& roots)
{
    struct Item
    {
        const TreeNode* node;
        const TreeFork* fork;
        int depth;
    };
    std::vector<Item> stack;
    for (auto it = roots.rbegin(); it != roots.rend(); ++it)
        stack.push_back({it->get(), nullptr, 0});
    while (!stack.empty()) {
        const Item item = stack.back();
        stack.pop_back();
        const QString indent(item.depth * 2, QLatin1Char(' '));
        if (item.fork) {
            out(indent + QStringLiteral("fork\t") + item.fork->projectId + QLatin1Char('\t') +
                item.fork->name + flag(item.fork->mine, "mine"));
            for (auto it = item.fork->nodes.rbegin(); it != item.fork->nodes.rend(); ++it)
                stack.push_back({it->get(), nullptr, item.depth + 1});
            continue;
        }
        const TreeNode& node = *item.node;
        out(indent + QStringLiteral("version\t") + node.jobId + QLatin1Char('\t') + node.version +
            QLatin1Char('\t') + node.summary.value_or(node.prompt) +
            (node.hiddenForks > 0 ? QStringLiteral("\t+%1 hidden forks").arg(node.hiddenForks) : QString()));
        for (auto it = node.forks.rbegin(); it != node.forks.rend(); ++it)
            stack.push_back({nullptr, it->get(), item.depth + 1});
    }
}

} // namespace

QCoro::Task<int> library(API& api, QStringList words)
{
    const Arguments args = parse(words, {}, {"json"});
    const bool json = args.flag(QStringLiteral("json"));
    if (args.positionalCount() > 0) {
        const LibraryDetail detail = co_await api.libraryDetail(args.positional(0, "project id"));
        if (json) {
            out(QString::fromUtf8(encodeRecord(detail)));
            co_return 0;
        }
        out(QStringLiteral("app\t") + detail.app.projectId + QLatin1Char('\t') + detail.app.name +
            flag(detail.canTemplate, "template"));
        if (detail.origin)
            out(QStringLiteral("forked from\t") + detail.origin->name.value_or(QString()) +
                QLatin1Char('\t') + detail.origin->version.value_or(QString()));
        printTree(detail.tree);
        co_return 0;
    }
    LibraryResp resp;
    resp.apps = co_await api.library();
    if (json) {
        out(QString::fromUtf8(encodeRecord(resp)));
        co_return 0;
    }
    for (const LibraryApp& app : resp.apps) {
        out(app.projectId + QLatin1Char('\t') + app.name +
            QStringLiteral("\t%1 versions").arg(app.versions.size()) + flag(app.templatePublic, "public") +
            flag(app.unsafe.value_or(false), "unsafe"));
    }
    co_return 0;
}

QCoro::Task<int> fork(API& api, QStringList words)
{
    const Arguments args = parse(words, {}, {});
    out(co_await api.forkTemplate(args.positional(0, "job id")));
    co_return 0;
}

QCoro::Task<int> favorite(API& api, QStringList words)
{
    const Arguments args = parse(words, {}, {});
    const QString slug = args.positional(0, "slug");
    const QString state = args.positional(1, "on or off");
    if (state != QLatin1String("on") && state != QLatin1String("off"))
        throw UsageError(QStringLiteral("favorite takes on or off"));
    co_await api.setFavorite(slug, state == QLatin1String("on"));
    co_return 0;
}

QCoro::Task<int> github(API& api, QStringList words)
{
    const Arguments args = parse(words, {}, {"json"});
    const QString project = args.positional(0, "project id");
    const QString action = args.positionalCount() > 1 ? args.positional(1, "action") : QString();
    if (action.isEmpty()) {
        const std::optional<GithubPanel> panel = co_await api.githubPanel(project);
        if (!panel)
            throw APIError(QStringLiteral("The GitHub panel could not be loaded."));
        if (args.flag(QStringLiteral("json"))) {
            out(QString::fromUtf8(encodeRecord(*panel)));
            co_return 0;
        }
        out(QStringLiteral("state\t") + panel->state);
        if (panel->login)
            out(QStringLiteral("login\t") + *panel->login);
        if (panel->pushVersion)
            out(QStringLiteral("push version\t") + *panel->pushVersion);
        if (panel->link)
            out(QStringLiteral("linked\t") + panel->link->repo + flag(panel->link->upToDate, "up to date"));
    } else if (action == QLatin1String("repos")) {
        for (const GithubRepo& repo : co_await api.githubRepos())
            out(repo.fullName);
    } else if (action == QLatin1String("link")) {
        co_await api.githubLinkRepo(project, args.positional(2, "repository"));
    } else if (action == QLatin1String("unlink")) {
        co_await api.githubUnlink(project);
    } else if (action == QLatin1String("push")) {
        const GithubPushResult result = co_await api.githubPush(project);
        if (args.flag(QStringLiteral("json"))) {
            out(QString::fromUtf8(encodeRecord(result)));
            co_return 0;
        }
        out(result.changed.value_or(false) ? QStringLiteral("pushed\t") + result.version.value_or(QString()) +
                                                 QLatin1Char('\t') + result.commitUrl.value_or(QString())
                                           : QStringLiteral("already up to date"));
    } else {
        throw UsageError(QStringLiteral("unknown github action ") + action);
    }
    co_return 0;
}

QCoro::Task<int> workerStatus(API& api, QStringList words)
{
    const Arguments args = parse(words, {}, {"json"});
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
