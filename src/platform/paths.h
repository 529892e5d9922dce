#pragma once

#include <QString>

namespace brightloom::paths {

// The client's own folder under the platform's application-support location, made owner-only.
QString dataFolder();

// The user's Downloads folder.
QString downloadsFolder();

} // namespace brightloom::paths
