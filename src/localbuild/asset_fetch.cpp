#include "asset_fetch.h"

#include "asset_set.h"
#include "platform/tool_paths.h"
#include "rejected.h"
#include "service/api_error.h"
#include "text/characters.h"
#include "threads/background_priority.h"
#include "tree_copy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtConcurrent/QtConcurrentRun>
#include <exception>
#include <qcoro/qcorofuture.h>

namespace brightloom::LocalBuild {

namespace {

// Git never prompts for credentials and reads neither the system's nor the user's settings.
QMap<QString, QString> gitEnvironment()
{
    QMap<QString, QString> env;
    env.insert(QStringLiteral("GIT_TERMINAL_PROMPT"), QStringLiteral("0"));
    env.insert(QStringLiteral("GIT_CONFIG_NOSYSTEM"), QStringLiteral("1"));
    env.insert(QStringLiteral("GIT_CONFIG_GLOBAL"), QStringLiteral("/dev/null"));
    return env;
}

struct GitStep
{
    QStringList arguments;
    std::optional<QString> cwd;
    double timeout = 0;
};

// The git runs of one entry, in order: a shallow, blob-less, sparse clone without a checkout; the
// ref's commit when one is named; the sparse selection, each path anchored at the root; the checkout
// that downloads the selected contents.
QList<GitStep> gitSteps(const AssetSet& set, const QString& workingCopy, const Limits& limits)
{
    QList<GitStep> steps;
    GitStep clone;
    clone.arguments << QStringLiteral("clone") << QStringLiteral("--quiet") << QStringLiteral("--depth")
                    << QStringLiteral("1") << QStringLiteral("--filter=blob:none")
                    << QStringLiteral("--no-checkout") << QStringLiteral("--sparse") << set.repo
                    << workingCopy;
    clone.timeout = limits.gitClone;
    steps.append(clone);

    const QStringList checkoutFetched = QStringList()
                                        << QStringLiteral("checkout") << QStringLiteral("--quiet")
                                        << QStringLiteral("--detach") << QStringLiteral("FETCH_HEAD");
    if (set.ref) {
        GitStep fetch;
        fetch.arguments << QStringLiteral("fetch") << QStringLiteral("--quiet") << QStringLiteral("--depth")
                        << QStringLiteral("1") << QStringLiteral("--filter=blob:none")
                        << QStringLiteral("origin") << *set.ref;
        fetch.cwd = workingCopy;
        fetch.timeout = limits.gitFetch;
        steps.append(fetch);
        steps.append(GitStep{checkoutFetched, workingCopy, limits.gitCheckoutFetched});
    }

    GitStep sparse;
    sparse.arguments << QStringLiteral("sparse-checkout") << QStringLiteral("set")
                     << QStringLiteral("--no-cone") << QStringLiteral("--");
    for (const QString& path : set.paths)
        sparse.arguments << QLatin1Char('/') + path;
    sparse.cwd = workingCopy;
    sparse.timeout = limits.gitSparseCheckout;
    steps.append(sparse);

    GitStep checkout;
    checkout.arguments =
        set.ref ? checkoutFetched : QStringList() << QStringLiteral("checkout") << QStringLiteral("--quiet");
    checkout.cwd = workingCopy;
    checkout.timeout = limits.gitCheckout;
    steps.append(checkout);
    return steps;
}

struct Copied
{
    std::int64_t total = 0;
    bool tooLarge = false;
    QString error; // a file that could not be copied
};

// Copies the regular files of the working copy into `target`, keeping their paths, and leaves out
// git's own data and symbolic links. Stops before the file that takes `total` past the limit.
// Blocks on the file system.
Copied copyRegularFiles(const QString& workingCopy, const QString& target, std::int64_t total)
{
    yieldToMainThread();
    Copied copied;
    copied.total = total;
    const QString root = QFileInfo(workingCopy).canonicalFilePath();
    QFileInfoList pending = QDir(root).entryInfoList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name | QDir::Reversed);
    while (!pending.isEmpty()) {
        const QFileInfo item = pending.takeLast();
        const QString relative = item.absoluteFilePath().mid(root.size() + 1);
        if (relative == QLatin1String(".git") || relative.startsWith(QLatin1String(".git/")))
            continue;
        if (item.isSymLink())
            continue;
        if (item.isDir()) {
            pending.append(
                QDir(item.absoluteFilePath())
                    .entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                   QDir::Name | QDir::Reversed));
            continue;
        }
        if (!item.isFile())
            continue;
        copied.total += item.size();
        if (copied.total > maxAssetBytes) {
            copied.tooLarge = true;
            return copied;
        }
        const QString destination = target + QLatin1Char('/') + relative;
        if (!QDir().mkpath(QFileInfo(destination).absolutePath())) {
            copied.error =
                QStringLiteral("Could not create the folder %1.").arg(QFileInfo(destination).absolutePath());
            return copied;
        }
        QFile::remove(destination);
        if (!QFile::copy(item.absoluteFilePath(), destination)) {
            copied.error =
                QStringLiteral("Could not copy %1 to %2.").arg(item.absoluteFilePath(), destination);
            return copied;
        }
    }
    return copied;
}

} // namespace

QCoro::Task<> fetchAssets(QString project, OutputObserver log, Limits limits)
{
    const QDir folder(QFileInfo(project).absoluteFilePath());
    QFile declaration(folder.filePath(QStringLiteral("assets.json")));
    if (!declaration.exists())
        co_return;
    if (!declaration.open(QIODevice::ReadOnly))
        throw FileError(
            QStringLiteral("Could not read %1: %2").arg(declaration.fileName(), declaration.errorString()));
    const QList<AssetSet> sets = decodeAssetSets(declaration.readAll());
    declaration.close();
    if (sets.size() > maxAssetSets)
        throw Rejected(QStringLiteral("assets.json lists too many repositories"));

    const QString assets = folder.filePath(QStringLiteral(".assets"));
    co_await removeInBackground(assets);
    if (!QDir().mkpath(assets))
        throw FileError(QStringLiteral("Could not create the folder %1.").arg(assets));

    std::int64_t total = 0;
    for (qsizetype i = 0; i < sets.size(); ++i) {
        const AssetSet& set = sets[i];
        checkAssetSet(set);
        if (log)
            log(QStringLiteral("Downloading assets from ") + set.repo + QLatin1Char('\n'));

        const QString workingCopy = folder.filePath(QStringLiteral(".assets-src") + QString::number(i));
        co_await removeInBackground(workingCopy);
        // The working copy goes whatever happens; the failure is raised once it is gone.
        std::exception_ptr failure;
        try {
            for (const GitStep& step : gitSteps(set, workingCopy, limits)) {
                const Output ran = co_await run(toolPath(QStringLiteral("git")), step.arguments, step.cwd,
                                                limits.until(step.timeout), gitEnvironment());
                if (ran.code != 0)
                    throw APIError(QStringLiteral("Could not download assets from ") + set.repo +
                                   QStringLiteral(": ") + text::lastCharacters(ran.text(), 200));
            }
            const QString target = assets + QLatin1Char('/') + assetFolderName(set);
            if (!QDir().mkpath(target))
                throw FileError(QStringLiteral("Could not create the folder %1.").arg(target));
            QFuture<Copied> copying = QtConcurrent::run(&copyRegularFiles, workingCopy, target, total);
            const Copied copied = co_await copying;
            total = copied.total;
            if (copied.tooLarge)
                throw Rejected(QStringLiteral("assets are larger than ") + QString::number(157) +
                               QStringLiteral(" MB"));
            if (!copied.error.isEmpty())
                throw FileError(copied.error);
        } catch (...) {
            failure = std::current_exception();
        }
        co_await removeInBackground(workingCopy);
        if (failure)
            std::rethrow_exception(failure);
    }
    if (log)
        log(QStringLiteral("Assets ready (") + QString::number(total / 1'000'000) + QStringLiteral(" MB)\n"));
}

} // namespace brightloom::LocalBuild
