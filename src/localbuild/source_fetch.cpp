// Fetching a job's source: download, a fresh per-job folder, the safe unpacker, then the vetting.

#include "source_fetch.h"

#include "archive/zip_extraction.h"
#include "service/api.h"
#include "service/api_error.h"
#include "service/file_download.h"
#include "text/characters.h"
#include "text/file_names.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>
#include <exception>
#include <qcoro/qcorofuture.h>

namespace brightloom::LocalBuild {
namespace {

// What the unpacker's failure text is cut to where it is quoted.
constexpr qsizetype quotedTail = 300;

// No source archive needs more; an archive past them is refused, not trimmed.
zip::Limits sourceLimits()
{
    zip::Limits limits;
    limits.maxEntries = 100'000;
    limits.maxBytes = std::int64_t(2) << 30;
    limits.maxMilliseconds = 60'000;
    return limits;
}

// Answers the parsed address, or throws when it is not an https address.
QUrl sourceAddress(const QString& from)
{
    const QUrl url(from, QUrl::StrictMode);
    // QUrl lowers the scheme's case; the rule compares it as written.
    if (!url.isValid() || !from.startsWith(QLatin1String("https:")) || url.scheme() != QLatin1String("https"))
        throw APIError(QStringLiteral("Bad source URL"));
    return url;
}

// Deletes the folder if it is there and makes it anew, empty. A failure to delete is ignored; one
// to create is reported.
QString freshFolder(const QString& folder)
{
    const QFileInfo existing(folder);
    if (existing.isSymLink() || existing.isFile())
        QFile::remove(folder);
    else if (existing.exists())
        QDir(folder).removeRecursively();
    if (!QDir().mkpath(folder))
        return QStringLiteral("Could not create the folder %1.").arg(folder);
    return {};
}

QFuture<QString> startMakingFresh(QString folder)
{
    return QtConcurrent::run([folder = std::move(folder)] { return freshFolder(folder); });
}

// The vetting of the unpacked tree and its manifest, which reads many files: on the thread pool,
// its refusal carried back to the caller.
std::exception_ptr vet(const QString& folder)
{
    try {
        validateTree(folder);
        QFile file(folder + QStringLiteral("/Package.swift"));
        if (!file.open(QIODevice::ReadOnly))
            throw FileError(QStringLiteral("Could not read Package.swift: ") + file.errorString());
        const QByteArray bytes = file.readAll();
        if (file.error() != QFileDevice::NoError)
            throw FileError(QStringLiteral("Could not read Package.swift: ") + file.errorString());
        QStringDecoder utf8(QStringDecoder::Utf8,
                            QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
        const QString manifest = utf8(bytes);
        if (utf8.hasError())
            throw FileError(QStringLiteral("Could not read Package.swift: it is not UTF-8 text."));
        validateManifest(manifest);
        const QString app = folder + QStringLiteral("/Sources/App");
        if (!QFileInfo::exists(app) && !QFileInfo(app).isSymLink())
            throw Rejected(QStringLiteral("Sources/App is missing"));
    } catch (...) {
        return std::current_exception();
    }
    return {};
}

QFuture<std::exception_ptr> startVetting(QString folder)
{
    return QtConcurrent::run([folder = std::move(folder)] { return vet(folder); });
}

} // namespace

QString projectFolder(const QString& job)
{
    // One plain folder name, so no id can reach beside or above the job folders.
    if (text::fileNameProblem(job) || job.contains(QLatin1Char('\\')))
        throw APIError(QStringLiteral("Bad job id"));
    const QString support = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return support + QStringLiteral("/Brightloom/Local/") + job;
}

QCoro::Task<QString> fetchSource(QNetworkAccessManager& network, QString from, QString job)
{
    const QUrl url = sourceAddress(from);
    const QString folder = projectFolder(job);

    // The temporary archive is removed with `fetched`, whichever way this ends; once unpacked, on the
    // thread pool.
    FetchedFile fetched = co_await fetchToFile(network, url);

    const QString notMade = co_await startMakingFresh(folder);
    if (!notMade.isEmpty())
        throw FileError(notMade);

    const zip::Result unpacked =
        co_await zip::extractInBackground(fetched.file->fileName(), folder, sourceLimits());
    co_await discardInBackground(std::move(fetched));
    if (!unpacked.ok)
        throw APIError(QStringLiteral("Could not unpack the source: ") +
                       text::lastCharacters(unpacked.error, quotedTail));

    const std::exception_ptr refusal = co_await startVetting(folder);
    if (refusal)
        std::rethrow_exception(refusal);
    co_return folder;
}

QCoro::Task<QString> fetchSource(API& api, QString from, QString job)
{
    QNetworkAccessManager* session = co_await api.downloadSession();
    co_return co_await fetchSource(*session, std::move(from), std::move(job));
}

} // namespace brightloom::LocalBuild
