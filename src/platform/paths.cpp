#include "paths.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace brightloom::paths {

QString dataFolder()
{
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Brightloom");
    if (!QFileInfo::exists(folder)) {
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    return folder;
}

QString downloadsFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
}

} // namespace brightloom::paths
