#pragma once

// What a process costs while it sits still: its processor time and how often its threads woke, over
// a stretch of its own event loop. Both sides of the idle benchmark measure themselves with this.

#include "proc_status.h"

#include <QCoreApplication>
#include <QTimer>
#include <cstdio>
#include <sys/resource.h>

namespace brightloom::bench {

struct IdleCounters
{
    double cpuSeconds = 0;    // user and system, every thread
    long long wakeups = 0;    // voluntary context switches, every thread, ended ones included
    long long uiWakeups = -1; // the main thread's alone; -1 where the system does not tell
};

inline IdleCounters idleCounters()
{
    IdleCounters counters;
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    counters.cpuSeconds = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                          double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    // A thread that blocks (a timer's wait, a socket's) and is woken again switches out voluntarily.
    counters.wakeups = usage.ru_nvcsw;
#if defined(__linux__)
    // /proc/self/status is the main thread's own line: the thread that runs the window.
    counters.uiWakeups = statusValue("voluntary_ctxt_switches");
#endif
    return counters;
}

// From now on, measures `seconds` of the event loop, prints the figures as one line
//   idle SECONDS cpu CPU_SECONDS wakeups N ui-wakeups N
// and quits the application.
inline void measureIdleThenQuit(int seconds)
{
    const IdleCounters before = idleCounters();
    QTimer::singleShot(seconds * 1000, qApp, [before, seconds] {
        const IdleCounters after = idleCounters();
        std::printf("idle %d cpu %.6f wakeups %lld ui-wakeups %lld\n", seconds,
                    after.cpuSeconds - before.cpuSeconds, after.wakeups - before.wakeups,
                    before.uiWakeups < 0 ? -1LL : after.uiWakeups - before.uiWakeups);
        std::fflush(stdout);
        QCoreApplication::quit();
    });
}

} // namespace brightloom::bench
