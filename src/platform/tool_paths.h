#pragma once

#include <QString>

namespace brightloom {

// Where a system tool lives: the local build's developer tools ("xcrun", "codesign", "sips",
// "iconutil", "file", "install_name_tool", "git") and the Mac's desktop tool ("open").
// "/usr/bin/<name>", or "<BRIGHTLOOM_TOOLS_DIR>/<name>" when that variable is set, so stand-ins can
// take the real tools' place.
QString toolPath(const QString& name);

} // namespace brightloom
