#pragma once

// Turning a built package into a signed app bundle in the user's Downloads folder.

#include "build_limits.h"

#include <QString>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom::LocalBuild {

// The folder in Downloads named after the service, where locally built apps are saved. A fixed name,
// so an app lands in the same place whichever address of the service is in use.
extern const char* const serviceFolderName;

// Where a locally built app is saved: the service's folder in Downloads, then one folder per job
// named with the job id's first 8 characters.
QString savedAppsFolder(const QString& job);

// Assembles the app of the package in `dir`, which compile() has built: stages "<name>.app" in
// "<dir>/.stage" with the executable, frameworks, assets, Info.plist and icon, signs it ad hoc and
// copies it to savedAppsFolder(job), replacing an earlier copy. `version` is the job's version
// ("1.0" when absent). Answers the saved bundle's path. Throws APIError ("The build produced no
// executable.", "Signing failed: …", the icon's failures), FileError for the file system.
QCoro::Task<QString> package(QString dir, QString job, std::optional<QString> version, Limits limits = {});

} // namespace brightloom::LocalBuild
