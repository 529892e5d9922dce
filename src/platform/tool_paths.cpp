#include "platform/tool_paths.h"

#include <QtGlobal>

namespace brightloom {

QString toolPath(const QString& name)
{
    // Read on every call: tests and demos point it at stand-in tools while the process runs.
    const QString folder = qEnvironmentVariable("BRIGHTLOOM_TOOLS_DIR");
    if (folder.isEmpty())
        return QStringLiteral("/usr/bin/") + name;
    if (folder.endsWith(QLatin1Char('/')))
        return folder + name;
    return folder + QLatin1Char('/') + name;
}

} // namespace brightloom
