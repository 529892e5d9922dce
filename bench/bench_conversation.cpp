// Two costs of the conversation screen, each against a named baseline measured in the same run:
//
//   refresh   one refresh of a conversation of 10,000 unchanged messages, against one of 10 messages
//             (alternating rounds; the median of per-round ratios, with min and max);
//   stall     the main thread's longest gap between ticks of a 5 ms timer while a local build unpacks a
//             150 MB source, streams 100 MB of compiler output into the job's log and the screen polls
//             the service, against the 16.7 ms budget of one frame at 60 Hz.
//
//   bench_conversation [refresh|stall|all] [--rounds=N] [--trace=MS]
//
// --trace=MS lists, after each stall round, the main thread's events that took MS or longer.

#include "conversation/chat_view.h"
#include "event_timing.h"
#include "localbuild/local_builds.h"
#include "recording_server.h"
#include "service/api.h"
#include "service_thread.h"
#include "source_package.h"
#include "stand_in_tools.h"
#include "task_runner.h"
#include "temp_home.h"
#include "tick_watch.h"
#include "zip_maker.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <unistd.h>
#include <vector>

using namespace brightloom;
using namespace brightloom::test;
using brightloom::bench::ServiceThread;

namespace {

constexpr double frameBudgetMs = 1000.0 / 60.0;

struct Spread
{
    double median = 0, min = 0, max = 0;
};

Spread spread(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return {values[values.size() / 2], values.front(), values.back()};
}

QByteArray detailWith(int messageCount, const QJsonObject& newestJob)
{
    QJsonArray messages;
    for (int i = 0; i < messageCount; ++i) {
        messages.append(QJsonObject{
            {QStringLiteral("id"), QStringLiteral("m%1").arg(i)},
            {QStringLiteral("role"), i % 2 ? QStringLiteral("assistant") : QStringLiteral("user")},
            {QStringLiteral("content"),
             QStringLiteral(
                 "Message %1: make the timer start at five minutes and show the remaining seconds in a "
                 "large rounded font, with a soft chime at the end.")
                 .arg(i)}});
    }
    QJsonObject detail{
        {QStringLiteral("project"), QJsonObject{{QStringLiteral("id"), QStringLiteral("p1")},
                                                {QStringLiteral("name"), QStringLiteral("Timer")}}},
        {QStringLiteral("messages"), messages},
        {QStringLiteral("jobs"), QJsonArray{newestJob}}};
    return QJsonDocument(detail).toJson(QJsonDocument::Compact);
}

QJsonObject readyCloudJob()
{
    return QJsonObject{{QStringLiteral("id"), QStringLiteral("j1")},
                       {QStringLiteral("status"), QStringLiteral("ready")}};
}

double timeRefresh(ChatView& view)
{
    QElapsedTimer timer;
    timer.start();
    run(view.refresh());
    return timer.nsecsElapsed() / 1e6;
}

int benchRefresh(int rounds)
{
    TempHome home;
    RecordingServer big, small;
    big.on(QStringLiteral("GET /api/projects/p1"),
           ScriptedReply::json(200, detailWith(10'000, readyCloudJob())));
    small.on(QStringLiteral("GET /api/projects/p1"),
             ScriptedReply::json(200, detailWith(10, readyCloudJob())));
    const Project project{QStringLiteral("p1"), QStringLiteral("Timer"), std::nullopt};

    home.setEnv("BRIGHTLOOM_URL", big.baseUrl().toString().toUtf8());
    API bigApi;
    home.setEnv("BRIGHTLOOM_URL", small.baseUrl().toString().toUtf8());
    API smallApi;
    LocalBuilds local;
    ChatView bigView(bigApi, local, project);
    ChatView smallView(smallApi, local, project);
    timeRefresh(bigView); // the first refresh loads; the measured ones find nothing changed
    timeRefresh(smallView);

    std::vector<double> bigMs, smallMs, ratios;
    for (int round = 0; round < rounds; ++round) {
        const bool bigFirst = round % 2 == 0;
        const double a = bigFirst ? timeRefresh(bigView) : timeRefresh(smallView);
        const double b = bigFirst ? timeRefresh(smallView) : timeRefresh(bigView);
        const double bigTime = bigFirst ? a : b, smallTime = bigFirst ? b : a;
        bigMs.push_back(bigTime);
        smallMs.push_back(smallTime);
        ratios.push_back(bigTime / smallTime);
    }
    const Spread r = spread(ratios);
    std::printf("refresh of an unchanged conversation, %d alternating rounds\n", rounds);
    std::printf("  10,000 messages  median %.2f ms (%.2f MB reply)\n", spread(bigMs).median,
                detailWith(10'000, readyCloudJob()).size() / 1e6);
    std::printf("  10 messages      median %.2f ms\n", spread(smallMs).median);
    std::printf("  ratio 10,000 / 10: median %.1f  min %.1f  max %.1f\n", r.median, r.min, r.max);
    std::printf("RESULT {\"refresh_10000_vs_10_median\":%.2f,\"refresh_10000_vs_10_min\":%.2f,"
                "\"refresh_10000_vs_10_max\":%.2f}\n",
                r.median, r.min, r.max);
    return 0;
}

// The calling thread's time on a processor and waiting for one, in milliseconds, as the kernel
// counts them. Only Linux counts the waiting; elsewhere it reads 0 and the time on a processor
// comes from the thread's own clock.
std::pair<double, double> schedulerTimes()
{
#if defined(__linux__)
    QFile stat(QStringLiteral("/proc/thread-self/schedstat"));
    if (!stat.open(QIODevice::ReadOnly))
        return {0, 0};
    const QList<QByteArray> fields = stat.readAll().split(' ');
    return {fields.value(0).toDouble() / 1e6, fields.value(1).toDouble() / 1e6};
#else
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return {double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6, 0};
#endif
}

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator(20261123);
    generator.fillRange(reinterpret_cast<quint32*>(bytes.data()), size / 4);
    return bytes;
}

QByteArray bigSource()
{
    ZipMaker zip = sourcePackage("import SwiftUI\n", "Big Timer");
    const QByteArray blob = randomBytes(1 << 20);
    for (int i = 0; i < 150; ++i)
        zip.file(QStringLiteral("Resources/blob-%1.bin").arg(i), blob.mid(i * 64) + blob.left(i * 64));
    return zip.zip();
}

// The stand-in tools, with a compiler that first writes `megabytes` MB of output.
QString noisyTools(const QString& folder, int megabytes)
{
    return toolsWithReleaseBuildPrelude(QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR), folder,
                                        "head -c " + QByteArray::number(qint64(megabytes) << 20) +
                                            " /dev/zero | tr '\\0' 'w' | fold -w 99 | sed 's/^/warning: /'");
}

int benchStall(int rounds, double traceMs)
{
    auto* timed = static_cast<bench::TimedApplication*>(QCoreApplication::instance());
    std::printf("making a 150 MB source archive...\n");
    const QByteArray source = bigSource();
    std::vector<double> gaps, builds;
    for (int round = 0; round < rounds; ++round) {
        TempHome home;
        const QString jobId = QStringLiteral("job-%1").arg(round);
        ServiceThread service(
            [&](RecordingServer& server) {
                server.offer(QStringLiteral("files/source.zip"), ScriptedReply::archive(source));
                QJsonObject job{{QStringLiteral("id"), jobId},
                                {QStringLiteral("status"), QStringLiteral("ready")},
                                {QStringLiteral("mode"), QStringLiteral("source")},
                                {QStringLiteral("sourceUrl"),
                                 QString(server.baseUrl().toString() + QStringLiteral("files/source.zip"))}};
                server.on(QStringLiteral("GET /api/projects/p1"),
                          ScriptedReply::json(200, detailWith(50, job)));
            },
            {.https = true, .lowestPriority = true});
        home.setEnv("BRIGHTLOOM_URL", service.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", noisyTools(home.path() + QStringLiteral("/tools"), 100).toUtf8());

        API api;
        LocalBuilds local;
        ChatView view(api, local, Project{QStringLiteral("p1"), QStringLiteral("Timer"), std::nullopt});
        view.setPollIntervals(
            {std::chrono::milliseconds(100), std::chrono::milliseconds(100), std::chrono::milliseconds(100)});

        QElapsedTimer clock;
        clock.start();
        TickWatch ticks;
        const auto scheduledBefore = schedulerTimes();
        timed->traceLongerThan(traceMs);
        view.startPolling();
        const QString id = jobId;
        const bool ended = spinUntil(
            [&] {
                const auto state = local.state(id);
                return state &&
                       (state->phase == LocalState::Phase::done || state->phase == LocalState::Phase::failed);
            },
            std::chrono::minutes(2));
        ticks.stop();
        timed->traceLongerThan(0);
        const auto state = local.state(id);
        if (!ended || state->phase != LocalState::Phase::done) {
            std::fprintf(stderr, "the build did not finish: %s\n",
                         state ? state->error.value_or(QStringLiteral("?")).toUtf8().constData()
                               : "no state");
            return 1;
        }
        gaps.push_back(ticks.longestMs());
        builds.push_back(clock.nsecsElapsed() / 1e9);
        std::printf("  round %d: build %.1f s, longest gap %.1f ms\n", round + 1, builds.back(), gaps.back());
        if (traceMs > 0) {
            const auto scheduledAfter = schedulerTimes();
            std::printf("    main thread on a processor %.0f ms, waiting for one %.0f ms\n",
                        scheduledAfter.first - scheduledBefore.first,
                        scheduledAfter.second - scheduledBefore.second);
            timed->report(stdout);
        }
    }
    const Spread g = spread(gaps);
    std::printf(
        "longest main-thread gap during a local build (150 MB unpack, 100 MB of compiler output, polling)\n");
    std::printf("  median %.1f ms  min %.1f  max %.1f  (build median %.1f s)\n", g.median, g.min, g.max,
                spread(builds).median);
    std::printf("  ratio to the 16.7 ms frame budget: median %.2f  min %.2f  max %.2f\n",
                g.median / frameBudgetMs, g.min / frameBudgetMs, g.max / frameBudgetMs);
    std::printf(
        "RESULT {\"stall_vs_frame_median\":%.3f,\"stall_vs_frame_min\":%.3f,\"stall_vs_frame_max\":%.3f}\n",
        g.median / frameBudgetMs, g.min / frameBudgetMs, g.max / frameBudgetMs);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    bench::TimedApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    QString which = QStringLiteral("all");
    int rounds = -1;
    double traceMs = 0;
    for (const QString& arg : QCoreApplication::arguments().mid(1)) {
        if (arg.startsWith(QLatin1String("--rounds=")))
            rounds = arg.mid(9).toInt();
        else if (arg.startsWith(QLatin1String("--trace=")))
            traceMs = arg.mid(8).toDouble();
        else
            which = arg;
    }
    // The client trusts extra certificates from the first service client a process makes on, so the
    // stand-in services' certificate is named before any benchmark makes one.
    qputenv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
    int status = 0;
    if (which == QLatin1String("refresh") || which == QLatin1String("all"))
        status |= benchRefresh(rounds > 0 ? rounds : 15);
    if (which == QLatin1String("stall") || which == QLatin1String("all"))
        status |= benchStall(rounds > 0 ? rounds : 3, traceMs);
    return status;
}
