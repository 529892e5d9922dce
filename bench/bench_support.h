#pragma once

// What the local build benchmarks share: medians of per-round ratios, peak memory of this process,
// the longest pause of the main thread, and running a coroutine to its end.

#include "platform/resident_memory.h"
#include "proc_status.h"
#include "tick_watch.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <optional>
#include <qcoro/qcorotask.h>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace brightloom::bench {

struct Spread
{
    double median = 0, min = 0, max = 0;
};

inline Spread spread(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    const double mid = n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
    return {mid, values.front(), values.back()};
}

// Prints the spread of per-round ratios, with the verdict on a goal of "at most `goal`" when `goal` is
// positive, and the RESULT line scripts/performance-table reads.
inline void reportRatios(const char* what, const char* key, double goal, std::vector<double> ratios)
{
    const Spread r = spread(std::move(ratios));
    if (goal > 0)
        std::printf("  %s: median %.2f  min %.2f  max %.2f  (goal at most %.1f: %s)\n", what, r.median, r.min,
                    r.max, goal, r.median <= goal ? "met" : "NOT met");
    else
        std::printf("  %s: median %.2f  min %.2f  max %.2f\n", what, r.median, r.min, r.max);
    std::printf("RESULT {\"%s_median\":%.3f,\"%s_min\":%.3f,\"%s_max\":%.3f}\n", key, r.median, key, r.min,
                key, r.max);
}

// The value of an option written "--name=N" among `arguments`, or `fallback`.
inline int numberOption(const QStringList& arguments, const QString& name, int fallback)
{
    const QString prefix = QStringLiteral("--") + name + QLatin1Char('=');
    for (const QString& argument : arguments) {
        if (argument.startsWith(prefix))
            return argument.mid(prefix.size()).toInt();
    }
    return fallback;
}

#if defined(__linux__)
// Reads one "Vm…" line of /proc/self/status, in bytes.
inline long long statusBytes(const char* field)
{
    const long long kilobytes = statusValue(field);
    return kilobytes < 0 ? -1 : kilobytes * 1024;
}

// Peak memory from now on: resets the kernel's high-water mark and answers the resident size now.
inline long long startPeak()
{
    std::ofstream("/proc/self/clear_refs") << "5";
    return statusBytes("VmRSS");
}

// How far the resident size rose above `start` since startPeak().
inline long long peakSince(long long start)
{
    return statusBytes("VmHWM") - start;
}
#else
// Elsewhere the high-water mark cannot be reset: the peak counts from the process's start, so a
// figure is only as good as the first one measured in a run. Bytes on a Mac.
inline long long startPeak()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<long long>(usage.ru_maxrss);
}
inline long long peakSince(long long start)
{
    return startPeak() - start;
}
#endif

inline double seconds(std::chrono::steady_clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

// Runs `task` to its end on this thread's event loop while a 5 ms timer ticks; answers the longest
// gap between ticks in milliseconds.
template <class T> double runWatchingTicks(QCoro::Task<T> task, std::optional<T>& result)
{
    bool done = false;
    auto wrapper = [](QCoro::Task<T> inner, std::optional<T>& out, bool& finished) -> QCoro::Task<> {
        out = co_await std::move(inner);
        finished = true;
    }(std::move(task), result, done);
    test::TickWatch ticks;
    while (!done)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    return ticks.longestMs();
}

} // namespace brightloom::bench
