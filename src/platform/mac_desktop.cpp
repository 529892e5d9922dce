#include "platform/mac_desktop.h"

#include "platform/detached_start.h"
#include "platform/tool_paths.h"

#include <QDir>

namespace brightloom {
namespace {

// Paths go to the tool absolute, so that a name starting with "-" is never read as an option.
QString absolute(const QString& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

} // namespace

MacDesktop::MacDesktop(Launch launch) : m_launch(std::move(launch))
{
    if (!m_launch)
        m_launch = [](const QStringList& arguments) {
            startDetachedQuietly(toolPath(QStringLiteral("open")), arguments);
        };
}

void MacDesktop::open(const QUrl& url)
{
    if (url.isLocalFile()) {
        m_launch({absolute(url.toLocalFile())});
        return;
    }
    // Only whole addresses with a scheme: one without could start with "-", or name a file here.
    if (!url.isValid() || url.scheme().isEmpty())
        return;
    m_launch({url.toString(QUrl::FullyEncoded)});
}

void MacDesktop::reveal(const QString& path)
{
    if (path.isEmpty())
        return;
    m_launch({QStringLiteral("-R"), absolute(path)});
}

} // namespace brightloom
