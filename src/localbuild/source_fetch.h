#pragma once

// Fetching a job's source archive into its own folder and vetting it before anything is built.

#include "rejected.h"

#include <QString>
#include <QStringList>
#include <qcoro/qcorotask.h>

class QNetworkAccessManager;

namespace brightloom {
class API;
}

namespace brightloom::LocalBuild {

// The project folder of a job: "Brightloom/Local/<job>" under the application-support folder.
// Throws APIError when `job` is not one plain folder name.
QString projectFolder(const QString& job);

// Downloads the archive at `from` (https only) with `network`, unpacks it into the job's project
// folder (deleted and made anew first) and vets it; answers the project folder. Throws APIError for
// a bad address, a bad job id or an archive that cannot be unpacked, TransportError for the transfer,
// FileError for the folder, Rejected for a source the vetting refuses.
QCoro::Task<QString> fetchSource(QNetworkAccessManager& network, QString from, QString job);
// The same through the service client's download session.
QCoro::Task<QString> fetchSource(API& api, QString from, QString job);

// Refuses a tree holding a symbolic link or anything that resolves outside `root`. Blocks on the file
// system: call it off the main thread for large trees.
void validateTree(const QString& root);

// Refuses a Package.swift that imports more than PackageDescription, uses a forbidden construct,
// depends on anything but an exactly pinned allowed package, or passes unsafe compiler flags.
void validateManifest(const QString& manifest);

// Capture group 1 of every non-overlapping match of `pattern` in `text`, in order; nothing for a
// pattern that does not compile.
QStringList captures(const QString& pattern, const QString& text);

// The only package repositories a manifest may depend on.
const QStringList& allowedPackageURLs();

} // namespace brightloom::LocalBuild
