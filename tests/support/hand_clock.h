#pragma once

// A clock the test moves by hand, for loops that wait out intervals (polling): each wait is noted
// with its length and lasts until advance(), so a test sees the rhythm without waiting for it.

#include <QFuture>
#include <QList>
#include <QPromise>
#include <chrono>
#include <functional>
#include <memory>
#include <qcoro/qcorofuture.h>
#include <qcoro/qcorotask.h>
#include <utility>

namespace brightloom::test {

struct HandClock
{
    QList<std::chrono::milliseconds> waits;
    std::shared_ptr<QPromise<void>> pending;

    // Ends the wait under way, if any.
    void advance()
    {
        const auto ending = std::exchange(pending, nullptr);
        if (ending)
            ending->finish();
    }
    bool waiting() const { return pending != nullptr; }
};

inline QCoro::Task<> waitOn(std::shared_ptr<HandClock> clock, std::chrono::milliseconds interval)
{
    clock->waits.append(interval);
    auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    clock->pending = promise;
    QFuture<void> ended = promise->future();
    co_await ended;
}

// A wait function for a loop that takes one (`ChatView::setPollWait`, `WorkerStatusBanner`…).
inline std::function<QCoro::Task<>(std::chrono::milliseconds)>
waitsOn(const std::shared_ptr<HandClock>& clock)
{
    return [clock](std::chrono::milliseconds interval) { return waitOn(clock, interval); };
}

} // namespace brightloom::test
