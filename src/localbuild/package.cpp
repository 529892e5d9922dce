#include "package.h"

#include "app_icon.h"
#include "bundle_info.h"
#include "frameworks.h"
#include "process_runner.h"
#include "service/api_error.h"
#include "text/characters.h"
#include "tool_paths.h"
#include "tree_copy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace brightloom::LocalBuild {

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void makeFolder(const QString& path)
{
    if (!QDir().mkpath(path))
        throw FileError(QStringLiteral("Could not create the folder %1.").arg(path));
}

void writeAtomically(const QString& path, const QByteArray& data)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit())
        throw FileError(QStringLiteral("Could not write %1: %2").arg(path, file.errorString()));
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

} // namespace

const char* const serviceFolderName = "Brightloom";

QString savedAppsFolder(const QString& job)
{
    const QString jobFolder = text::firstCharacters(job, 8);
    // The id becomes a folder name that is removed and made anew: it must name one folder.
    if (jobFolder.isEmpty() || jobFolder == QLatin1String(".") || jobFolder == QLatin1String("..") ||
        jobFolder.contains(QLatin1Char('/')) || jobFolder.contains(QChar(0)))
        throw APIError(QStringLiteral("The job id ") + job + QStringLiteral(" cannot name a folder."));
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + QLatin1Char('/') +
           QString::fromLatin1(serviceFolderName) + QLatin1Char('/') + jobFolder;
}

QCoro::Task<QString> package(QString dir, QString job, std::optional<QString> version, Limits limits)
{
    const QDir source(dir);
    const QString name = displayName(readAll(source.filePath(QStringLiteral("app.json"))));
    const QString slug = bundleSlug(name);

    // The build tool names the product folder on its last line; its status says nothing useful here.
    const Output binPath =
        co_await run(toolPath(QStringLiteral("xcrun")), binPathArguments(), dir, limits.findProduct);
    const QStringList lines = binPath.output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QString productFolder = lines.isEmpty() ? QString() : trimSpacesAndTabs(lines.last());
    const QString executable = productFolder + QStringLiteral("/App");
    if (productFolder.isEmpty() || !QFileInfo::exists(executable))
        throw APIError(QStringLiteral("The build produced no executable."));

    const QString stage = source.filePath(QStringLiteral(".stage"));
    co_await removeInBackground(stage);
    const QString app = stage + QLatin1Char('/') + slug + QStringLiteral(".app");
    makeFolder(app + QStringLiteral("/Contents/MacOS"));
    makeFolder(app + QStringLiteral("/Contents/Resources"));
    if (const QString failed =
            co_await copyTreeInBackground(executable, app + QStringLiteral("/Contents/MacOS/App"));
        !failed.isEmpty())
        throw FileError(failed);

    co_await embedFrameworks(dir, app, limits);

    const QString assets = source.filePath(QStringLiteral(".assets"));
    if (QFileInfo(assets).isDir()) {
        if (const QString failed =
                co_await copyTreeInBackground(assets, app + QStringLiteral("/Contents/Resources/Assets"));
            !failed.isEmpty())
            throw FileError(failed);
    }

    const QString manifest = QString::fromUtf8(readAll(source.filePath(QStringLiteral("Package.swift"))));
    const QString plist =
        infoPlist(name, version.value_or(QStringLiteral("1.0")), minimumSystemVersion(manifest));
    writeAtomically(app + QStringLiteral("/Contents/Info.plist"), plist.toUtf8());

    QString icon = source.filePath(QStringLiteral("icon.png"));
    if (!QFileInfo::exists(icon)) {
        icon = stage + QStringLiteral("/icon.png");
        co_await drawLetterIconInBackground(name, icon);
    }
    co_await makeIcns(icon, app + QStringLiteral("/Contents/Resources/AppIcon.icns"), stage, limits);

    const Output signature =
        co_await run(toolPath(QStringLiteral("codesign")), signArguments(app), std::nullopt, limits.sign);
    if (signature.code != 0)
        throw APIError(QStringLiteral("Signing failed: ") + text::lastCharacters(signature.output, 300));

    const QString destination = savedAppsFolder(job);
    co_await removeInBackground(destination);
    makeFolder(destination);
    const QString saved = destination + QLatin1Char('/') + slug + QStringLiteral(".app");
    if (const QString failed = co_await copyTreeInBackground(app, saved); !failed.isEmpty())
        throw FileError(failed);
    co_return saved;
}

} // namespace brightloom::LocalBuild
