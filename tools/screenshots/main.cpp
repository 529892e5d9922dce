// Renders the window's screens into PNG files: signs in to the service named by BRIGHTLOOM_URL
// (the stand-in service in scripts/screenshots), prepares each scene and photographs it.
//
//   brightloom_screenshots --out DIR [SCENE...]

#include "localbuild/local_builds.h"
#include "platform/desktop.h"
#include "scene.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "ui/app/palette.h"
#include "ui/app/window_screens.h"
#include "ui/desktop/widget_dialogs.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

using namespace brightloom;
using namespace brightloom::screens;

namespace {

class NoDesktop final : public Desktop
{
public:
    void open(const QUrl&) override {}
    void reveal(const QString&) override {}
};

QCoro::Task<int> renderAll(QStringList wanted, QString out)
{
    API api;
    LocalBuilds local;
    QTemporaryDir iconCache;
    IconLoader icons(iconCache.path());
    NoDesktop desktop;
    const QString email = qEnvironmentVariable("BRIGHTLOOM_EMAIL", QStringLiteral("demo@brightloom.test"));
    const QString password = qEnvironmentVariable("BRIGHTLOOM_PASSWORD", QStringLiteral("brightloom-demo"));
    try {
        co_await api.signIn(email, password);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "Could not sign in: %s\n", e.what());
        co_return 1;
    }
    ui::WidgetDialogs dialogs;
    SceneContext context{
        api, local, icons, desktop, dialogs, ui::windowScreens(api, local, icons, desktop, dialogs), out};
    int failures = 0;
    for (const Scene& scene : scenes()) {
        if (!wanted.isEmpty() && !wanted.contains(scene.name))
            continue;
        QWidget* widget = co_await scene.make(context);
        if (!widget) {
            std::printf("%s\n", qPrintable(scene.name));
            continue;
        }
        widget->resize(scene.size);
        widget->show();
        co_await waitUntil([] { return false; }, 400); // let it lay out, load and paint
        if (save(*widget, out, scene.name)) {
            std::printf("%s\n", qPrintable(scene.name));
        } else {
            std::fprintf(stderr, "Could not save %s\n", qPrintable(scene.name));
            ++failures;
        }
        delete widget;
        if (scene.after)
            co_await scene.after(context);
    }
    co_return failures == 0 ? 0 : 1;
}

QCoro::Task<> run(QStringList wanted, QString out, int* status)
{
    *status = co_await renderAll(std::move(wanted), std::move(out));
    QCoreApplication::quit();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    app.setQuitOnLastWindowClosed(false);
    ui::applyDesktopPalette(app);
    QStringList args = app.arguments().mid(1);
    QString out = QStringLiteral("docs/screenshots");
    const qsizetype at = args.indexOf(QStringLiteral("--out"));
    if (at >= 0 && at + 1 < args.size()) {
        out = args.at(at + 1);
        args.remove(at, 2);
    }
    int status = 1;
    QTimer::singleShot(0, &app, [&] { run(args, out, &status); });
    app.exec();
    return status;
}
