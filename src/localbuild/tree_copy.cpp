#include "tree_copy.h"

#include "threads/background_priority.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtConcurrent/QtConcurrentRun>
#include <filesystem>
#include <qcoro/qcorofuture.h>

namespace brightloom::LocalBuild {

namespace {

// Makes room for a file or link at `to`: an older file or link there is replaced, a folder is not.
bool clearFileSpot(const QString& to)
{
    const QFileInfo old(to);
    if (old.isSymLink() || (old.exists() && !old.isDir()))
        return QFile::remove(to);
    return true;
}

QString copyOne(const QFileInfo& item, const QString& to)
{
    if (item.isSymLink()) {
        // The link's own text, so that a relative link inside a framework stays relative.
        std::error_code error;
        const auto target = std::filesystem::read_symlink(item.filePath().toStdString(), error);
        if (!error && clearFileSpot(to))
            std::filesystem::create_symlink(target, to.toStdString(), error);
        else if (!error)
            error = std::make_error_code(std::errc::file_exists);
        if (error)
            return QStringLiteral("Could not copy the link %1 to %2: %3")
                .arg(item.filePath(), to, QString::fromStdString(error.message()));
        return {};
    }
    if (item.isDir()) {
        if (!QDir().mkpath(to))
            return QStringLiteral("Could not create the folder %1.").arg(to);
        QFile::setPermissions(to, item.permissions());
        return {};
    }
    if (!clearFileSpot(to) || !QFile::copy(item.filePath(), to))
        return QStringLiteral("Could not copy %1 to %2.").arg(item.filePath(), to);
    return {};
}

} // namespace

QString copyTree(const QString& from, const QString& to)
{
    // Pre-order walk with an explicit stack, so deep trees cannot exhaust the thread's stack.
    QList<std::pair<QString, QString>> pending;
    pending.append({from, to});
    while (!pending.isEmpty()) {
        const auto [source, target] = pending.takeLast();
        const QFileInfo item(source);
        if (!item.exists() && !item.isSymLink())
            return QStringLiteral("Could not copy %1: it does not exist.").arg(source);
        if (const QString error = copyOne(item, target); !error.isEmpty())
            return error;
        if (item.isDir() && !item.isSymLink()) {
            const QStringList names =
                QDir(source).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                       QDir::Name | QDir::Reversed);
            for (const QString& name : names)
                pending.append({source + QLatin1Char('/') + name, target + QLatin1Char('/') + name});
        }
    }
    return {};
}

// The futures are made outside the coroutines: GCC 12 destroys a capturing lambda that is a
// temporary of a co_await expression twice.
QFuture<QString> startCopyingTree(const QString& from, const QString& to)
{
    return QtConcurrent::run([from, to] {
        yieldToMainThread();
        return copyTree(from, to);
    });
}

QFuture<void> startRemoving(const QString& path)
{
    return QtConcurrent::run([path] {
        const QFileInfo item(path);
        if (item.isDir() && !item.isSymLink())
            QDir(path).removeRecursively();
        else
            QFile::remove(path);
    });
}

QCoro::Task<QString> copyTreeInBackground(QString from, QString to)
{
    QFuture<QString> copied = startCopyingTree(from, to);
    co_return co_await copied;
}

QCoro::Task<> removeInBackground(QString path)
{
    QFuture<void> removed = startRemoving(path);
    co_await removed;
}

} // namespace brightloom::LocalBuild
