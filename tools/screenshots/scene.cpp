#include "scene.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QVBoxLayout>
#include <qcoro/qcorotimer.h>

namespace brightloom::screens {

std::vector<Scene>& scenes()
{
    static std::vector<Scene> all;
    return all;
}

SceneRegistration::SceneRegistration(std::initializer_list<Scene> list)
{
    for (const Scene& scene : list)
        scenes().push_back(scene);
}

QCoro::Task<bool> waitUntil(std::function<bool()> done, int limitMs)
{
    QDeadlineTimer deadline(limitMs);
    while (!done()) {
        if (deadline.hasExpired())
            co_return false;
        QTimer timer;
        timer.setSingleShot(true);
        timer.start(20);
        co_await timer;
    }
    co_return true;
}

bool save(QWidget& widget, const QString& outFolder, const QString& name)
{
    QDir().mkpath(outFolder);
    return widget.grab().save(outFolder + QLatin1Char('/') + name + QStringLiteral(".png"));
}

QWidget* page(QWidget* content, int margin)
{
    auto* page = new QWidget;
    page->setAutoFillBackground(true);
    page->setBackgroundRole(QPalette::Window);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->addWidget(content);
    layout->addStretch(1);
    return page;
}

} // namespace brightloom::screens
