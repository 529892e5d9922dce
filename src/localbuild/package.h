#pragma once

// Turning a built package into a signed app bundle in the user's Downloads folder.

#include "build_limits.h"

#include <QString>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom::LocalBuild {

// Where locally built apps are saved: the service's folder in Downloads (named after the service's
// host, as for downloaded apps), then one folder per job named with the job id's first 8 characters.
QString savedAppsFolder(const QString& job);

// Assembles the app of the package in `dir`, which compile() has built: stages "<name>.app" in
// "<dir>/.stage" with the executable, frameworks, assets, Info.plist and icon, signs it ad hoc and
// copies it to savedAppsFolder(job), replacing an earlier copy. `version` is the job's version
// ("1.0" when absent). Answers the saved bundle's path. Throws APIError ("The build produced no
// executable.", "Signing failed: …", the icon's failures), FileError for the file system.
QCoro::Task<QString> package(QString dir, QString job, std::optional<QString> version, Limits limits = {});

} // namespace brightloom::LocalBuild
