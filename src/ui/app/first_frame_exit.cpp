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

bool isScreen(const QObject* object)
{
    return object->inherits("brightloom::ui::NewProjectViewWidget") ||
           object->inherits("brightloom::ui::AuthViewWidget");
}

// Whether a painted widget is part of a screen the start settles on, drawn where it can be seen.
bool isPartOfAScreen(QObject* watched)
{
    if (!watched->isWidgetType() || !static_cast<QWidget*>(watched)->isVisible())
        return false;
    for (const QObject* at = watched; at; at = at->parent()) {
        if (isScreen(at))
            return true;
    }
    return false;
}

void printMoment(const char* what)
{
    std::printf("%s at %lld ns\n", what, static_cast<long long>(steadyNanoseconds()));
    std::fflush(stdout);
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
        // frame (the spinner, or whatever shows first), and the first frame of the screen it settles
        // on, which is the first paint of any part of it.
        if (!m_firstFrame && watched->isWidgetType()) {
            m_firstFrame = true;
            printMoment("first frame");
        }
        if (!m_screenFrame && isPartOfAScreen(watched)) {
            m_screenFrame = true;
            printMoment("screen frame");
        }
        // The memory is read, and the program quits, when the screen's own widget is painted. Qt
        // skips the paint of a widget its children cover, as the new project screen's scroll area
        // covers it, until something around them changes: there, the gallery's arrival, so the
        // memory is that of the screen with its gallery.
        if (isScreen(watched)) {
            m_done = true;
            std::printf("resident bytes %lld\n", residentBytes());
            std::fflush(stdout);
            // Queued: the frame being painted reaches the screen before the loop comes back to it.
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        }
        return false;
    }

private:
    bool m_firstFrame = false;
    bool m_screenFrame = false;
    bool m_done = false;
};

} // namespace

void quitAfterFirstFrameWhenAsked(QApplication& app)
{
    if (qEnvironmentVariableIsSet("BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME"))
        app.installEventFilter(new FirstFrameExit(&app));
}

} // namespace brightloom::ui
