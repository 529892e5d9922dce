#include "platform/mac_desktop.h"

#include "platform/tool_paths.h"

#include <QDir>
#include <QProcess>

namespace brightloom {
namespace {

void runOpen(const QStringList& arguments)
{
    QProcess process;
    process.setProgram(toolPath(QStringLiteral("open")));
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.startDetached();
}

// Paths go to the tool absolute, so that a name starting with "-" is never read as an option.
QString absolute(const QString& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

} // namespace

void MacDesktop::open(const QUrl& url)
{
    if (url.isLocalFile()) {
        runOpen({absolute(url.toLocalFile())});
        return;
    }
    // Only whole addresses with a scheme: one without could start with "-", or name a file here.
    if (!url.isValid() || url.scheme().isEmpty())
        return;
    runOpen({url.toString(QUrl::FullyEncoded)});
}

void MacDesktop::reveal(const QString& path)
{
    if (path.isEmpty())
        return;
    runOpen({QStringLiteral("-R"), absolute(path)});
}

} // namespace brightloom
