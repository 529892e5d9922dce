#include "package.h"

#include "app_icon.h"
#include "bundle_info.h"
#include "frameworks.h"
#include "platform/tool_paths.h"
#include "process_runner.h"
#include "service/api_error.h"
#include "text/characters.h"
#include "text/file_names.h"
#include "tree_copy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

namespace brightloom::LocalBuild {

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QString makeFolder(const QString& path)
{
    if (!QDir().mkpath(path))
        return QStringLiteral("Could not create the folder %1.").arg(path);
    return {};
}

QString writeAtomically(const QString& path, const QByteArray& data)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit())
        return QStringLiteral("Could not write %1: %2").arg(path, file.errorString());
    return {};
}

QString trimSpacesAndTabs(QString text)
{
    while (text.startsWith(QLatin1Char(' ')) || text.startsWith(QLatin1Char('\t')))
        text.remove(0, 1);
    while (text.endsWith(QLatin1Char(' ')) || text.endsWith(QLatin1Char('\t')))
        text.chop(1);
    return text;
}

QStringList binPathArguments()
{
    QStringList arguments;
    arguments << QStringLiteral("swift") << QStringLiteral("build") << QStringLiteral("-c")
              << QStringLiteral("release") << QStringLiteral("--show-bin-path");
    return arguments;
}

QStringList signArguments(const QString& bundle)
{
    QStringList arguments;
    arguments << QStringLiteral("--force") << QStringLiteral("--deep") << QStringLiteral("-s")
              << QStringLiteral("-") << bundle;
    return arguments;
}

// Every step below touches the file system, which can keep a thread waiting for longer than a frame
// on a busy disk: each runs on the thread pool and answers the first failure as a sentence, or an
// empty text. The futures are made in plain functions: GCC 12 destroys a capturing lambda that is a
// temporary of a co_await expression twice.

struct Described
{
    QString name;          // the display name
    QString minimumSystem; // "14.0"
};

QFuture<Described> startDescribing(QString dir)
{
    return QtConcurrent::run([dir = std::move(dir)] {
        const QDir source(dir);
        const QString manifest = QString::fromUtf8(readAll(source.filePath(QStringLiteral("Package.swift"))));
        return Described{displayName(readAll(source.filePath(QStringLiteral("app.json")))),
                         minimumSystemVersion(manifest)};
    });
}

// Staging: a fresh stage folder with the bundle's folders and the executable in it. `missing` is
// set when there is no executable to stage.
struct Staged
{
    bool missing = false;
    QString error;
};

QFuture<Staged> startStaging(QString executable, QString stage, QString app)
{
    return QtConcurrent::run(
        [executable = std::move(executable), stage = std::move(stage), app = std::move(app)] {
            Staged staged;
            if (!QFileInfo::exists(executable)) {
                staged.missing = true;
                return staged;
            }
            const QFileInfo old(stage);
            if (old.isDir() && !old.isSymLink())
                QDir(stage).removeRecursively();
            else if (old.exists() || old.isSymLink())
                QFile::remove(stage);
            staged.error = makeFolder(app + QStringLiteral("/Contents/MacOS"));
            if (staged.error.isEmpty())
                staged.error = makeFolder(app + QStringLiteral("/Contents/Resources"));
            if (staged.error.isEmpty())
                staged.error = copyTree(executable, app + QStringLiteral("/Contents/MacOS/App"));
            return staged;
        });
}

// The assets, when the source has any, and the Info.plist.
QFuture<QString> startFilling(QString dir, QString app, QByteArray plist)
{
    return QtConcurrent::run([dir = std::move(dir), app = std::move(app), plist = std::move(plist)] {
        const QString assets = QDir(dir).filePath(QStringLiteral(".assets"));
        if (QFileInfo(assets).isDir()) {
            if (const QString failed = copyTree(assets, app + QStringLiteral("/Contents/Resources/Assets"));
                !failed.isEmpty())
                return failed;
        }
        return writeAtomically(app + QStringLiteral("/Contents/Info.plist"), plist);
    });
}

QFuture<bool> startLooking(QString path)
{
    return QtConcurrent::run([path = std::move(path)] { return QFileInfo::exists(path); });
}

// The signed bundle copied into its folder in Downloads, an earlier copy there removed first.
QFuture<QString> startPlacing(QString app, QString destination, QString saved)
{
    return QtConcurrent::run(
        [app = std::move(app), destination = std::move(destination), saved = std::move(saved)] {
            const QFileInfo old(destination);
            if (old.isDir() && !old.isSymLink())
                QDir(destination).removeRecursively();
            else if (old.exists() || old.isSymLink())
                QFile::remove(destination);
            if (const QString failed = makeFolder(destination); !failed.isEmpty())
                return failed;
            return copyTree(app, saved);
        });
}

} // namespace

const char* const serviceFolderName = "Brightloom";

QString savedAppsFolder(const QString& job)
{
    const QString jobFolder = text::firstCharacters(job, 8);
    // The id becomes a folder name that is removed and made anew: it must name one folder.
    if (text::fileNameProblem(jobFolder))
        throw APIError(QStringLiteral("The job id ") + job + QStringLiteral(" cannot name a folder."));
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + QLatin1Char('/') +
           QString::fromLatin1(serviceFolderName) + QLatin1Char('/') + jobFolder;
}

QCoro::Task<QString> package(QString dir, QString job, std::optional<QString> version, Limits limits)
{
    checkBundleVersion(version);
    const QDir source(dir);
    const Described described = co_await startDescribing(dir);
    const QString& name = described.name;
    const QString slug = bundleSlug(name);

    // The build tool names the product folder on its last line; its status says nothing useful here.
    const Output binPath = co_await run(toolPath(QStringLiteral("xcrun")), binPathArguments(), dir,
                                        limits.until(limits.findProduct));
    const QStringList lines = binPath.text().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QString productFolder = lines.isEmpty() ? QString() : trimSpacesAndTabs(lines.last());
    if (productFolder.isEmpty())
        throw APIError(QStringLiteral("The build produced no executable."));

    const QString stage = source.filePath(QStringLiteral(".stage"));
    const QString app = stage + QLatin1Char('/') + slug + QStringLiteral(".app");
    const Staged staged = co_await startStaging(productFolder + QStringLiteral("/App"), stage, app);
    if (staged.missing)
        throw APIError(QStringLiteral("The build produced no executable."));
    if (!staged.error.isEmpty())
        throw FileError(staged.error);

    co_await embedFrameworks(dir, app, limits);

    const QString plist = infoPlist(name, version.value_or(QStringLiteral("1.0")), described.minimumSystem);
    if (const QString failed = co_await startFilling(dir, app, plist.toUtf8()); !failed.isEmpty())
        throw FileError(failed);

    QString icon = source.filePath(QStringLiteral("icon.png"));
    const bool ownIcon = co_await startLooking(icon);
    if (!ownIcon) {
        icon = stage + QStringLiteral("/icon.png");
        co_await drawLetterIconInBackground(name, icon);
    }
    co_await makeIcns(icon, app + QStringLiteral("/Contents/Resources/AppIcon.icns"), stage, limits);

    const Output signature = co_await run(toolPath(QStringLiteral("codesign")), signArguments(app),
                                          std::nullopt, limits.until(limits.sign));
    if (signature.code != 0)
        throw APIError(QStringLiteral("Signing failed: ") + text::lastCharacters(signature.text(), 300));

    const QString destination = savedAppsFolder(job);
    const QString saved = destination + QLatin1Char('/') + slug + QStringLiteral(".app");
    if (const QString failed = co_await startPlacing(app, destination, saved); !failed.isEmpty())
        throw FileError(failed);
    co_return saved;
}

} // namespace brightloom::LocalBuild
