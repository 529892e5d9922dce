#include "elapsed_seconds.h"

namespace brightloom::ElapsedSeconds {

QString text(qint64 seconds)
{
    if (seconds < 0)
        seconds = 0;
    if (seconds >= 60)
        return QString::number(seconds / 60) + QStringLiteral("m ") + QString::number(seconds % 60) +
               QLatin1Char('s');
    return QString::number(seconds) + QLatin1Char('s');
}

QString text(const QDateTime& since, const QDateTime& now)
{
    // Milliseconds divided in C++ truncate toward zero, as the counter must.
    return text(since.msecsTo(now) / 1000);
}

} // namespace brightloom::ElapsedSeconds
