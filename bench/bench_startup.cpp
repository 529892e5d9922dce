// Whole starts of the programs, each against a yardstick program started the same way, in
// alternating rounds, as the median of per-round ratios with min and max:
//
//   window   `brightloom`, offscreen and signed in, from its start to its first painted frame of the
//            new project screen (BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME), against a minimal Qt Widgets
//            window to its first frame (goal: at most 1.2x);
//   cli      `brightloom-cli session`, signed in (one request to the service), against a program that
//            makes a bare QCoreApplication and prints a line (goal: at most 1.5x).
//
// The stand-in service runs as a separate process, started once, with the session signed in once.
//
//   bench_startup BUILD_DIR [--rounds=N]

#include "bench_support.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <vector>

namespace {

struct Programs
{
    QString window, cli, devserver, minimalWindow, bareCore;
};

// Runs a program to its end and answers its wall time in milliseconds, or a negative number when it
// failed.
double timedRun(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer clock;
    clock.start();
    process.start(program, arguments);
    if (!process.waitForFinished(60'000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        std::fprintf(stderr, "%s did not end well: %s\n", qPrintable(program), process.readAll().constData());
        return -1;
    }
    return double(clock.nsecsElapsed()) / 1e6;
}

void report(const char* what, const char* key, double goal, std::vector<double> ratios)
{
    const brightloom::bench::Spread r = brightloom::bench::spread(std::move(ratios));
    std::printf("  %s: median %.2f  min %.2f  max %.2f  (goal at most %.1f: %s)\n", what, r.median, r.min,
                r.max, goal, r.median <= goal ? "met" : "NOT met");
    std::printf("RESULT {\"%s_median\":%.3f,\"%s_min\":%.3f,\"%s_max\":%.3f}\n", key, r.median, key, r.min,
                key, r.max);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: bench_startup BUILD_DIR [--rounds=N]\n");
        return 2;
    }
    const QString build = QDir(args.at(1)).absolutePath();
    int rounds = 10;
    for (const QString& arg : args.mid(2)) {
        if (arg.startsWith(QLatin1String("--rounds=")))
            rounds = arg.mid(9).toInt();
    }
    const Programs programs{build + QStringLiteral("/src/brightloom"),
                            build + QStringLiteral("/src/brightloom-cli"),
                            build + QStringLiteral("/devserver/brightloom-devserver"),
                            build + QStringLiteral("/bench/bench_minimal_window"),
                            build + QStringLiteral("/bench/bench_bare_core_app")};

    QTemporaryDir home;
    QDir(home.path()).mkpath(QStringLiteral("server"));
    QDir(home.path()).mkpath(QStringLiteral("runtime"));
    QFile::setPermissions(home.filePath(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home.path());
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral(".local/share")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral(".cache")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("runtime")));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));

    QProcess server;
    server.setProcessEnvironment(environment);
    server.start(programs.devserver, {QStringLiteral("--data"), home.filePath(QStringLiteral("server")),
                                      QStringLiteral("--port"), QStringLiteral("0")});
    if (!server.waitForStarted() || !server.waitForReadyRead(30'000)) {
        std::fprintf(stderr, "the stand-in service did not start\n");
        return 1;
    }
    const QString address = QString::fromUtf8(server.readLine()).trimmed();
    environment.insert(QStringLiteral("BRIGHTLOOM_URL"), address);
    environment.insert(QStringLiteral("BRIGHTLOOM_CA_FILE"),
                       home.filePath(QStringLiteral("server/cert.pem")));
    if (timedRun(programs.cli,
                 {QStringLiteral("login"), QStringLiteral("--email"), QStringLiteral("demo@brightloom.test"),
                  QStringLiteral("--password"), QStringLiteral("brightloom-demo")},
                 environment) < 0)
        return 1;

    QProcessEnvironment windowEnvironment = environment;
    windowEnvironment.insert(QStringLiteral("BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME"), QStringLiteral("1"));
    std::vector<double> windowRatios, cliRatios;
    std::vector<double> windowMs, minimalMs, cliMs, bareMs;
    // One unmeasured start of each first: the first start of a program also reads it from the disk.
    timedRun(programs.minimalWindow, {}, environment);
    timedRun(programs.window, {}, windowEnvironment);
    timedRun(programs.bareCore, {}, environment);
    timedRun(programs.cli, {QStringLiteral("session")}, environment);
    for (int round = 0; round < rounds; ++round) {
        // The order inside a round alternates, so neither side always runs on a warmer machine.
        const bool projectFirst = round % 2 == 0;
        double minimal = 0, window = 0, bare = 0, cli = 0;
        for (int side = 0; side < 2; ++side) {
            if ((side == 0) == projectFirst) {
                window = timedRun(programs.window, {}, windowEnvironment);
                cli = timedRun(programs.cli, {QStringLiteral("session")}, environment);
            } else {
                minimal = timedRun(programs.minimalWindow, {}, environment);
                bare = timedRun(programs.bareCore, {}, environment);
            }
        }
        if (minimal <= 0 || window <= 0 || bare <= 0 || cli <= 0)
            return 1;
        windowMs.push_back(window);
        minimalMs.push_back(minimal);
        cliMs.push_back(cli);
        bareMs.push_back(bare);
        windowRatios.push_back(window / minimal);
        cliRatios.push_back(cli / bare);
        std::printf(
            "  round %d: window %.0f ms, minimal window %.0f ms; session %.0f ms, bare program %.0f ms\n",
            round + 1, window, minimal, cli, bare);
    }
    server.terminate();
    server.waitForFinished();
    std::printf("start-up to the first painted frame, and of the command line's session check (%d rounds)\n",
                rounds);
    report("window / minimal Qt window", "window_first_frame_vs_minimal", 1.2, windowRatios);
    report("brightloom-cli session / bare QCoreApplication", "cli_session_vs_bare_core", 1.5, cliRatios);
    return 0;
}
