#include "first_frame_exit.h"

#include "platform/resident_memory.h"

#include <QApplication>
#include <QEvent>
#include <QObject>
#include <QWidget>
#include <cstdio>
#include <ctime>

namespace brightloom::ui {
namespace {

long long steadyNanoseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

class FirstFrameExit final : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::Paint || m_done)
            return false;
        // The moments on the system's steady clock, for whoever started the program to measure its
        // start to each frame apart from the time it then takes to exit: the window's very first
        // frame (the spinner, or whatever shows first), and the first of the screen it settles on.
        if (!m_firstFrame && watched->isWidgetType()) {
            m_firstFrame = true;
            std::printf("first frame at %lld ns\n", static_cast<long long>(steadyNanoseconds()));
            std::fflush(stdout);
        }
        if (watched->inherits("brightloom::ui::NewProjectViewWidget") ||
            watched->inherits("brightloom::ui::AuthViewWidget")) {
            m_done = true;
            std::printf("screen frame at %lld ns\nresident bytes %lld\n",
                        static_cast<long long>(steadyNanoseconds()), residentBytes());
            std::fflush(stdout);
            // Queued: the frame being painted reaches the screen before the loop comes back to it.
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        }
        return false;
    }

private:
    bool m_firstFrame = false;
    bool m_done = false;
};

} // namespace

void quitAfterFirstFrameWhenAsked(QApplication& app)
{
    if (qEnvironmentVariableIsSet("BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME"))
        app.installEventFilter(new FirstFrameExit(&app));
}

} // namespace brightloom::ui
