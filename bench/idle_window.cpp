// One side of the idle benchmark: the real window, made of the program's own objects as its main()
// makes them, signed in, on one of three screens, behind another window, measuring itself once the
// screen has settled:
//
//   bench_idle_window new|ready|building PROJECT SECONDS [SETTLE_SECONDS]
//       new       the new project screen (PROJECT is ignored);
//       ready     PROJECT's conversation, whose newest job is ready;
//       building  PROJECT's conversation, whose job is building: the one-second counter shows.
//   bench_idle_window --intervals
//       prints the intervals at which the window asks the service, for the yardstick to copy.

#include "conversation/chat_view.h"
#include "idle_meter.h"
#include "service/api.h"
#include "shell/main_view.h"
#include "shell/worker_status_banner.h"
#include "ui/app/brightloom_app.h"
#include "ui/app/main_view_widget.h"
#include "ui/app/palette.h"
#include "ui/app/root_view_widget.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/new_project_view_widget.h"
#include "ui/desktop/single_instance.h"
#include "ui/shared/elapsed_seconds_label.h"

#include <QApplication>
#include <QTimer>
#include <QWidget>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace brightloom;
using namespace brightloom::ui;

// Whether the window shows `screen` settled: the new project screen, or the project's conversation
// loaded with its newest job in the state the screen wants. Selects the project once it is listed.
bool onScreen(BrightloomApp& window, const QString& screen, const QString& project)
{
    MainViewWidget* main = window.root().mainView();
    if (!main)
        return false;
    if (screen == QLatin1String("new")) {
        const auto* view = main->findChild<NewProjectViewWidget*>();
        return view && view->isVisible();
    }
    if (main->model().selection() != project) {
        for (const Project& listed : window.api().projects()) {
            if (listed.id == project)
                main->model().select(project);
        }
        return false;
    }
    const auto* chat = main->findChild<ChatViewWidget*>();
    if (!chat || !chat->chatView()->loaded())
        return false;
    const std::optional<Job> newest = chat->chatView()->latest();
    if (screen == QLatin1String("ready"))
        return newest && newest->status == JobStatus::ready;
    const auto* counter = main->findChild<ElapsedSecondsLabel*>();
    return newest && newest->status == JobStatus::building && counter && counter->isVisible() &&
           counter->ticking();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], "--intervals") == 0) {
        const ChatView::PollIntervals intervals;
        std::printf("active %lld idle %lld banner %lld\n", static_cast<long long>(intervals.active.count()),
                    static_cast<long long>(intervals.idle.count()),
                    static_cast<long long>(WorkerStatusBanner::defaultInterval.count()));
        return 0;
    }
    if (argc < 4) {
        std::fprintf(stderr, "usage: bench_idle_window new|ready|building PROJECT SECONDS [SETTLE_SECONDS]\n"
                             "       bench_idle_window --intervals\n");
        return 2;
    }
    const QString screen = QString::fromLocal8Bit(argv[1]);
    const QString project = QString::fromLocal8Bit(argv[2]);
    const int seconds = std::atoi(argv[3]);
    const int settle = argc > 4 ? std::atoi(argv[4]) : 5;

    QApplication app(argc, argv);
    // The program's own names: its settings and session live where the window program keeps them.
    QApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QApplication::setApplicationName(QStringLiteral("Brightloom"));
    QApplication::setDesktopFileName(QStringLiteral("app.brightloom.Brightloom"));
    applyDesktopPalette(app);
    SingleInstance instance; // not listening: several of these run at once
    BrightloomApp window(instance);
    window.window().show();
    // The window sits open while its person works in another one.
    QWidget front;
    front.setWindowTitle(QStringLiteral("In front"));
    front.resize(320, 200);

    QTimer watch;
    watch.setInterval(50);
    QObject::connect(&watch, &QTimer::timeout, &app, [&] {
        if (!onScreen(window, screen, project))
            return;
        watch.stop();
        front.show();
        front.activateWindow();
        QTimer::singleShot(settle * 1000, &app, [&] {
            if (window.window().isActiveWindow()) {
                std::fprintf(stderr, "the window is still in front\n");
                std::exit(1);
            }
            bench::measureIdleThenQuit(seconds);
        });
    });
    watch.start();
    QTimer::singleShot(60'000, &app, [&] {
        if (watch.isActive()) {
            std::fprintf(stderr, "the window did not reach the %s screen\n", qPrintable(screen));
            std::exit(1);
        }
    });
    return app.exec();
}
