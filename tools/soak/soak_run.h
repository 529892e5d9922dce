#pragma once

#include <QString>
#include <qcoro/qcorotask.h>

namespace brightloom::soak {

class TimedApplication;

struct SoakOptions
{
    double minutes = 2;
    QString project; // the conversation kept open; empty: a new project
    int bannerIntervalMs = 2000;
    int troubleEveryMs = 4000;
    int rotateEveryMs = 8000;
    // The longest the main thread may work on one event: a frame at 60 Hz. The soak that CTest runs
    // beside the other tests allows more, so that a machine busy with them cannot fail it.
    double stallBudgetMs = 16.7;
};

// Runs the window against a misbehaving service for the time asked, then puts the service right and
// checks that every screen shows the right state again. Prints a report; answers the exit status.
QCoro::Task<int> runSoak(TimedApplication& app, SoakOptions options);

} // namespace brightloom::soak
