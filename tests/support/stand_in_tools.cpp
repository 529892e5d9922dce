#include "stand_in_tools.h"

#include <QDir>
#include <QFile>

namespace brightloom::test {

QString toolsWithReleaseBuildPrelude(const QString& standIns, const QString& folder,
                                     const QByteArray& releaseBuildPrelude)
{
    QDir().mkpath(folder);
    const QDir tools(standIns);
    for (const QString& name : tools.entryList(QDir::Files | QDir::System)) {
        if (name != QLatin1String("xcrun"))
            QFile::link(tools.filePath(name), folder + QLatin1Char('/') + name);
    }
    QFile xcrun(folder + QStringLiteral("/xcrun"));
    if (!xcrun.open(QIODevice::WriteOnly))
        return folder;
    xcrun.write("#!/bin/sh\n"
                "if [ \"$*\" = 'swift build -c release' ]; then\n" +
                releaseBuildPrelude +
                "\nfi\n"
                "exec '" +
                tools.filePath(QStringLiteral("xcrun")).toUtf8() + "' \"$@\"\n");
    xcrun.close();
    xcrun.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return folder;
}

} // namespace brightloom::test
