#pragma once

// Runs a coroutine to its end from a test, spinning the event loop until it finishes or a deadline
// passes. The outcome is stored and asserted afterwards, never inside the coroutine.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QString>
#include <QTimer>
#include <chrono>
#include <exception>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>
#include <type_traits>

namespace brightloom::test {

template <class T> struct Outcome
{
    using Value = std::conditional_t<std::is_void_v<T>, bool, T>;
    std::optional<Value> value;
    std::exception_ptr error;
    bool finished = false;

    bool ok() const { return finished && !error; }
    // The failure's text, or "" when the task succeeded.
    QString errorText() const
    {
        if (!error)
            return finished ? QString() : QStringLiteral("<did not finish>");
        try {
            std::rethrow_exception(error);
        } catch (const std::exception& e) {
            return QString::fromUtf8(e.what());
        } catch (...) {
            return QStringLiteral("<unknown exception>");
        }
    }
};

namespace detail {
template <class T> QCoro::Task<> capture(QCoro::Task<T> task, Outcome<T>* out)
{
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(task);
            out->value = true;
        } else {
            out->value = co_await std::move(task);
        }
    } catch (...) {
        out->error = std::current_exception();
    }
    out->finished = true;
}
} // namespace detail

// Runs the event loop until `done` holds or the deadline passes; returns whether it held. It sleeps
// while nothing happens, as the application's own loop does, rather than spinning: a spinning thread
// takes a processor from the work it waits for, and the scheduler treats it as the busy thread it
// is. (processEvents() with a time limit never waits for events; the one without does.)
inline bool spinUntil(const std::function<bool()>& done,
                      std::chrono::milliseconds limit = std::chrono::seconds(30))
{
    QDeadlineTimer deadline(limit);
    // Wakes the wait now and then, so that the deadline and changes made by other threads are seen.
    QTimer wake;
    wake.start(20);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// Handles every event posted before the call, and those they post in turn up to the marker: what was
// set in motion has happened once this returns, with no wall-clock wait.
inline void drainPostedEvents()
{
    bool reached = false;
    QTimer::singleShot(0, [&reached] { reached = true; });
    spinUntil([&reached] { return reached; });
}

template <class T>
Outcome<T> run(QCoro::Task<T> task, std::chrono::milliseconds limit = std::chrono::seconds(30))
{
    Outcome<T> out;
    auto runner = detail::capture(std::move(task), &out);
    spinUntil([&] { return out.finished; }, limit);
    return out;
}

} // namespace brightloom::test
