#pragma once

// Carrying the package's binary frameworks into the app bundle.

#include "build_limits.h"

#include <QString>
#include <QStringList>
#include <qcoro/qcorotask.h>

namespace brightloom::LocalBuild {

// The frameworks under "<dir>/.build/artifacts" that could be macOS slices: folders named
// "*.framework" whose path contains "macos", in a stable order (each folder's entries by name,
// depth first). Blocks on the file system.
QStringList frameworkCandidates(const QString& dir);

// Copies the macOS dynamic frameworks that the build of `dir` unpacked into "Contents/Frameworks" of
// the bundle `app` and adds "@executable_path/../Frameworks" to its executable's run-paths. Leaves
// the bundle untouched when there are none. Throws FileError only when the frameworks folder cannot
// be made; a framework that cannot be checked or copied is left out.
QCoro::Task<> embedFrameworks(QString dir, QString app, Limits limits = {});

} // namespace brightloom::LocalBuild
