#pragma once

#include <chrono>
#include <qcoro/qcorosignal.h>
#include <qcoro/qcorotask.h>
#include <qcoro/qcorotimer.h>

namespace brightloom::cli {

// Waits for the next emission of `signal`, then lets the event loop turn once, so that the code
// that emitted it has finished before the caller looks at the object or lets it go.
template <class T, class Signal> QCoro::Task<> nextChange(T* object, Signal signal)
{
    co_await qCoro(object, signal);
    co_await QCoro::sleepFor(std::chrono::milliseconds(0));
}

} // namespace brightloom::cli
