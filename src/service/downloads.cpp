// Downloads of finished apps and disk images into the Downloads folder.

#include "api.h"
#include "api_error.h"
#include "archive/zip_extraction.h"
#include "file_download.h"
#include "move_without_replacing.h"
#include "platform/paths.h"
#include "text/characters.h"
#include "text/file_names.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <QUuid>
#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

namespace brightloom {
namespace {

// App bundles can be far larger than source archives (models, media), so the limits are wider.
constexpr zip::Limits appArchiveLimits{200'000, std::int64_t(32) << 30};

QUrl downloadAddress(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme();
    if (!url.isValid() || url.host().isEmpty() ||
        (scheme != QLatin1String("https") && scheme != QLatin1String("http")))
        throw APIError(QStringLiteral("Bad download URL"));
    return url;
}

void makeFolder(const QString& path)
{
    if (!QDir().mkpath(path))
        throw FileError(QStringLiteral("Could not create the folder %1.").arg(path));
}

// Moves `from` to folder/base.EXT, or folder/base N.EXT for the first N from 2 not taken yet.
// Runs on the thread pool: a move across file systems copies the whole image. Two downloads may
// finish at once and pick the same free name: the move never replaces a file, so the one that loses
// the race takes the next name.
QString moveToFreeName(const QString& from, const QString& folder, const QString& base,
                       const QString& extension)
{
    for (int n = 1;; ++n) {
        QString destination = folder + QLatin1Char('/') + base;
        if (n >= 2)
            destination += QLatin1Char(' ') + QString::number(n);
        destination += QLatin1Char('.') + extension;
        if (QFileInfo::exists(destination) || QFileInfo(destination).isSymLink())
            continue;
        switch (moveWithoutReplacing(from, destination)) {
        case MoveOutcome::moved:
            return destination;
        case MoveOutcome::taken:
            continue;
        case MoveOutcome::failed:
            return {};
        }
    }
}

QFuture<QString> startMoving(QString from, QString folder, QString base, QString extension)
{
    return QtConcurrent::run(
        [from = std::move(from), folder = std::move(folder), base = std::move(base),
         extension = std::move(extension)] { return moveToFreeName(from, folder, base, extension); });
}

// Renames the temporary file itself, so that it goes on knowing its name.
QFuture<bool> startRenaming(QTemporaryFile* file, QString to)
{
    return QtConcurrent::run([file, to = std::move(to)] { return file->rename(to); });
}

// The first entry, in name order, whose extension is "app".
QString firstApp(const QString& folder)
{
    const QFileInfoList entries = QDir(folder).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.suffix() == QLatin1String("app"))
            return entry.absoluteFilePath();
    }
    return {};
}

} // namespace

QString API::serviceDownloadsFolder() const
{
    return paths::downloadsFolder() + QLatin1Char('/') + m_base.host();
}

QCoro::Task<QString> API::downloadDmg(QString from, QString name, DownloadProgress progress)
{
    co_return co_await downloadNamed(std::move(from), std::move(name), QStringLiteral("dmg"),
                                     std::move(progress));
}

QCoro::Task<QString> API::downloadNamed(QString from, QString name, QString extension,
                                        DownloadProgress progress)
{
    const QUrl url = downloadAddress(from);
    // The name comes from the service: refused before a byte is fetched when it cannot be one file.
    QString base = name;
    base.replace(QLatin1Char('/'), QLatin1Char('-'));
    if (const auto problem = text::fileNameProblem(base))
        throw APIError(QStringLiteral("The app's name cannot be a file name: ") + *problem +
                       QLatin1Char('.'));
    QNetworkAccessManager* session = co_await downloadSession();
    FetchedFile fetched = co_await fetchToFile(*session, url, std::move(progress), downloadLimits());
    if (fetched.status >= 400)
        throw APIError(QStringLiteral("The download failed (") + QString::number(fetched.status) +
                       QStringLiteral(")."));
    const QString folder = serviceDownloadsFolder();
    makeFolder(folder);
    const QString saved = co_await startMoving(fetched.file->fileName(), folder, base, extension);
    if (saved.isEmpty())
        throw FileError(QStringLiteral("Could not save the download in %1.").arg(folder));
    fetched.file->setAutoRemove(false);
    co_return saved;
}

QCoro::Task<QString> API::downloadApp(QString from, DownloadProgress progress)
{
    const QUrl url = downloadAddress(from);
    // The status is not examined: an error page simply fails to unpack.
    QNetworkAccessManager* session = co_await downloadSession();
    FetchedFile fetched = co_await fetchToFile(*session, url, std::move(progress), downloadLimits());
    const QString folder =
        serviceDownloadsFolder() + QLatin1Char('/') +
        text::firstCharacters(QUuid::createUuid().toString(QUuid::WithoutBraces), 8).toUpper();
    makeFolder(folder);
    const QString archive = folder + QStringLiteral("/app.zip");
    if (!co_await startRenaming(fetched.file.get(), archive))
        throw FileError(QStringLiteral("Could not save the app archive in %1.").arg(folder));
    const zip::Result unpacked = co_await zip::extractInBackground(archive, folder, appArchiveLimits);
    co_await discardInBackground(std::move(fetched)); // the archive, by its new name
    const QString app = unpacked.ok ? firstApp(folder) : QString();
    if (app.isEmpty())
        throw APIError(QStringLiteral("Could not unpack the downloaded app"));
    co_return app;
}

} // namespace brightloom
