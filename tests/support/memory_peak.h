#pragma once

// The most memory this process has held since a moment the test chooses, from the kernel's own
// accounting (the resident set's high-water mark, which the kernel lets a process reset).

#include <QByteArray>
#include <QFile>
#include <QtGlobal>

namespace brightloom::test {

// Under AddressSanitizer every allocation carries guard zones and freed memory is held back for a
// while, so what the process holds says nothing of the program's own needs: memory bounds are not
// checked there.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool memoryIsInstrumented = true;
#else
inline constexpr bool memoryIsInstrumented = false;
#endif

class MemoryPeak
{
public:
    // Starts a new measurement: the high-water mark falls back to what is resident now.
    MemoryPeak()
    {
        QFile clear(QStringLiteral("/proc/self/clear_refs"));
        if (clear.open(QIODevice::WriteOnly))
            clear.write("5");
        m_start = statusKb("VmRSS:");
    }

    // Whether the kernel tells: Linux, through /proc; other systems cannot reset the high-water mark.
    static bool available() { return statusKb("VmHWM:") >= 0; }

    // How far the resident memory rose above its level at the start, at its highest; -1 when the
    // kernel does not tell.
    qint64 riseKb() const
    {
        const qint64 peak = statusKb("VmHWM:");
        return peak < 0 || m_start < 0 ? -1 : peak - m_start;
    }

    static qint64 statusKb(const QByteArray& field)
    {
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly))
            return -1;
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith(field))
                return line.mid(field.size()).trimmed().split(' ').value(0).toLongLong();
        }
        return -1;
    }

private:
    qint64 m_start = -1;
};

} // namespace brightloom::test
