// The library's page of one app: time from opening it to the first painted row of its version tree,
// for a tree 100,000 levels deep (version, fork, version, …) against a tree of 10 versions, in
// alternating rounds; the median of per-round ratios, with min and max. The page asks a local
// service on a thread of its own, decodes and lists the tree on the thread pool, and makes widgets
// only for the rows on screen.
//
//   bench_library [--rounds=N] [--levels=N]

#include "bench_support.h"
#include "platform/desktop.h"
#include "recording_server.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "service_thread.h"
#include "task_runner.h"
#include "temp_home.h"
#include "tick_watch.h"
#include "ui/app/window_screens.h"
#include "ui/library/library_detail_view_widget.h"
#include "ui/library/tree_row_widget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QThread>
#include <cstdio>
#include <functional>

using namespace brightloom;
using namespace brightloom::test;
using brightloom::bench::ServiceThread;

namespace {

class NoDesktop final : public Desktop
{
public:
    void open(const QUrl&) override {}
    void reveal(const QString&) override {}
};

QByteArray detailHead(const char* name)
{
    return QByteArray(R"({"app":{"projectId":"p1","name":")") + name +
           R"(","versions":[],"templatePublic":false},"treeProjectId":"p1","canTemplate":true,"tree":[)";
}

const QByteArray nodeHead = R"({"jobId":"j","version":"1.0","prompt":"A change to the app","createdAt":"t",)"
                            R"("hasSource":true,"hiddenForks":0,"forks":[)";
const QByteArray forkHead = R"({"projectId":"f","name":"Branch","mine":true,"nodes":[)";

// version → fork → version …, `levels` deep, written as text.
QByteArray deepTree(int levels)
{
    QByteArray json = detailHead("Deep");
    for (int i = 0; i < levels; ++i)
        json += (i % 2 == 0) ? nodeHead : forkHead;
    for (int i = 0; i < levels; ++i)
        json += "]}";
    return json + "]}";
}

// `count` versions side by side.
QByteArray flatTree(int count)
{
    QByteArray json = detailHead("Small");
    for (int i = 0; i < count; ++i)
        json += (i ? "," : "") + nodeHead + "]}";
    return json + "]}";
}

// Notes the first paint of any version tree row.
class FirstRowPaint final : public QObject
{
public:
    bool painted = false;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && qobject_cast<ui::TreeRowWidget*>(watched))
            painted = true;
        return false;
    }
};

struct Opened
{
    double firstRowMs = -1;  // from making the page to its first painted tree row
    double longestGapMs = 0; // the main thread's longest pause meanwhile
};

Opened open(API& api, IconLoader& icons, Desktop& desktop)
{
    FirstRowPaint watch;
    TickWatch ticks;
    qApp->installEventFilter(&watch);
    QElapsedTimer clock;
    clock.start();
    std::unique_ptr<ui::LibraryDetailViewWidget> page(ui::libraryDetailScreen(
        api, icons, desktop, QStringLiteral("p1"), [](QString) {}, std::nullopt));
    page->resize(900, 800);
    page->show();
    const bool painted = spinUntil([&] { return watch.painted; }, std::chrono::minutes(2));
    Opened opened;
    if (painted)
        opened.firstRowMs = clock.nsecsElapsed() / 1e6;
    opened.longestGapMs = ticks.longestMs();
    qApp->removeEventFilter(&watch);
    page.reset();
    return opened;
}

// An app's page and its GitHub panel, as the service answers them.
std::function<void(RecordingServer&)> libraryService(QByteArray detail)
{
    return [detail](RecordingServer& server) {
        server.on(QStringLiteral("GET /api/library/p1"), ScriptedReply::json(200, detail));
        server.on(QStringLiteral("GET /api/projects/p1/github"),
                  ScriptedReply::json(200, R"({"state":"connect"})"));
    };
}

int run(int rounds, int levels)
{
    TempHome home;
    home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
    std::printf("writing a tree %d levels deep...\n", levels);
    ServiceThread deepService(libraryService(deepTree(levels)), {.https = true});
    ServiceThread smallService(libraryService(flatTree(10)), {.https = true});
    home.setEnv("BRIGHTLOOM_URL", deepService.baseUrl().toString().toUtf8());
    API deepApi;
    home.setEnv("BRIGHTLOOM_URL", smallService.baseUrl().toString().toUtf8());
    API smallApi;
    IconLoader icons{QString()};
    NoDesktop desktop;
    // Connections, fonts and the first large allocations warm up outside the rounds.
    open(smallApi, icons, desktop);
    open(deepApi, icons, desktop);

    std::vector<double> deepMs, smallMs, ratios, gaps;
    for (int round = 0; round < rounds; ++round) {
        const bool deepFirst = round % 2 == 0;
        const Opened a = open(deepFirst ? deepApi : smallApi, icons, desktop);
        const Opened b = open(deepFirst ? smallApi : deepApi, icons, desktop);
        const Opened& deep = deepFirst ? a : b;
        const Opened& small = deepFirst ? b : a;
        if (deep.firstRowMs < 0 || small.firstRowMs < 0) {
            std::fprintf(stderr, "a page did not paint its tree\n");
            return 1;
        }
        deepMs.push_back(deep.firstRowMs);
        smallMs.push_back(small.firstRowMs);
        ratios.push_back(deep.firstRowMs / small.firstRowMs);
        gaps.push_back(deep.longestGapMs);
        std::printf("  round %d: deep %.1f ms (longest pause %.1f ms), 10 versions %.1f ms\n", round + 1,
                    deep.firstRowMs, deep.longestGapMs, small.firstRowMs);
    }
    const bench::Spread r = bench::spread(ratios);
    std::printf("time to the first painted row of an app's version tree, %d alternating rounds\n", rounds);
    std::printf("  %d levels deep  median %.1f ms (%.1f MB reply)\n", levels, bench::spread(deepMs).median,
                deepTree(levels).size() / 1e6);
    std::printf("  10 versions       median %.1f ms\n", bench::spread(smallMs).median);
    const bench::Spread g = bench::spread(gaps);
    std::printf(
        "  main thread's longest pause while the deep tree opens: median %.1f ms  min %.1f  max %.1f\n",
        g.median, g.min, g.max);
    std::printf("  ratio deep / 10: median %.1f  min %.1f  max %.1f\n", r.median, r.min, r.max);
    std::printf("RESULT {\"first_paint_deep_vs_10_median\":%.2f,\"first_paint_deep_vs_10_min\":%.2f,"
                "\"first_paint_deep_vs_10_max\":%.2f}\n",
                r.median, r.min, r.max);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    int rounds = 9;
    int levels = 100'000;
    for (const QString& arg : QCoreApplication::arguments().mid(1)) {
        if (arg.startsWith(QLatin1String("--rounds=")))
            rounds = std::max(1, arg.mid(9).toInt());
        else if (arg.startsWith(QLatin1String("--levels=")))
            levels = std::max(2, arg.mid(9).toInt());
    }
    // The client trusts extra certificates from the first service client a process makes on.
    qputenv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
    return run(rounds, levels);
}
