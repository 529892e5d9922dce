// What the window costs while it sits open: the real window for a stretch of time on each of three
// screens, behind another window, against a minimal Qt Widgets window that asks the stand-in service
// the same things at the same intervals with a bare QNetworkAccessManager. For each screen, the
// processor time and the wakeups (voluntary context switches of every thread, and of the main thread
// alone), as the median of per-round ratios with min and max; goal at most 1.3x each.
//
//   new project    the window polls the worker status;
//   ready          an open conversation whose newest job is ready: the conversation's idle polling;
//   building       a conversation whose job is building: its active polling and the one-second counter.
//
// Each round runs the six programs at once against one stand-in service, started once with its clock
// stopped (jobs move only when this benchmark steps them), in a home signed in once.
//
//   bench_idle BUILD_DIR [--seconds=N] [--rounds=N]   (60 seconds, 3 rounds: about 5 minutes)

#include "bench_support.h"
#include "standin_process.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <array>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

using brightloom::bench::numberOption;
using brightloom::bench::reportRatios;
using brightloom::bench::StandInProcess;

// At most this much of the yardstick's processor time and wakeups, on every screen.
constexpr double idleGoal = 1.3;

struct Figures
{
    double cpuSeconds = -1;
    double wakeups = -1, uiWakeups = -1; // per second
};

// The last line of a side's output, "idle SECONDS cpu S wakeups N ui-wakeups N".
Figures parseFigures(const QByteArray& said)
{
    Figures figures;
    const QList<QByteArray> words = said.trimmed().split('\n').constLast().split(' ');
    if (words.size() != 8 || words.at(0) != "idle")
        return figures;
    const double seconds = words.at(1).toDouble();
    figures.cpuSeconds = words.at(3).toDouble();
    figures.wakeups = words.at(5).toDouble() / seconds;
    figures.uiWakeups = words.at(7).toLongLong() < 0 ? -1 : words.at(7).toDouble() / seconds;
    return figures;
}

// POSTs `body` to the stand-in's control interface; false when it did not answer 200.
bool control(const StandInProcess& service, const QString& path, const QByteArray& body)
{
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.addCaCertificates(QSslCertificate::fromPath(service.path("server/cert.pem")));
    QNetworkRequest request(QUrl(service.address()).resolved(QUrl(path)));
    request.setSslConfiguration(tls);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    QNetworkAccessManager network;
    std::unique_ptr<QNetworkReply> reply(network.post(request, body));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200;
}

// A new cloud project of the demo account; its id, or empty.
QString newProject(const StandInProcess& service, const QString& cli, const QString& prompt)
{
    const std::optional<QByteArray> said =
        service.run(cli, {QStringLiteral("new"), prompt, QStringLiteral("--cloud"), QStringLiteral("--yes")});
    return said ? QString::fromUtf8(said->trimmed()) : QString();
}

struct Screen
{
    const char* name;  // as the two sides take it
    const char* title; // for the report
    QString project;
    std::vector<double> cpu, wakeups, uiWakeups;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: bench_idle BUILD_DIR [--seconds=N] [--rounds=N]\n");
        return 2;
    }
    const QString build = QDir(args.at(1)).absolutePath();
    const int seconds = numberOption(args, QStringLiteral("seconds"), 60);
    const int rounds = numberOption(args, QStringLiteral("rounds"), 3);
    const QString cli = build + QStringLiteral("/src/brightloom-cli");
    const QString window = build + QStringLiteral("/bench/bench_idle_window");
    const QString yardstick = build + QStringLiteral("/bench/bench_idle_baseline");
    // Measured from 35 s after each side shows its screen: the thread pool's threads, busy at start-up,
    // end 30 s after their last task, and that is the tail of the start, not the cost of sitting open.
    const QString settle = QStringLiteral("35");

    StandInProcess service;
    // The clock is stopped: a job moves only when stepped, so a building job stays building.
    if (!service.start(build + QStringLiteral("/devserver/brightloom-devserver"), cli,
                       {QStringLiteral("--control"), QStringLiteral("--speed"), QStringLiteral("86400")}))
        return 1;
    // The intervals the window polls at, from the window's own code, for the yardstick to copy.
    const std::optional<QByteArray> intervals = service.run(window, {QStringLiteral("--intervals")});
    const QList<QByteArray> interval = intervals ? intervals->trimmed().split(' ') : QList<QByteArray>();
    if (interval.size() != 6)
        return 1;
    const QStringList polls{QString::fromUtf8(interval.at(1)), QString::fromUtf8(interval.at(3)),
                            QString::fromUtf8(interval.at(5))};

    std::array<Screen, 3> screens{Screen{"new", "new project screen", QStringLiteral("-"), {}, {}, {}},
                                  Screen{"ready", "conversation, newest job ready", {}, {}, {}, {}},
                                  Screen{"building", "conversation, job building", {}, {}, {}, {}}};
    screens[1].project = newProject(service, cli, QStringLiteral("a notes app with tags"));
    if (screens[1].project.isEmpty() || !control(service, QStringLiteral("control/clock/finish"), "{}"))
        return 1;
    screens[2].project = newProject(service, cli, QStringLiteral("a menu bar timer with three presets"));
    if (screens[2].project.isEmpty() ||
        !control(service, QStringLiteral("control/clock/step"), R"({"steps":1})"))
        return 1;

    for (int round = 0; round < rounds; ++round) {
        std::vector<std::unique_ptr<QProcess>> sides;
        for (const Screen& screen : screens) {
            const QString name = QString::fromLatin1(screen.name), duration = QString::number(seconds);
            for (const bool ours : {true, false}) {
                auto process = std::make_unique<QProcess>();
                process->setProcessEnvironment(service.environment());
                process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
                if (ours)
                    process->start(window, {name, screen.project, duration, settle});
                else
                    process->start(yardstick, QStringList{name, screen.project, duration, settle} + polls);
                sides.push_back(std::move(process));
            }
        }
        std::printf("  round %d:", round + 1);
        for (std::size_t i = 0; i < screens.size(); ++i) {
            Figures figures[2];
            for (int side = 0; side < 2; ++side) {
                QProcess& process = *sides[i * 2 + side];
                if (!process.waitForFinished((seconds + 120) * 1000) || process.exitCode() != 0) {
                    std::fprintf(stderr, "the %s side of the %s screen did not end well\n",
                                 side == 0 ? "window's" : "yardstick's", screens[i].name);
                    return 1;
                }
                figures[side] = parseFigures(process.readAllStandardOutput());
            }
            const Figures& ours = figures[0];
            const Figures& minimal = figures[1];
            if (ours.cpuSeconds < 0 || minimal.cpuSeconds <= 0 || minimal.wakeups <= 0)
                return 1;
            Screen& screen = screens[i];
            screen.cpu.push_back(ours.cpuSeconds / minimal.cpuSeconds);
            screen.wakeups.push_back(ours.wakeups / minimal.wakeups);
            if (ours.uiWakeups >= 0 && minimal.uiWakeups > 0)
                screen.uiWakeups.push_back(ours.uiWakeups / minimal.uiWakeups);
            std::printf(" %s: window %.0f ms, %.1f wakeups/s (main thread %.1f), yardstick %.0f ms, %.1f/s "
                        "(%.1f);",
                        screen.name, ours.cpuSeconds * 1000, ours.wakeups, ours.uiWakeups,
                        minimal.cpuSeconds * 1000, minimal.wakeups, minimal.uiWakeups);
        }
        std::printf("\n");
        std::fflush(stdout);
    }
    std::printf("the window sitting open for %d s behind another window, against a minimal window asking the "
                "same (%d rounds)\n",
                seconds, rounds);
    for (Screen& screen : screens) {
        const std::string title(screen.title), key = std::string("idle_") + screen.name;
        reportRatios((title + ": processor time").c_str(), (key + "_cpu_vs_minimal").c_str(), idleGoal,
                     screen.cpu);
        reportRatios((title + ": wakeups").c_str(), (key + "_wakeups_vs_minimal").c_str(), idleGoal,
                     screen.wakeups);
        if (!screen.uiWakeups.empty())
            reportRatios((title + ": main thread's wakeups").c_str(),
                         (key + "_ui_wakeups_vs_minimal").c_str(), idleGoal, screen.uiWakeups);
    }
    return 0;
}
