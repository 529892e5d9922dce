#pragma once

// Where the main thread's time goes: an application that times every event it hands out on the main
// thread and keeps those that took longer than a threshold, named by receiver class and event type.
// A coroutine resumed by a finished future or a network reply shows up as that watcher's or reply's
// event.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QGuiApplication>
#include <QMetaObject>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace brightloom::bench {

class TimedApplication final : public QGuiApplication
{
public:
    TimedApplication(int& argc, char** argv) : QGuiApplication(argc, argv) {}

    // Events of the main thread that take at least `ms` are kept from now on; 0 stops.
    void traceLongerThan(double ms) { m_thresholdMs = ms; }

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (m_thresholdMs <= 0 || QThread::currentThread() != thread())
            return QGuiApplication::notify(receiver, event);
        const char* receiverClass = receiver ? receiver->metaObject()->className() : "?";
        const int type = int(event->type());
        QElapsedTimer clock;
        clock.start();
        const bool handled = QGuiApplication::notify(receiver, event);
        const double ms = double(clock.nsecsElapsed()) / 1e6;
        if (ms >= m_thresholdMs)
            m_slow.push_back(Slow{ms, receiverClass, type});
        Total& total = m_totals[std::string(receiverClass) + ", event " + std::to_string(type)];
        ++total.count;
        total.ms += ms;
        return handled;
    }

    // The events kept, slowest first, and forgets them.
    void report(std::FILE* out)
    {
        std::sort(m_slow.begin(), m_slow.end(), [](const Slow& a, const Slow& b) { return a.ms > b.ms; });
        for (std::size_t i = 0; i < std::min<std::size_t>(m_slow.size(), 25); ++i)
            std::fprintf(out, "    %7.1f ms  %s, event %d\n", m_slow[i].ms, m_slow[i].receiverClass,
                         m_slow[i].type);
        m_slow.clear();
        std::vector<std::pair<std::string, Total>> totals(m_totals.begin(), m_totals.end());
        std::sort(totals.begin(), totals.end(),
                  [](const auto& a, const auto& b) { return a.second.ms > b.second.ms; });
        std::fprintf(out, "    main thread busy, by receiver:\n");
        for (std::size_t i = 0; i < std::min<std::size_t>(totals.size(), 8); ++i)
            std::fprintf(out, "    %8.1f ms in %6d events  %s\n", totals[i].second.ms, totals[i].second.count,
                         totals[i].first.c_str());
        m_totals.clear();
    }

private:
    struct Slow
    {
        double ms;
        const char* receiverClass;
        int type;
    };
    struct Total
    {
        int count = 0;
        double ms = 0;
    };
    double m_thresholdMs = 0;
    std::vector<Slow> m_slow;
    std::map<std::string, Total> m_totals;
};

} // namespace brightloom::bench
