// Three costs of the conversation in the window, each against a named baseline measured in the same
// run, in alternating rounds, as the median of per-round ratios with min and max:
//
//   open     from making the conversation's widget to its first painted frame with every bubble
//            counted, for 10,000 messages against 10, in wall time and in main-thread processor time;
//   refresh  the main thread's processor time of a refresh that adds one message, up to the frame
//            that shows it, for a conversation of 10,000 messages against one of 10 (goal: at most
//            2x, since only the new row is laid out); and the window's own share of it, from the
//            list being given the new message to the frame;
//   scroll   the longest frame while paging through 10,000 messages of many lengths from the top to
//            the end, bubbles laid out as they come into view, against the 16.7 ms budget of one
//            frame at 60 Hz (goal: at most 1x), in wall time and in main-thread processor time (on a
//            shared machine the wall time of the longest frame is mostly time the thread waited for
//            a processor).
//
// Waiting lets the event loop sleep, so the main thread's processor time is the work done on it.
//
//   memory   the growth of the resident memory from a conversation of 10 messages to one of 10,000,
//            per message, against the bytes per message of the service's reply (goal: at most 4x);
//            each round in a process of its own (5 rounds), since memory freed in one measure would
//            be reused by the next.
//
//   bench_chat_window [open|refresh|scroll|memory|all] [--rounds=N]

#include "bench_support.h"
#include "conversation/chat_view.h"
#include "conversation_window.h"
#include "service_thread.h"
#include "temp_home.h"
#include "ui/conversation/bubble_list_model.h"
#include "ui/conversation/bubble_list_view.h"
#include "ui/conversation/chat_view_widget.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScrollBar>
#include <ctime>
#include <memory>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

using namespace brightloom;
using namespace brightloom::bench;
using namespace brightloom::test;

namespace {

constexpr double frameBudgetMs = 1000.0 / 60.0;
const QSize windowSize(900, 720);

// Processor time this thread has used, in milliseconds.
double threadMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

double wallMs()
{
    return seconds(std::chrono::steady_clock::now().time_since_epoch()) * 1e3;
}

QString content(int index, bool mixed)
{
    const QString request =
        QStringLiteral("Message %1: make the timer start at five minutes and show the remaining seconds in a "
                       "large rounded font, with a soft chime at the end. ")
            .arg(index);
    if (!mixed)
        return request;
    if (index % 3 == 0)
        return QStringLiteral("Ok");
    if (index % 7 == 0)
        return QStringLiteral("ill lit little lilies ").repeated(4 + index % 9);
    if (index % 5 == 0)
        return QString(request.repeated(2)).replace(QStringLiteral(", "), QStringLiteral(",\n"));
    return request.repeated(1 + index % 4);
}

QByteArray detail(int count, bool mixed)
{
    QJsonArray messages;
    for (int i = 0; i < count; ++i) {
        messages.append(QJsonObject{
            {QStringLiteral("id"), QStringLiteral("m%1").arg(i)},
            {QStringLiteral("role"), i % 2 ? QStringLiteral("assistant") : QStringLiteral("user")},
            {QStringLiteral("content"), content(i, mixed)}});
    }
    const QJsonObject job{{QStringLiteral("id"), QStringLiteral("j1")},
                          {QStringLiteral("status"), QStringLiteral("failed")}};
    return ConversationWindow::detail(messages, QJsonArray{job});
}

// One conversation of `count` messages behind its own service, and what the window makes for it.
struct Conversation
{
    Conversation(TempHome& home, int count, bool mixed)
        : messages(count), mixed(mixed), window(home, service.baseUrl())
    {
        serve();
    }

    // The service answers with the conversation as it is now.
    void serve()
    {
        const QByteArray body = detail(messages, mixed);
        service.call([body](RecordingServer& server) {
            server.on(QStringLiteral("GET /api/projects/p1"), ScriptedReply::json(200, body));
        });
    }

    // A shown screen, handed over; polling refreshes once and then waits an hour.
    std::unique_ptr<ui::ChatViewWidget> open()
    {
        window.open(windowSize);
        return std::move(window.widget);
    }

    int messages;
    bool mixed;
    ServiceThread service;
    ConversationWindow window;
};

// Lets the event loop run until `done` holds, sleeping while no event comes, so waiting costs the
// main thread no processor time (the tests' spinning helpers would count it).
void waitUntil(const std::function<bool()>& done)
{
    QDeadlineTimer deadline(std::chrono::seconds(60));
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void finish(QCoro::Task<> task)
{
    bool finished = false;
    auto waiting = [](QCoro::Task<> inner, bool& ended) -> QCoro::Task<> {
        co_await std::move(inner);
        ended = true;
    }(std::move(task), finished);
    waitUntil([&] { return finished; });
}

// Waits until the list has painted a frame after its rows last changed and it holds `rows` bubbles.
void waitForFrame(ui::ChatViewWidget& widget, int rows, const int& framesAtChange)
{
    waitUntil(
        [&] { return widget.list()->rowCount() == rows && widget.list()->framesPainted() > framesAtChange; });
}

// Remembers how many frames the list had painted when its rows last changed.
void watchRows(ui::ChatViewWidget& widget, int& framesAtChange)
{
    framesAtChange = widget.list()->framesPainted();
    QObject::connect(widget.bubbles(), &QAbstractItemModel::rowsInserted, &widget,
                     [&widget, &framesAtChange] { framesAtChange = widget.list()->framesPainted(); });
}

struct Times
{
    double wall = 0;
    double main = 0;
};

Times timeOpen(Conversation& conversation)
{
    const double wall = wallMs();
    const double main = threadMs();
    auto widget = conversation.open();
    int framesAtChange = 0;
    watchRows(*widget, framesAtChange);
    waitForFrame(*widget, conversation.messages, framesAtChange);
    const Times took{wallMs() - wall, threadMs() - main};
    widget.reset();
    return took;
}

void printRatio(const char* what, const char* key, std::vector<double> ratios)
{
    const Spread r = spread(std::move(ratios));
    std::printf("  %s: median %.2f  min %.2f  max %.2f\n", what, r.median, r.min, r.max);
    std::printf("RESULT {\"%s_median\":%.3f,\"%s_min\":%.3f,\"%s_max\":%.3f}\n", key, r.median, key, r.min,
                key, r.max);
}

int benchOpen(int rounds)
{
    TempHome home;
    Conversation big(home, 10'000, false);
    Conversation small(home, 10, false);
    timeOpen(big); // fonts, caches and the first connection come once, outside the rounds
    timeOpen(small);
    std::vector<double> bigWall, smallWall, bigMain, smallMain, wallRatios, mainRatios;
    for (int round = 0; round < rounds; ++round) {
        const bool bigFirst = round % 2 == 0;
        const Times a = bigFirst ? timeOpen(big) : timeOpen(small);
        const Times b = bigFirst ? timeOpen(small) : timeOpen(big);
        const Times bigTimes = bigFirst ? a : b;
        const Times smallTimes = bigFirst ? b : a;
        bigWall.push_back(bigTimes.wall);
        smallWall.push_back(smallTimes.wall);
        bigMain.push_back(bigTimes.main);
        smallMain.push_back(smallTimes.main);
        wallRatios.push_back(bigTimes.wall / smallTimes.wall);
        mainRatios.push_back(bigTimes.main / smallTimes.main);
    }
    std::printf("opening a conversation to its first painted frame, %d alternating rounds\n", rounds);
    std::printf("  10,000 messages  median %.1f ms wall, %.1f ms on the main thread (%.2f MB reply)\n",
                spread(bigWall).median, spread(bigMain).median, detail(10'000, false).size() / 1e6);
    std::printf("  10 messages      median %.1f ms wall, %.1f ms on the main thread\n",
                spread(smallWall).median, spread(smallMain).median);
    printRatio("wall-time ratio 10,000 / 10", "open_wall_10000_vs_10", wallRatios);
    printRatio("main-thread ratio 10,000 / 10", "open_main_10000_vs_10", mainRatios);
    return 0;
}

Times timeAddOne(Conversation& conversation, ui::ChatViewWidget& widget, const int& framesAtChange)
{
    ++conversation.messages;
    conversation.serve();
    const double wall = wallMs();
    const double main = threadMs();
    finish(widget.chatView()->refresh());
    waitForFrame(widget, conversation.messages, framesAtChange);
    return {wallMs() - wall, threadMs() - main};
}

int benchRefresh(int rounds)
{
    TempHome home;
    Conversation big(home, 10'000, false);
    Conversation small(home, 10, false);
    auto bigWidget = big.open();
    auto smallWidget = small.open();
    int bigFrames = 0;
    int smallFrames = 0;
    watchRows(*bigWidget, bigFrames);
    watchRows(*smallWidget, smallFrames);
    waitForFrame(*bigWidget, big.messages, bigFrames);
    waitForFrame(*smallWidget, small.messages, smallFrames);
    const auto addToBig = [&] { return timeAddOne(big, *bigWidget, bigFrames); };
    const auto addToSmall = [&] { return timeAddOne(small, *smallWidget, smallFrames); };
    addToBig();
    addToSmall();
    std::vector<double> bigMain, smallMain, bigWall, smallWall, ratios;
    for (int round = 0; round < rounds; ++round) {
        const bool bigFirst = round % 2 == 0;
        const Times a = bigFirst ? addToBig() : addToSmall();
        const Times b = bigFirst ? addToSmall() : addToBig();
        const Times bigTimes = bigFirst ? a : b;
        const Times smallTimes = bigFirst ? b : a;
        bigMain.push_back(bigTimes.main);
        smallMain.push_back(smallTimes.main);
        bigWall.push_back(bigTimes.wall);
        smallWall.push_back(smallTimes.wall);
        ratios.push_back(bigTimes.main / smallTimes.main);
    }
    // The window's own share: the list given one more message, up to the frame that shows it.
    const auto handOne = [](ui::ChatViewWidget& widget, const int& framesAtChange) {
        QList<Message> messages = widget.bubbles()->messages();
        Message added;
        added.id = QStringLiteral("extra-%1").arg(messages.size());
        added.role = QStringLiteral("assistant");
        added.content = content(int(messages.size()), false);
        messages.append(added);
        const double main = threadMs();
        widget.bubbles()->setMessages(messages);
        waitForFrame(widget, int(messages.size()), framesAtChange);
        return threadMs() - main;
    };
    std::vector<double> bigShare, smallShare, shareRatios;
    for (int round = 0; round < rounds; ++round) {
        const bool bigFirst = round % 2 == 0;
        const double a = bigFirst ? handOne(*bigWidget, bigFrames) : handOne(*smallWidget, smallFrames);
        const double b = bigFirst ? handOne(*smallWidget, smallFrames) : handOne(*bigWidget, bigFrames);
        bigShare.push_back(bigFirst ? a : b);
        smallShare.push_back(bigFirst ? b : a);
        shareRatios.push_back(bigShare.back() / smallShare.back());
    }

    std::printf("a refresh that adds one message, up to the frame that shows it, %d alternating rounds\n",
                rounds);
    std::printf("  to 10,000 messages  median %.2f ms on the main thread (%.1f ms wall)\n",
                spread(bigMain).median, spread(bigWall).median);
    std::printf("  to 10 messages      median %.2f ms on the main thread (%.1f ms wall)\n",
                spread(smallMain).median, spread(smallWall).median);
    printRatio("main-thread ratio 10,000 / 10 (goal <= 2)", "refresh_add_one_10000_vs_10", ratios);
    std::printf("the window's share of it: the list given one more message, up to the frame that shows it\n");
    std::printf("  to 10,000 messages  median %.2f ms on the main thread\n", spread(bigShare).median);
    std::printf("  to 10 messages      median %.2f ms on the main thread\n", spread(smallShare).median);
    printRatio("main-thread ratio 10,000 / 10", "window_add_one_10000_vs_10", shareRatios);
    return 0;
}

struct Frames
{
    Spread wall;
    Spread main;
    int pages = 0;
};

// Pages from the top to the end, painting each page at once; answers how long the frames took.
Frames pageThrough(ui::ChatViewWidget& widget)
{
    ui::BubbleListView* list = widget.list();
    QScrollBar* bar = list->verticalScrollBar();
    bar->triggerAction(QAbstractSlider::SliderToMinimum);
    list->viewport()->repaint();
    std::vector<double> wall;
    std::vector<double> main;
    while (!list->isAtEnd()) {
        const double startWall = wallMs();
        const double startMain = threadMs();
        bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
        list->viewport()->repaint();
        QCoreApplication::processEvents();
        wall.push_back(wallMs() - startWall);
        main.push_back(threadMs() - startMain);
    }
    return {spread(wall), spread(main), int(wall.size())};
}

int benchScroll(int rounds)
{
    TempHome home;
    Conversation conversation(home, 10'000, true);
    std::vector<double> longestWall, longestMain, medianWall;
    for (int round = 0; round < rounds; ++round) {
        // A fresh window each round, so every bubble is laid out for the first time as it comes into view.
        auto widget = conversation.open();
        int framesAtChange = 0;
        watchRows(*widget, framesAtChange);
        waitForFrame(*widget, conversation.messages, framesAtChange);
        const Frames frames = pageThrough(*widget);
        longestWall.push_back(frames.wall.max);
        longestMain.push_back(frames.main.max);
        medianWall.push_back(frames.wall.median);
        std::printf(
            "  round %d: %d pages, longest frame %.2f ms (%.2f ms on the main thread), median %.2f ms\n",
            round + 1, frames.pages, frames.wall.max, frames.main.max, frames.wall.median);
    }
    const Spread l = spread(longestWall);
    const Spread m = spread(longestMain);
    std::printf("paging through 10,000 messages of many lengths from the top to the end, %d rounds\n",
                rounds);
    std::printf("  longest frame: median %.2f ms  min %.2f  max %.2f  (median frame %.2f ms)\n", l.median,
                l.min, l.max, spread(medianWall).median);
    std::printf("  longest frame in main-thread processor time: median %.2f ms  min %.2f  max %.2f\n",
                m.median, m.min, m.max);
    const auto perBudget = [](std::vector<double> values) {
        for (double& each : values)
            each /= frameBudgetMs;
        return values;
    };
    printRatio("longest frame / 16.7 ms budget (goal <= 1)", "scroll_longest_frame_vs_budget",
               perBudget(longestWall));
    printRatio("longest frame's main-thread time / 16.7 ms budget", "scroll_longest_main_vs_budget",
               perBudget(longestMain));
    return 0;
}

// Opens a conversation's screen and waits for its first frame with every bubble.
std::unique_ptr<ui::ChatViewWidget> openToFrame(Conversation& conversation)
{
    auto widget = conversation.open();
    int framesAtChange = 0;
    watchRows(*widget, framesAtChange);
    waitForFrame(*widget, conversation.messages, framesAtChange);
    return widget;
}

// The resident memory of what is held now. The stand-in service runs in this process, and its send
// buffers, like the client's buffer of the reply it has read, are freed once the reply is through;
// glibc keeps freed memory mapped until asked to give it back, and it would count as the window's.
long long heldBytes()
{
#if defined(__GLIBC__)
    ::malloc_trim(0);
#endif
    return residentBytes();
}

int benchMemory()
{
    TempHome home;
    Conversation small(home, 10, false);
    Conversation big(home, 10'000, false);
    openToFrame(small); // fonts, styles and the first connection, outside the measure
    const long long before = heldBytes();
    const auto smallWidget = openToFrame(small);
    const long long withSmall = heldBytes();
    const auto bigWidget = openToFrame(big);
    const long long withBig = heldBytes();
    const int added = big.messages - small.messages;
    // The second screen costs what the first did, plus its messages.
    const double perMessage = double((withBig - withSmall) - (withSmall - before)) / added;
    const double replyPerMessage =
        double(detail(big.messages, false).size() - detail(small.messages, false).size()) / added;
    std::printf("  10 messages: %.1f MB; 10,000 messages: %.1f MB more; %.0f bytes per message against the "
                "reply's %.0f\n",
                double(withSmall - before) / 1e6, double(withBig - withSmall) / 1e6, perMessage,
                replyPerMessage);
    std::printf("ratio %.6f\n", perMessage / replyPerMessage);
    return 0;
}

// Runs the memory measure `rounds` times, each in a new process of this program.
int benchMemoryRounds(int rounds)
{
    std::printf("resident memory of a conversation's screen, 10 messages against 10,000 (%d rounds)\n",
                rounds);
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("memory-round")});
        if (!child.waitForFinished(300'000) || child.exitCode() != 0)
            return 1;
        const QList<QByteArray> lines = child.readAllStandardOutput().trimmed().split('\n');
        if (!lines.constLast().startsWith("ratio "))
            return 1;
        std::printf("  round %d: %s\n", round + 1, lines.value(lines.size() - 2).trimmed().constData());
        ratios.push_back(lines.constLast().mid(6).toDouble());
    }
    printRatio("bytes per message / the reply's bytes per message (goal <= 4)",
               "conversation_bytes_per_message_vs_reply", ratios);
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
    QString which = QStringLiteral("all");
    int rounds = -1;
    for (const QString& arg : QCoreApplication::arguments().mid(1)) {
        if (arg.startsWith(QLatin1String("--rounds=")))
            rounds = arg.mid(9).toInt();
        else
            which = arg;
    }
    int status = 0;
    if (which == QLatin1String("open") || which == QLatin1String("all"))
        status |= benchOpen(rounds > 0 ? rounds : 11);
    if (which == QLatin1String("refresh") || which == QLatin1String("all"))
        status |= benchRefresh(rounds > 0 ? rounds : 21);
    if (which == QLatin1String("scroll") || which == QLatin1String("all"))
        status |= benchScroll(rounds > 0 ? rounds : 3);
    if (which == QLatin1String("memory"))
        status |= benchMemoryRounds(rounds > 0 ? rounds : 5);
    if (which == QLatin1String("memory-round")) // never after the others: see above
        status |= benchMemory();
    return status;
}
