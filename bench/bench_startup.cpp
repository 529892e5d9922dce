// Whole starts of the programs, each against a yardstick program started the same way, in
// alternating rounds, as the median of per-round ratios with min and max:
//
//   window   `brightloom`, offscreen and signed in (BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME: it prints the
//            moment of its first painted frame and of the new project screen's), against a minimal
//            Qt Widgets window to its first frame (goal: the first frame at most 1.2x); the new
//            project screen against the minimal window shown once one HTTPS request to the stand-in
//            is answered (goal: at most 1.2x); and each to the end of the process;
//   cli      `brightloom-cli session`, signed in (one request to the service), against a
//            QCoreApplication program making that one request (goal: at most 1.2x) and against a
//            bare QCoreApplication that prints a line; `--help` and `--version` against that bare
//            program (goal: at most 1.2x each).
//
// The stand-in service runs as a separate process, started once, with the session signed in once.
//
//   bench_startup BUILD_DIR [--rounds=N]

#include "bench_support.h"
#include "standin_process.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QThread>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

using brightloom::bench::numberOption;
using brightloom::bench::reportRatios;
using brightloom::bench::StandInProcess;

struct Programs
{
    QString window, cli, devserver, minimalWindow, bareCore, minimalWindowAfterRequest, oneRequest;
    // The same yardsticks linked against the programs' own libraries: the dynamic loader's floor.
    QString minimalWindowLinked, bareCoreLinked, minimalWindowAfterRequestLinked, oneRequestLinked;
};

long long steadyNanoseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

struct Timing
{
    double whole = -1;       // start to exit, ms; negative when the program failed
    double firstFrame = -1;  // start to the first painted frame, ms, for programs that say when
    double screenFrame = -1; // start to the first frame of the screen it settles on, ms
    double resident = -1;    // resident bytes once that screen is whole
};

// The moment a program printed as "WHAT at NANOSECONDS ns", in ms from `started`; -1 when absent.
double printedMoment(const QByteArray& said, const QByteArray& what, long long started)
{
    const qsizetype at = said.indexOf(what + " at ");
    if (at < 0)
        return -1;
    const long long moment = said.mid(at + what.size() + 4).split(' ').value(0).toLongLong();
    return double(moment - started) / 1e6;
}

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
    timing.firstFrame = printedMoment(said, "first frame", started);
    timing.screenFrame = printedMoment(said, "screen frame", started);
    if (const qsizetype at = said.indexOf("resident bytes "); at >= 0)
        timing.resident = said.mid(at + 15).split('\n').value(0).toDouble();
    return timing;
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
    const int rounds = numberOption(args, QStringLiteral("rounds"), 10);
    const Programs programs{build + QStringLiteral("/src/brightloom"),
                            build + QStringLiteral("/src/brightloom-cli"),
                            build + QStringLiteral("/devserver/brightloom-devserver"),
                            build + QStringLiteral("/bench/bench_minimal_window"),
                            build + QStringLiteral("/bench/bench_bare_core_app"),
                            build + QStringLiteral("/bench/bench_minimal_window_request"),
                            build + QStringLiteral("/bench/bench_one_request_app"),
                            build + QStringLiteral("/bench/bench_minimal_window_linked"),
                            build + QStringLiteral("/bench/bench_bare_core_app_linked"),
                            build + QStringLiteral("/bench/bench_minimal_window_request_linked"),
                            build + QStringLiteral("/bench/bench_one_request_app_linked")};

    StandInProcess service;
    if (!service.start(programs.devserver, programs.cli))
        return 1;
    const QProcessEnvironment& environment = service.environment();

    QProcessEnvironment windowEnvironment = environment;
    windowEnvironment.insert(QStringLiteral("BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME"), QStringLiteral("1"));
    std::vector<double> windowRatios, screenRatios, wholeRatios, cliRatios, cliFloorRatios, helpRatios,
        versionRatios, memoryRatios, windowFloorRatios, screenFloorRatios, spinnerFloorRatios,
        cliFloorLinkedRatios, helpFloorRatios, versionFloorRatios;
    const QStringList help{QStringLiteral("--help")}, version{QStringLiteral("--version")},
        session{QStringLiteral("session")};
    // One unmeasured start of each first: the first start of a program also reads it from the disk.
    timedRun(programs.minimalWindow, {}, environment);
    timedRun(programs.window, {}, windowEnvironment);
    timedRun(programs.bareCore, {}, environment);
    timedRun(programs.cli, session, environment);
    timedRun(programs.minimalWindowAfterRequest, {}, environment);
    timedRun(programs.oneRequest, {}, environment);
    for (const QString& linked : {programs.minimalWindowLinked, programs.bareCoreLinked,
                                  programs.minimalWindowAfterRequestLinked, programs.oneRequestLinked})
        timedRun(linked, {}, environment);
    for (int round = 0; round < rounds; ++round) {
        // The order inside a round alternates, so neither side always runs on a warmer machine.
        const bool projectFirst = round % 2 == 0;
        Timing minimal, window, bare, cli, cliHelp, cliVersion, minimalAfterRequest, oneRequest,
            minimalLinked, bareLinked, minimalAfterRequestLinked, oneRequestLinked;
        for (int side = 0; side < 2; ++side) {
            if ((side == 0) == projectFirst) {
                window = timedRun(programs.window, {}, windowEnvironment);
                cli = timedRun(programs.cli, session, environment);
                cliHelp = timedRun(programs.cli, help, environment);
                cliVersion = timedRun(programs.cli, version, environment);
            } else {
                minimal = timedRun(programs.minimalWindow, {}, environment);
                bare = timedRun(programs.bareCore, {}, environment);
                minimalAfterRequest = timedRun(programs.minimalWindowAfterRequest, {}, environment);
                oneRequest = timedRun(programs.oneRequest, {}, environment);
                minimalLinked = timedRun(programs.minimalWindowLinked, {}, environment);
                bareLinked = timedRun(programs.bareCoreLinked, {}, environment);
                minimalAfterRequestLinked =
                    timedRun(programs.minimalWindowAfterRequestLinked, {}, environment);
                oneRequestLinked = timedRun(programs.oneRequestLinked, {}, environment);
            }
        }
        if (minimal.firstFrame <= 0 || window.firstFrame <= 0 || window.screenFrame <= 0 || bare.whole <= 0 ||
            cli.whole <= 0 || cliHelp.whole <= 0 || cliVersion.whole <= 0 ||
            minimalAfterRequest.firstFrame <= 0 || oneRequest.whole <= 0 || minimalLinked.firstFrame <= 0 ||
            bareLinked.whole <= 0 || minimalAfterRequestLinked.firstFrame <= 0 || oneRequestLinked.whole <= 0)
            return 1;
        windowFloorRatios.push_back(window.firstFrame / minimalLinked.firstFrame);
        screenFloorRatios.push_back(window.screenFrame / minimalAfterRequestLinked.firstFrame);
        // The spinner comes first, before any network, so the screen cannot come before that frame
        // and then what one request adds to a window's start.
        const double requestAdds = minimalAfterRequestLinked.firstFrame - minimalLinked.firstFrame;
        if (requestAdds > 0)
            spinnerFloorRatios.push_back(window.screenFrame / (window.firstFrame + requestAdds));
        cliFloorLinkedRatios.push_back(cli.whole / oneRequestLinked.whole);
        helpFloorRatios.push_back(cliHelp.whole / bareLinked.whole);
        versionFloorRatios.push_back(cliVersion.whole / bareLinked.whole);
        windowRatios.push_back(window.firstFrame / minimal.firstFrame);
        screenRatios.push_back(window.screenFrame / minimalAfterRequest.firstFrame);
        wholeRatios.push_back(window.whole / minimal.whole);
        cliFloorRatios.push_back(cli.whole / oneRequest.whole);
        cliRatios.push_back(cli.whole / bare.whole);
        helpRatios.push_back(cliHelp.whole / bare.whole);
        versionRatios.push_back(cliVersion.whole / bare.whole);
        if (window.resident > 0 && minimalAfterRequest.resident > 0)
            memoryRatios.push_back(window.resident / minimalAfterRequest.resident);
        std::printf(
            "  round %d: the window's first frame %.0f ms and new project screen %.0f ms; the minimal "
            "window's first frame %.0f ms, after one request %.0f ms; session %.0f ms, --help %.0f ms, "
            "--version %.0f ms, bare program %.0f ms, one request %.0f ms; linked against the programs' "
            "libraries: minimal window %.0f ms, after one request %.0f ms, bare program %.0f ms, one request "
            "%.0f ms\n",
            round + 1, window.firstFrame, window.screenFrame, minimal.firstFrame,
            minimalAfterRequest.firstFrame, cli.whole, cliHelp.whole, cliVersion.whole, bare.whole,
            oneRequest.whole, minimalLinked.firstFrame, minimalAfterRequestLinked.firstFrame,
            bareLinked.whole, oneRequestLinked.whole);
    }
    std::printf("start-up to the first painted frames, and of the command line (%d rounds)\n", rounds);
    reportRatios("window / minimal Qt window, to the first frame", "window_first_frame_vs_minimal", 1.2,
                 windowRatios);
    reportRatios("window's new project screen / minimal window after one request",
                 "window_screen_vs_one_request", 1.2, screenRatios);
    reportRatios("window / minimal Qt window, to exit", "window_whole_vs_minimal", 0, wholeRatios);
    reportRatios("brightloom-cli session / QCoreApplication making one request", "cli_session_vs_one_request",
                 1.2, cliFloorRatios);
    reportRatios("brightloom-cli session / bare QCoreApplication", "cli_session_vs_bare_core", 0, cliRatios);
    reportRatios("brightloom-cli --help / bare QCoreApplication", "cli_help_vs_bare_core", 1.2, helpRatios);
    reportRatios("brightloom-cli --version / bare QCoreApplication", "cli_version_vs_bare_core", 1.2,
                 versionRatios);
    // Against the same yardsticks linked against the programs' libraries: what the loader leaves.
    reportRatios("window / minimal window with the window's libraries, to the first frame",
                 "window_first_frame_vs_linked_minimal", 0, windowFloorRatios);
    reportRatios("window's new project screen / that window after one request",
                 "window_screen_vs_linked_one_request", 0, screenFloorRatios);
    reportRatios("window's new project screen / its own first frame, then one request",
                 "window_screen_vs_spinner_then_one_request", 0, spinnerFloorRatios);
    reportRatios("brightloom-cli session / one request with the command line's libraries",
                 "cli_session_vs_linked_one_request", 0, cliFloorLinkedRatios);
    reportRatios("brightloom-cli --help / bare program with the command line's libraries",
                 "cli_help_vs_linked_bare_core", 0, helpFloorRatios);
    reportRatios("brightloom-cli --version / bare program with the command line's libraries",
                 "cli_version_vs_linked_bare_core", 0, versionFloorRatios);
    // Each signed in, on its screen: the window on the new project screen, the minimal window once
    // its one request is answered.
    reportRatios("window's resident memory / minimal window's after one request", "window_memory_vs_minimal",
                 2.0, memoryRatios);
    return 0;
}
