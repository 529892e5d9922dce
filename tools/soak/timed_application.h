#pragma once

#include <QApplication>
#include <QString>
#include <ctime>
#include <vector>

namespace brightloom::soak {

// A widget application that measures how long the main thread works on each event it hands out: the
// longest is the longest stall a user could feel. It counts the thread's processor time, so time the
// thread merely waited for a processor on a busy machine is not taken for blocking work.
class TimedApplication final : public QApplication
{
public:
    TimedApplication(int& argc, char** argv) : QApplication(argc, argv) {}

    bool notify(QObject* receiver, QEvent* event) override;

    // The longest stall since the last reset, in milliseconds, and what received it.
    double longestMs() const { return m_longestMs; }
    const QByteArray& longestReceiver() const { return m_longestReceiver; }
    int longestEventType() const { return m_longestType; }
    void resetLongest();

    // What the soak is doing now, kept with each long event so that a stall can be traced to its cause.
    void setContext(const QString& context) { m_context = context; }
    struct LongEvent
    {
        double ms;
        QByteArray receiver;
        int type;
        QString context;
    };
    // Every event that took at least a third of a frame, in the order they came (at most 100).
    const std::vector<LongEvent>& longEvents() const { return m_longEvents; }

private:
    static double threadMs();

    int m_depth = 0;
    double m_longestMs = 0;
    QByteArray m_longestReceiver;
    int m_longestType = 0;
    QString m_context;
    std::vector<LongEvent> m_longEvents;
};

} // namespace brightloom::soak
