// How fast LocalBuild::run collects a flood of child output, against a bare loop that spawns the same
// child and appends each read() to one std::string, and against QProcess appending each readyRead to
// a QByteArray.
//
//   bench_runner                 5 alternating rounds of 1 GB each, summary only
//   bench_runner --rounds=N      N rounds (0: none)
//   bench_runner --bytes=N       N bytes of output per run instead of 10^9
//   bench_runner --qprocess      also the QProcess way (slow: about three times the others)
//
// Quote the RESULT line: the runner's speed over the bare loop's as the median of per-round ratios
// with min and max, the runner's peak memory over the output's size, and the longest pause of the
// main thread's 5 ms timer while the runner ran.

#include "bench_support.h"
#include "localbuild/process_runner.h"
#include "threads/background_priority.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QProcess>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {

using namespace brightloom;
using namespace brightloom::bench;
using Clock = std::chrono::steady_clock;

const char* const flood = BRIGHTLOOM_BENCH_FLOOD;

// The plain way: spawn, read into one std::string until the end, wait.
std::size_t bareLoop(long long bytes)
{
    int fds[2];
    if (::pipe(fds) != 0)
        std::abort();
    ::fcntl(fds[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(fds[1], F_SETFD, FD_CLOEXEC);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 2);
    const std::string count = std::to_string(bytes);
    char* argv[] = {const_cast<char*>(flood), const_cast<char*>(count.c_str()), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, flood, &actions, nullptr, argv, environ) != 0)
        std::abort();
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
    std::string output;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n > 0)
            output.append(buffer, std::size_t(n));
        else if (n == 0 || errno != EINTR)
            break;
    }
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    benchmark::DoNotOptimize(output.data());
    return output.size();
}

// QProcess, appending each readyRead to one QByteArray.
qsizetype qprocessAppend(long long bytes)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QByteArray output;
    QObject::connect(&process, &QProcess::readyRead, &process, [&] { output.append(process.readAll()); });
    process.start(QString::fromUtf8(flood), {QString::number(bytes)});
    process.waitForStarted();
    while (process.state() != QProcess::NotRunning)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    output.append(process.readAll());
    return output.size();
}

struct ProjectRun
{
    qsizetype bytes = 0;
    double longestGapMs = 0;
};

ProjectRun project(long long bytes)
{
    std::optional<LocalBuild::Output> out;
    ProjectRun run;
    run.longestGapMs = runWatchingTicks(
        LocalBuild::run(QString::fromUtf8(flood), {QString::number(bytes)}, std::nullopt, 600), out);
    if (!out || out->code != 0)
        std::abort();
    run.bytes = out->output.size();
    return run;
}

void BM_Runner(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(project(state.range(0)).bytes);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Runner)->Arg(1'000'000'000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_BareLoop(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(bareLoop(state.range(0)));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_BareLoop)->Arg(1'000'000'000)->Unit(benchmark::kMillisecond)->Iterations(3);

void runRounds(long long bytes, int rounds, bool withQProcess)
{
    std::vector<double> speedRatio, qprocessRatio, projectPeak, barePeak, qprocessPeak, gaps;
    std::vector<double> projectSeconds, bareSeconds;
    for (int r = 0; r < rounds; ++r) {
        double projectTime = 0, bareTime = 0, qprocessTime = 0;
        // Alternate which goes first, so neither always meets a warm or a cold machine.
        for (int turn = 0; turn < (withQProcess ? 3 : 2); ++turn) {
            const int which = (turn + r) % (withQProcess ? 3 : 2);
            const long long start = startPeak();
            const auto began = Clock::now();
            if (which == 0) {
                const ProjectRun run = project(bytes);
                projectTime = seconds(Clock::now() - began);
                if (run.bytes != bytes)
                    std::abort();
                gaps.push_back(run.longestGapMs);
                projectPeak.push_back(double(peakSince(start)) / double(bytes));
            } else if (which == 1) {
                // On a worker thread lowered as the runner's are, with its child: on a busy machine a
                // loop at the main thread's priority would race ahead for that reason alone.
                std::size_t read = 0;
                std::thread worker([&] {
                    brightloom::yieldToMainThread();
                    read = bareLoop(bytes);
                });
                worker.join();
                if (read != std::size_t(bytes))
                    std::abort();
                bareTime = seconds(Clock::now() - began);
                barePeak.push_back(double(peakSince(start)) / double(bytes));
            } else {
                if (qprocessAppend(bytes) != bytes)
                    std::abort();
                qprocessTime = seconds(Clock::now() - began);
                qprocessPeak.push_back(double(peakSince(start)) / double(bytes));
            }
        }
        speedRatio.push_back(bareTime / projectTime);
        projectSeconds.push_back(projectTime);
        bareSeconds.push_back(bareTime);
        if (withQProcess)
            qprocessRatio.push_back(bareTime / qprocessTime);
    }
    const Spread speed = spread(speedRatio);
    const Spread peak = spread(projectPeak);
    const Spread bare = spread(barePeak);
    const Spread gap = spread(gaps);
    std::printf("\n%d alternating rounds of %.0f MB of child output (MB = 10^6 bytes)\n", rounds,
                bytes / 1e6);
    std::printf("  %-26s %9s %9s\n", "", "median s", "GB/s");
    const double ps = spread(projectSeconds).median, bs = spread(bareSeconds).median;
    std::printf("  %-26s %9.3f %9.2f\n", "LocalBuild::run", ps, bytes / ps / 1e9);
    std::printf("  %-26s %9.3f %9.2f\n", "bare read loop", bs, bytes / bs / 1e9);
    std::printf("\n  %-40s %7s %7s %7s\n", "", "median", "min", "max");
    std::printf("  %-40s %7.3f %7.3f %7.3f\n", "runner speed / bare loop speed", speed.median, speed.min,
                speed.max);
    if (withQProcess) {
        const Spread q = spread(qprocessRatio);
        std::printf("  %-40s %7.3f %7.3f %7.3f\n", "QProcess+QByteArray speed / bare loop", q.median, q.min,
                    q.max);
        const Spread qp = spread(qprocessPeak);
        std::printf("  %-40s %7.3f %7.3f %7.3f\n", "QProcess peak memory / output bytes", qp.median, qp.min,
                    qp.max);
    }
    std::printf("  %-40s %7.3f %7.3f %7.3f\n", "runner peak memory / output bytes", peak.median, peak.min,
                peak.max);
    std::printf("  %-40s %7.3f %7.3f %7.3f\n", "bare loop peak memory / output bytes", bare.median, bare.min,
                bare.max);
    std::printf("  %-40s %7.1f %7.1f %7.1f\n", "longest main-thread gap (5 ms timer), ms", gap.median,
                gap.min, gap.max);
    std::printf("\n  goal, at least 0.90x the bare loop: %s (median %.3f)\n",
                speed.median >= 0.9 ? "met" : "NOT met", speed.median);
    std::printf(
        "RESULT {\"runner_vs_bare_median\":%.4f,\"runner_vs_bare_min\":%.4f,\"runner_vs_bare_max\":%.4f,"
        "\"runner_peak_per_output_byte\":%.3f,"
        "\"bare_peak_per_output_byte\":%.3f,\"longest_gap_ms\":%.1f,\"rounds\":%d}\n",
        speed.median, speed.min, speed.max, peak.median, bare.median, gap.max, rounds);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    int rounds = 5;
    long long bytes = 1'000'000'000;
    bool withQProcess = false;
    std::vector<char*> rest;
    for (int i = 0; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.rfind("--rounds=", 0) == 0)
            rounds = std::atoi(arg.c_str() + 9);
        else if (arg.rfind("--bytes=", 0) == 0)
            bytes = std::atoll(arg.c_str() + 8);
        else if (arg == "--qprocess")
            withQProcess = true;
        else
            rest.push_back(argv[i]);
    }
    int restCount = int(rest.size());
    benchmark::Initialize(&restCount, rest.data());
    bool filtered = false;
    for (int i = 1; i < restCount; ++i)
        filtered = filtered || std::strncmp(rest[i], "--benchmark_filter", 18) == 0;
    if (filtered)
        benchmark::RunSpecifiedBenchmarks();
    if (rounds > 0)
        runRounds(bytes, rounds, withQProcess);
    return 0;
}
