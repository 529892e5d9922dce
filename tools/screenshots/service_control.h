#pragma once

#include <qcoro/qcorotask.h>

namespace brightloom {
class API;
}

namespace brightloom::screens {

// The stand-in service's control interface (scripts/screenshots starts it with --control and a clock
// that only moves when told), reached at the address the client already speaks to.

// Moves every unfinished job `steps` steps.
QCoro::Task<> stepClock(API& api, int steps = 1);
// Moves jobs until none is queued or building.
QCoro::Task<> finishJobs(API& api);
// The next source job's code ends in an #error, so it never compiles.
QCoro::Task<> nextSourceNeverCompiles(API& api);

} // namespace brightloom::screens
