#include "first_frame_exit.h"

#include <QApplication>
#include <QEvent>
#include <QObject>
#include <QWidget>

namespace brightloom::ui {
namespace {

class FirstFrameExit final : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (!m_done && event->type() == QEvent::Paint &&
            (watched->inherits("brightloom::ui::NewProjectViewWidget") ||
             watched->inherits("brightloom::ui::AuthViewWidget"))) {
            m_done = true;
            // Queued: the frame being painted reaches the screen before the loop comes back to it.
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        }
        return false;
    }

private:
    bool m_done = false;
};

} // namespace

void quitAfterFirstFrameWhenAsked(QApplication& app)
{
    if (qEnvironmentVariableIsSet("BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME"))
        app.installEventFilter(new FirstFrameExit(&app));
}

} // namespace brightloom::ui
