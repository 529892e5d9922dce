// The yardstick of the start-up benchmark: the least a Qt Widgets program does to put a window with
// some text on the screen, quitting once its first frame is painted, as the window program does under
// BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME.

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

namespace {

class Window final : public QWidget
{
protected:
    bool event(QEvent* event) override
    {
        const bool handled = QWidget::event(event);
        if (event->type() == QEvent::Paint && !m_painted) {
            m_painted = true;
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
    window.show();
    return app.exec();
}
