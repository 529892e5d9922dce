// The yardstick of the start-up benchmark: the least a Qt Widgets program does to put a window with
// some text on the screen, printing the moment of its first frame and quitting then, as the window
// program does under BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME. Built a second time as the yardstick of a
// signed-in start, whose first frame waits for one request to the service.

#ifdef BRIGHTLOOM_AFTER_REQUEST
#include "one_request.h"
#endif

#include "platform/resident_memory.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>
#include <cstdio>
#include <ctime>

namespace {

class Window final : public QWidget
{
protected:
    bool event(QEvent* event) override
    {
        const bool handled = QWidget::event(event);
        if (event->type() == QEvent::Paint && !m_painted) {
            m_painted = true;
            timespec now{};
            ::clock_gettime(CLOCK_MONOTONIC, &now);
            std::printf("first frame at %lld ns\nresident bytes %lld\n",
                        now.tv_sec * 1'000'000'000LL + now.tv_nsec, brightloom::residentBytes());
            std::fflush(stdout);
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        }
        return handled;
    }

private:
    bool m_painted = false;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    Window window;
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(new QLabel(QStringLiteral("Describe the app you want")));
    window.resize(1100, 720);
#ifdef BRIGHTLOOM_AFTER_REQUEST
    // The window shows once one request to the service has been answered, as a signed-in start
    // must wait for the session check before it shows its screen.
    QNetworkAccessManager network;
    brightloom::bench::askOnce(network, [&window] { window.show(); });
#else
    window.show();
#endif
    return app.exec();
}
