#include "timed_application.h"

#include <QEvent>
#include <QThread>

namespace brightloom::soak {

double TimedApplication::threadMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

bool TimedApplication::notify(QObject* receiver, QEvent* event)
{
    // Only events handed out by the main loop itself count; those sent from inside one are its work.
    if (m_depth > 0 || QThread::currentThread() != thread())
        return QApplication::notify(receiver, event);
    // Named before it is handed out: a receiver may be gone once its event is handled (a timer whose
    // timeout ends the coroutine that owns it, say).
    const char* receiverClass = receiver ? receiver->metaObject()->className() : "?";
    const int type = int(event->type());
    ++m_depth;
    const double start = threadMs();
    const bool handled = QApplication::notify(receiver, event);
    const double took = threadMs() - start;
    --m_depth;
    if (took >= 16.7 / 3 && m_longEvents.size() < 100)
        m_longEvents.push_back({took, receiverClass, type, m_context});
    if (took > m_longestMs) {
        m_longestMs = took;
        m_longestReceiver = receiverClass;
        m_longestType = type;
    }
    return handled;
}

void TimedApplication::resetLongest()
{
    m_longestMs = 0;
    m_longestReceiver.clear();
    m_longestType = 0;
    m_longEvents.clear();
}

} // namespace brightloom::soak
