#include "scene.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QVBoxLayout>
#include <memory>
#include <qcoro/qcoronetworkreply.h>
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

QCoro::Task<QByteArray> SceneContext::control(QString method, QString path, QByteArray body)
{
    // Lives as long as the application, so it never outlives the event loop it works on.
    static QNetworkAccessManager* network = new QNetworkAccessManager(QCoreApplication::instance());
    QNetworkRequest request(QUrl(qEnvironmentVariable("BRIGHTLOOM_URL")).resolved(QUrl(path)));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    std::unique_ptr<QNetworkReply> reply(network->sendCustomRequest(request, method.toLatin1(), body));
    co_await reply.get();
    co_return reply->readAll();
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
