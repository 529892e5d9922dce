#pragma once

#include <QString>

namespace brightloom::LocalBuild {

// Where a developer tool of the local build lives ("xcrun", "codesign", "sips", "iconutil", "file",
// "ditto", "install_name_tool", "git"): "/usr/bin/<name>", or "<BRIGHTLOOM_TOOLS_DIR>/<name>" when
// that variable is set, so stand-ins can take the real tools' place.
QString toolPath(const QString& name);

} // namespace brightloom::LocalBuild
