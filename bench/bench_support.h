#pragma once

// What the local build benchmarks share: medians of per-round ratios, peak memory of this process,
// the longest pause of the main thread, and running a coroutine to its end.

#include "platform/resident_memory.h"
#include "tick_watch.h"

#include <QCoreApplication>
#include <QElapsedTimer>
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

#if defined(__linux__)
// Reads one "Vm…" line of /proc/self/status, in bytes.
inline long long statusBytes(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(field) + ":";
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0)
            return std::stoll(line.substr(prefix.size())) * 1024;
    }
    return -1;
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
