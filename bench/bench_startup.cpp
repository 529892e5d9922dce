// Whole starts of the programs, each against a yardstick program started the same way, in
// alternating rounds, as the median of per-round ratios with min and max:
//
//   window   `brightloom`, offscreen and signed in, from its start to its first painted frame of the
//            new project screen (BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME; both programs print the moment of
//            that frame), against a minimal Qt Widgets window to its first frame (goal: at most 1.2x);
//            and the same to the end of the process, which adds each program's exit;
//   cli      `brightloom-cli session`, signed in (one request to the service), against a program that
//            makes a bare QCoreApplication and prints a line (goal: at most 1.5x).
//
// The stand-in service runs as a separate process, started once, with the session signed in once.
//
//   bench_startup BUILD_DIR [--rounds=N]

#include "bench_support.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

struct Programs
{
    QString window, cli, devserver, minimalWindow, bareCore, minimalWindowAfterRequest, oneRequest;
};

long long steadyNanoseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

struct Timing
{
    double whole = -1;      // start to exit, ms; negative when the program failed
    double firstFrame = -1; // start to the first painted frame, ms, for programs that say when
};

// Runs a program to its end and answers its times.
Timing timedRun(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const long long started = steadyNanoseconds();
    process.start(program, arguments);
    Timing timing;
    if (!process.waitForFinished(60'000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        std::fprintf(stderr, "%s did not end well: %s\n", qPrintable(program), process.readAll().constData());
        return timing;
    }
    timing.whole = double(steadyNanoseconds() - started) / 1e6;
    const QByteArray said = process.readAllStandardOutput();
    const qsizetype at = said.indexOf("first frame at ");
    if (at >= 0) {
        const long long frame = said.mid(at + 15).split(' ').value(0).toLongLong();
        timing.firstFrame = double(frame - started) / 1e6;
    }
    return timing;
}

void report(const char* what, const char* key, double goal, std::vector<double> ratios)
{
    const brightloom::bench::Spread r = brightloom::bench::spread(std::move(ratios));
    if (goal > 0)
        std::printf("  %s: median %.2f  min %.2f  max %.2f  (goal at most %.1f: %s)\n", what, r.median, r.min,
                    r.max, goal, r.median <= goal ? "met" : "NOT met");
    else
        std::printf("  %s: median %.2f  min %.2f  max %.2f\n", what, r.median, r.min, r.max);
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
                            build + QStringLiteral("/bench/bench_bare_core_app"),
                            build + QStringLiteral("/bench/bench_minimal_window_request"),
                            build + QStringLiteral("/bench/bench_one_request_app")};

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
                 environment)
            .whole < 0)
        return 1;

    QProcessEnvironment windowEnvironment = environment;
    windowEnvironment.insert(QStringLiteral("BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME"), QStringLiteral("1"));
    std::vector<double> windowRatios, wholeRatios, cliRatios;
    // One unmeasured start of each first: the first start of a program also reads it from the disk.
    timedRun(programs.minimalWindow, {}, environment);
    timedRun(programs.window, {}, windowEnvironment);
    timedRun(programs.bareCore, {}, environment);
    timedRun(programs.cli, {QStringLiteral("session")}, environment);
    timedRun(programs.minimalWindowAfterRequest, {}, environment);
    timedRun(programs.oneRequest, {}, environment);
    std::vector<double> windowFloorRatios, cliFloorRatios;
    for (int round = 0; round < rounds; ++round) {
        // The order inside a round alternates, so neither side always runs on a warmer machine.
        const bool projectFirst = round % 2 == 0;
        Timing minimal, window, bare, cli, minimalAfterRequest, oneRequest;
        for (int side = 0; side < 2; ++side) {
            if ((side == 0) == projectFirst) {
                window = timedRun(programs.window, {}, windowEnvironment);
                cli = timedRun(programs.cli, {QStringLiteral("session")}, environment);
            } else {
                minimal = timedRun(programs.minimalWindow, {}, environment);
                bare = timedRun(programs.bareCore, {}, environment);
                minimalAfterRequest = timedRun(programs.minimalWindowAfterRequest, {}, environment);
                oneRequest = timedRun(programs.oneRequest, {}, environment);
            }
        }
        if (minimal.firstFrame <= 0 || window.firstFrame <= 0 || bare.whole <= 0 || cli.whole <= 0 ||
            minimalAfterRequest.firstFrame <= 0 || oneRequest.whole <= 0)
            return 1;
        windowFloorRatios.push_back(window.firstFrame / minimalAfterRequest.firstFrame);
        cliFloorRatios.push_back(cli.whole / oneRequest.whole);
        windowRatios.push_back(window.firstFrame / minimal.firstFrame);
        wholeRatios.push_back(window.whole / minimal.whole);
        cliRatios.push_back(cli.whole / bare.whole);
        std::printf(
            "  round %d: first frame of the window %.0f ms, of the minimal window %.0f ms, of the minimal "
            "window after one request %.0f ms (to exit %.0f and %.0f ms); session %.0f ms, bare program "
            "%.0f ms, one request %.0f ms\n",
            round + 1, window.firstFrame, minimal.firstFrame, minimalAfterRequest.firstFrame, window.whole,
            minimal.whole, cli.whole, bare.whole, oneRequest.whole);
    }
    server.terminate();
    server.waitForFinished();
    std::printf("start-up to the first painted frame, and of the command line's session check (%d rounds)\n",
                rounds);
    report("window / minimal Qt window, to the first frame", "window_first_frame_vs_minimal", 1.2,
           windowRatios);
    report("window / minimal Qt window, to exit", "window_whole_vs_minimal", 1.2, wholeRatios);
    report("brightloom-cli session / bare QCoreApplication", "cli_session_vs_bare_core", 1.5, cliRatios);
    // The floors: the same yardsticks when they too must have one answer from the service first.
    report("window / minimal Qt window after one request, to the first frame",
           "window_first_frame_vs_one_request", 0, windowFloorRatios);
    report("brightloom-cli session / QCoreApplication making one request", "cli_session_vs_one_request", 0,
           cliFloorRatios);
    return 0;
}
