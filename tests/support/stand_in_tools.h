#pragma once

#include <QByteArray>
#include <QString>

namespace brightloom::test {

// Makes `folder` a tools folder like `standIns` (the stand-in developer tools), except that its
// xcrun first runs the shell lines `releaseBuildPrelude` when asked for "swift build -c release"
// and then does what the stand-in does. Answers `folder`, for BRIGHTLOOM_TOOLS_DIR.
QString toolsWithReleaseBuildPrelude(const QString& standIns, const QString& folder,
                                     const QByteArray& releaseBuildPrelude);

} // namespace brightloom::test
