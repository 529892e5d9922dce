#pragma once

// How responsive this thread stays: a 5 ms timer ticks from construction on, and the longest gap
// between two ticks is kept. A gap well past 5 ms is time the event loop could not run.

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <algorithm>

namespace brightloom::test {

class TickWatch
{
public:
    TickWatch()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            m_longestMs = std::max(m_longestMs, double(now - m_last) / 1e6);
            m_last = now;
        });
        m_clock.start();
        m_timer.start();
    }
    TickWatch(const TickWatch&) = delete;
    TickWatch& operator=(const TickWatch&) = delete;

    void stop() { m_timer.stop(); }
    double longestMs() const { return m_longestMs; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    double m_longestMs = 0;
};

} // namespace brightloom::test
