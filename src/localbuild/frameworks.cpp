#include "frameworks.h"

#include "platform/tool_paths.h"
#include "process_runner.h"
#include "service/api_error.h"
#include "tree_copy.h"

#include <QDir>
#include <QFileInfo>
#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

namespace brightloom::LocalBuild {

namespace {

QStringList fileCheckArguments(const QString& binary)
{
    QStringList arguments;
    arguments << QStringLiteral("-L") << binary;
    return arguments;
}

QStringList runPathArguments(const QString& executable)
{
    QStringList arguments;
    arguments << QStringLiteral("-add_rpath") << QStringLiteral("@executable_path/../Frameworks")
              << executable;
    return arguments;
}

QFuture<bool> startMakingFolder(QString path)
{
    return QtConcurrent::run([path = std::move(path)] { return QDir().mkpath(path); });
}

} // namespace

QStringList frameworkCandidates(const QString& dir)
{
    const auto entriesOf = [](const QString& folder) {
        return QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                              QDir::NoDotAndDotDot,
                                          QDir::Name | QDir::Reversed);
    };
    // Depth first, each folder's entries by name, with an explicit stack; links to folders are
    // listed but not entered.
    QStringList candidates;
    QFileInfoList pending = entriesOf(QDir(dir).filePath(QStringLiteral(".build/artifacts")));
    while (!pending.isEmpty()) {
        const QFileInfo entry = pending.takeLast();
        if (entry.suffix() == QLatin1String("framework") && entry.filePath().contains(QLatin1String("macos")))
            candidates.append(entry.filePath());
        if (entry.isDir() && !entry.isSymLink())
            pending.append(entriesOf(entry.filePath()));
    }
    return candidates;
}

QCoro::Task<> embedFrameworks(QString dir, QString app, Limits limits)
{
    QFuture<QStringList> found = QtConcurrent::run(&frameworkCandidates, dir);
    const QStringList candidates = co_await found;

    QStringList kept;
    for (const QString& framework : candidates) {
        const QFileInfo info(framework);
        const QString binary = framework + QLatin1Char('/') + info.completeBaseName();
        const Output checked = co_await run(toolPath(QStringLiteral("file")), fileCheckArguments(binary),
                                            std::nullopt, limits.until(limits.fileCheck));
        // Static frameworks, missing binaries and failed checks all fall out here.
        if (checked.text().contains(QLatin1String("shared library"), Qt::CaseInsensitive))
            kept.append(framework);
    }
    if (kept.isEmpty())
        co_return;

    const QString frameworks = app + QStringLiteral("/Contents/Frameworks");
    const bool made = co_await startMakingFolder(frameworks);
    if (!made)
        throw FileError(QStringLiteral("Could not create the folder %1.").arg(frameworks));
    for (const QString& framework : kept) {
        // A framework that cannot be copied is left out; the others still go in. A second framework
        // of the same name is copied over the first.
        co_await copyTreeInBackground(framework,
                                      frameworks + QLatin1Char('/') + QFileInfo(framework).fileName());
    }
    // Already having the run-path is no failure.
    co_await run(toolPath(QStringLiteral("install_name_tool")),
                 runPathArguments(app + QStringLiteral("/Contents/MacOS/App")), std::nullopt,
                 limits.until(limits.addRunPath));
}

} // namespace brightloom::LocalBuild
