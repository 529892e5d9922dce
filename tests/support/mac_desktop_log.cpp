#include "mac_desktop_log.h"

#include "task_runner.h"
#include "temp_home.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace brightloom::test {

MacDesktopLog::MacDesktopLog(TempHome& home, const QString& standInTools)
{
    home.setEnv("BRIGHTLOOM_DESKTOP", "mac");
    home.setEnv("BRIGHTLOOM_TOOLS_DIR", QFile::encodeName(standInTools));
    home.setEnv("BRIGHTLOOM_STANDIN_DESKTOP_LOG", QFile::encodeName(m_dir.path()));
}

QList<QStringList> MacDesktopLog::calls() const
{
    QList<QStringList> calls;
    const QFileInfoList files =
        QDir(m_dir.path()).entryInfoList({QStringLiteral("open.*")}, QDir::Files, QDir::Name);
    for (const QFileInfo& file : files) {
        QFile in(file.filePath());
        if (!in.open(QIODevice::ReadOnly))
            continue;
        QStringList arguments;
        for (const QByteArray& argument : in.readAll().split('\0'))
            arguments.append(QString::fromUtf8(argument));
        arguments.removeLast(); // each argument ends in a NUL, so the split leaves an empty tail
        calls.append(arguments);
    }
    return calls;
}

QList<QStringList> MacDesktopLog::waitForCalls(int count, std::chrono::milliseconds limit) const
{
    spinUntil([&] { return calls().size() >= count; }, limit);
    return calls();
}

} // namespace brightloom::test
