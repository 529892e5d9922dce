#include "stdin_lines.h"

#include <cerrno>
#include <unistd.h>

namespace brightloom::cli {

StdinLines::StdinLines(QObject* parent) : QObject(parent), m_notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &StdinLines::readAvailable);
}

std::optional<QString> StdinLines::takeLine()
{
    if (m_lines.isEmpty())
        return std::nullopt;
    QByteArray line = m_lines.takeFirst();
    if (line.endsWith('\r'))
        line.chop(1);
    return QString::fromUtf8(line);
}

void StdinLines::readAvailable()
{
    // Only what is there: the descriptor said it is readable, so one read does not block.
    char buffer[4096];
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count <= 0) {
        m_notifier.setEnabled(false);
        m_ended = true;
        if (!m_pending.isEmpty())
            m_lines.append(std::exchange(m_pending, {}));
    } else {
        m_pending.append(buffer, qsizetype(count));
        for (qsizetype end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
            m_lines.append(m_pending.left(end));
            m_pending.remove(0, end + 1);
        }
        if (m_lines.isEmpty())
            return;
    }
    Q_EMIT changed();
}

} // namespace brightloom::cli
