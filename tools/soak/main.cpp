// The window against a misbehaving stand-in service, for as long as asked (scripts/soak):
//   brightloom_soak --minutes M [--project ID] [--stall-budget-ms MS]
// Needs BRIGHTLOOM_URL (a stand-in service started with --control) and a signed-in session, or
// BRIGHTLOOM_EMAIL and BRIGHTLOOM_PASSWORD. Exits 0 when the window held up.

#include "soak_run.h"
#include "timed_application.h"

#include <QTimer>
#include <cstdio>

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    brightloom::soak::TimedApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    app.setQuitOnLastWindowClosed(false);
    brightloom::soak::SoakOptions options;
    const QStringList args = app.arguments();
    for (qsizetype i = 1; i + 1 < args.size(); ++i) {
        if (args[i] == QLatin1String("--minutes"))
            options.minutes = args[i + 1].toDouble();
        else if (args[i] == QLatin1String("--project"))
            options.project = args[i + 1];
        else if (args[i] == QLatin1String("--stall-budget-ms"))
            options.stallBudgetMs = args[i + 1].toDouble();
    }
    if (options.minutes <= 0) {
        std::fprintf(stderr, "usage: brightloom_soak --minutes M [--project ID] [--stall-budget-ms MS]\n");
        return 2;
    }
    int status = 1;
    QTimer::singleShot(0, &app, [&] {
        [](brightloom::soak::TimedApplication& a, brightloom::soak::SoakOptions o,
           int* out) -> QCoro::Task<> {
            *out = co_await brightloom::soak::runSoak(a, o);
            QCoreApplication::quit();
        }(app, options, &status);
    });
    app.exec();
    return status;
}
