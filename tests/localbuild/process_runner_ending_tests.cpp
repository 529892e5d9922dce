// How a tool's run ends: time limits, signals, leftover processes, cancelling, a client that dies, and large
// or many runs.

#include "process_runner_fixture.h"

#include <QScopeGuard>
#include <QStandardPaths>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using LocalBuild::Output;

TEST_F(Runner, ChildPastItsTimeLimitIsTerminatedAndItsPartialOutputReturned)
{
    const QString script = scripts.write(QStringLiteral("slow"), "echo partial\nexec sleep 30\n");
    QElapsedTimer clock;
    clock.start();
    const Output out = runToEnd(script, {}, {}, 1.0);
    const qint64 took = clock.elapsed();
    EXPECT_EQ(out.code, 15); // ended by SIGTERM
    EXPECT_EQ(out.text(), QStringLiteral("partial\n"));
    EXPECT_GE(took, 950);
    EXPECT_LT(took, 10'000);
}

TEST_F(Runner, TimeLimitSendsTheTerminationRequestOnlyOnce)
{
    // The child notes every request it gets. After the first it stays another second, in which a
    // second request would be noted too, and then leaves by itself; it is not killed. The request
    // goes to its whole group, its sleep included, which the shell would report on standard error.
    const QString script =
        scripts.write(QStringLiteral("polite"), "exec 2>/dev/null\n"
                                                "asked=0\n"
                                                "trap 'echo asked; asked=$((asked + 1))' TERM\n"
                                                "echo waiting\n"
                                                "while [ $asked -eq 0 ]; do sleep 0.05; done\n"
                                                "i=0\n"
                                                "while [ $i -lt 20 ]; do sleep 0.05; i=$((i + 1)); done\n"
                                                "exit 4\n");
    const Output out = runToEnd(script, {}, {}, 1.0);
    EXPECT_EQ(out.code, 4);
    EXPECT_EQ(out.text(), QStringLiteral("waiting\nasked\n"));
}

TEST_F(Runner, ChildThatEndsInTimeIsNeverSignalled)
{
    // The child notes a termination request in a file. It closes its output at once, so the run
    // sees the end of the stream while the child still lives, and leaves by itself well within the
    // limit, having listened for over half a second.
    const QString marker = scripts.path(QStringLiteral("signalled"));
    const QString script =
        scripts.write(QStringLiteral("quick"), "trap 'touch \"$1\"' TERM\n"
                                               "echo done\n"
                                               "exec >/dev/null 2>&1\n"
                                               "i=0\n"
                                               "while [ $i -lt 12 ]; do sleep 0.05; i=$((i + 1)); done\n"
                                               "exit 0\n");
    QElapsedTimer clock;
    clock.start();
    const Output out = runToEnd(script, {marker}, {}, 3.0);
    EXPECT_GE(clock.elapsed(), 600) << "the child was not there to be signalled";
    EXPECT_EQ(out.code, 0);
    EXPECT_EQ(out.text(), QStringLiteral("done\n"));
    EXPECT_FALSE(QFile::exists(marker));
}

TEST_F(Runner, OutputThatALeftoverProcessWritesAfterTheChildExitsIsKept)
{
    // The child leaves a process behind that holds the pipe and writes a second later.
    const QString script =
        scripts.write(QStringLiteral("leaves"), "(sleep 1; echo late) &\necho early\nexit 0\n");
    QElapsedTimer clock;
    clock.start();
    const Output out = runToEnd(script, {}, {}, 20);
    EXPECT_EQ(out.code, 0);
    EXPECT_EQ(out.text(), QStringLiteral("early\nlate\n"));
    EXPECT_LT(clock.elapsed(), 15'000) << "the run ended with the pipe, not at the limit";
}

TEST_F(Runner, LeftoverProcessHoldingThePipeEndsTheRunAtTheToolsLimitAndIsEndedWithIt)
{
    const QString pidFile = scripts.path(QStringLiteral("leftover.pid"));
    const QString script =
        scripts.write(QStringLiteral("holds"), "sleep 30 &\necho $! > \"$1\"\necho early\nexit 3\n");
    QElapsedTimer clock;
    clock.start();
    const Output out = runToEnd(script, {pidFile}, {}, 1.5);
    const qint64 elapsed = clock.elapsed();
    EXPECT_EQ(out.code, 3);
    EXPECT_EQ(out.text(), QStringLiteral("early\n"));
    EXPECT_GE(elapsed, 1400);
    EXPECT_LT(elapsed, 20'000);
    const pid_t leftover = pidIn(pidFile);
    ASSERT_GT(leftover, 0);
    EXPECT_TRUE(spinUntil([&] { return gone(leftover); }, std::chrono::seconds(10)))
        << "what the tool left in its group ends with the run";
}

TEST_F(Runner, ChildKilledBySignalReportsTheSignalNumber)
{
    const QString script = scripts.write(QStringLiteral("killed"), "kill -9 $$\n");
    EXPECT_EQ(runToEnd(script, {}).code, 9);
}

// Not a test of its own: the body of the helper process that ChildIsTerminatedWhenTheClientDies
// starts and kills. It starts a long child through the runner and waits for it.
TEST(RunnerHelper, StartsALongChildAndWaits)
{
    const QByteArray script = qgetenv("BRIGHTLOOM_TEST_LONG_CHILD");
    if (script.isEmpty())
        GTEST_SKIP() << "only run as the helper of ChildIsTerminatedWhenTheClientDies";
    runToEnd(QString::fromUtf8(script), {}, {}, 600);
}

TEST_F(Runner, ChildIsTerminatedWhenTheClientDies)
{
#if !defined(__linux__) || BRIGHTLOOM_PORTABLE_POSIX
    GTEST_SKIP() << "only Linux lets a child ask for a signal when its parent dies; elsewhere a client "
                    "killed outright leaves its tools (one that ends ends them: "
                    "ClientThatIsStoppedEndsItsToolsAndWhatTheyStarted)";
#endif
    const QString pidFile = scripts.path(QStringLiteral("pid"));
    const QString script =
        scripts.write(QStringLiteral("long"), "echo $$ > \"$0.pid.tmp\"\nmv \"$0.pid.tmp\" \"" +
                                                  pidFile.toUtf8() + "\"\nexec sleep 60\n");
    QProcess helper;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("BRIGHTLOOM_TEST_LONG_CHILD"), script);
    helper.setProcessEnvironment(env);
    helper.start(QCoreApplication::applicationFilePath(),
                 {QStringLiteral("--gtest_filter=RunnerHelper.StartsALongChildAndWaits")});
    ASSERT_TRUE(helper.waitForStarted());
    const pid_t child = pidIn(pidFile);
    ASSERT_GT(child, 0);
    EXPECT_FALSE(gone(child));
    helper.kill(); // SIGKILL: the client has no chance to clean up
    helper.waitForFinished();
    EXPECT_TRUE(spinUntil([&] { return gone(child); }, std::chrono::seconds(10)));
    if (!gone(child))
        ::kill(child, SIGKILL);
}

TEST_F(Runner, ToolThatStartsAChildAndHangsIsEndedWithItsChildAtTheTimeLimit)
{
    const QString grandchild = scripts.path(QStringLiteral("grandchild.pid"));
    const QString script = scripts.write(QStringLiteral("hangs"), "sleep 60 &\n"
                                                                  "echo $! > \"$1\"\n"
                                                                  "echo started\n"
                                                                  "exec sleep 60\n");
    const Output out = runToEnd(script, {grandchild}, {}, 0.5);
    EXPECT_EQ(out.code, SIGTERM);
    EXPECT_EQ(out.text(), QStringLiteral("started\n"));
    const pid_t left = pidIn(grandchild);
    ASSERT_GT(left, 0);
    EXPECT_TRUE(spinUntil([&] { return gone(left); }, std::chrono::seconds(10)))
        << "the tool's own child ended too";
}

TEST_F(Runner, CancellingEndsTheToolAndItsChildAndReturnsWhatCame)
{
    const QString grandchild = scripts.path(QStringLiteral("grandchild.pid"));
    const QString script = scripts.write(QStringLiteral("hangs"), "sleep 60 &\n"
                                                                  "echo $! > \"$1\"\n"
                                                                  "echo started\n"
                                                                  "exec sleep 60\n");
    const auto cancellation = std::make_shared<LocalBuild::Cancellation>();
    Outcome<Output> outcome;
    auto task = detail::capture(
        LocalBuild::run(script, {grandchild}, {}, LocalBuild::RunEnd(600, cancellation)), &outcome);
    const pid_t left = pidIn(grandchild);
    ASSERT_GT(left, 0);
    EXPECT_FALSE(outcome.finished);
    cancellation->cancel();
    ASSERT_TRUE(spinUntil([&] { return outcome.finished; }, std::chrono::seconds(20)));
    EXPECT_EQ(outcome.value->code, SIGTERM);
    EXPECT_EQ(outcome.value->text(), QStringLiteral("started\n"));
    EXPECT_TRUE(spinUntil([&] { return gone(left); }, std::chrono::seconds(10)))
        << "the tool's own child ended too";
}

TEST_F(Runner, CancellingEndsTheRunOnceTheToolExitsEvenWhileAProcessOutsideItsGroupHoldsThePipe)
{
    if (QStandardPaths::findExecutable(QStringLiteral("setsid")).isEmpty())
        GTEST_SKIP() << "needs setsid to leave a process outside the tool's group";
    const QString escaped = scripts.path(QStringLiteral("escaped.pid"));
    // The escaped process keeps the pipe open and is beyond the group's signal; only the tool's
    // own end can end the run before its ten-minute limit.
    const QString script = scripts.write(QStringLiteral("escapes"), "setsid sleep 600 &\n"
                                                                    "echo $! > \"$1\"\n"
                                                                    "echo started\n"
                                                                    "exec sleep 600\n");
    const auto cancellation = std::make_shared<LocalBuild::Cancellation>();
    Outcome<Output> outcome;
    auto task = detail::capture(LocalBuild::run(script, {escaped}, {}, LocalBuild::RunEnd(600, cancellation)),
                                &outcome);
    const pid_t left = pidIn(escaped);
    ASSERT_GT(left, 0);
    const auto endEscaped = qScopeGuard([left] { ::kill(left, SIGKILL); });
    cancellation->cancel();
    ASSERT_TRUE(spinUntil([&] { return outcome.finished; }, std::chrono::seconds(30)))
        << "the run waited for the pipe after the tool had ended";
    EXPECT_EQ(outcome.value->code, SIGTERM);
    EXPECT_EQ(outcome.value->text(), QStringLiteral("started\n"));
    EXPECT_FALSE(gone(left)) << "the escaped process was not the run's to end";
}

TEST_F(Runner, RunHandedACancelledCancellationDoesNotStart)
{
    const QString marker = scripts.path(QStringLiteral("ran"));
    const QString script = scripts.write(QStringLiteral("marks"), "touch \"$1\"\n");
    const auto cancellation = std::make_shared<LocalBuild::Cancellation>();
    cancellation->cancel();
    const Output out = runToEnd(script, {marker}, {}, LocalBuild::RunEnd(30, cancellation));
    EXPECT_EQ(out.code, -1);
    EXPECT_EQ(out.text(),
              QStringLiteral("Could not start ") + script + QStringLiteral(": the build was cancelled"));
    EXPECT_FALSE(QFile::exists(marker));
}

TEST_F(Runner, TwoHundredMegabytesArriveWholeAndInOrder)
{
    const QString script = scripts.write(QStringLiteral("many"), "exec seq 1 24000000\n");
    const Output out = runToEnd(script, {});
    ASSERT_EQ(out.code, 0);
    ASSERT_GT(out.output.size(), 200'000'000);
    // Walk the lines: each must be the previous number plus one.
    qint64 expected = 1;
    qsizetype at = 0;
    const char* data = out.output.constData();
    const qsizetype size = out.output.size();
    bool ordered = true;
    while (at < size && ordered) {
        qint64 value = 0;
        while (at < size && data[at] != '\n')
            value = value * 10 + (data[at++] - '0');
        ++at;
        ordered = value == expected++;
    }
    EXPECT_TRUE(ordered) << "line " << expected - 1;
    EXPECT_EQ(expected - 1, 24'000'000);
}

TEST_F(Runner, MainThreadKeepsTickingWhileALargeOutputArrives)
{
    const QString script =
        scripts.write(QStringLiteral("flood"), "head -c 200000000 /dev/zero | tr '\\0' 'a'\n");
    TickWatch ticks;
    const Output out = runToEnd(script, {});
    EXPECT_EQ(out.output.size(), 200'000'000);
    EXPECT_LT(ticks.longestMs(), 50.0);
    RecordProperty("longest_tick_gap_ms", std::to_string(ticks.longestMs()));
    std::printf("longest gap between 5 ms ticks: %.1f ms\n", ticks.longestMs());
}

#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX
namespace {

// The niceness in a /proc/<pid>/stat or /proc/<pid>/task/<tid>/stat line: the 19th field, counted
// after the name in parentheses, which may itself hold spaces.
int nicenessIn(const QString& stat)
{
    const QStringList fields =
        stat.mid(stat.lastIndexOf(QLatin1Char(')')) + 2).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return fields.size() > 16 ? fields[16].toInt() : -100;
}

int niceness(const QString& statFile)
{
    QFile file(statFile);
    return file.open(QIODevice::ReadOnly) ? nicenessIn(QString::fromLatin1(file.readAll())) : -100;
}

} // namespace

TEST_F(Runner, ToolAndTheThreadWatchingItRunBelowTheMainThread)
{
    const int own = niceness(QStringLiteral("/proc/thread-self/stat"));
    ASSERT_GT(own, -100);
    ASSERT_LE(own, 14) << "this test needs room below its own priority";
    // The child reports its own priority, as the kernel keeps it.
    const QString script = scripts.write(QStringLiteral("nice"), "cat /proc/self/stat\n");
    QMutex mutex;
    QList<int> watching;
    const Output out = runToEnd(script, {}, {}, 30, {}, [&](const QString&) {
        const int mine = niceness(QStringLiteral("/proc/thread-self/stat"));
        QMutexLocker lock(&mutex);
        watching.append(mine);
    });
    ASSERT_EQ(out.code, 0) << out.output.toStdString();
    EXPECT_GE(nicenessIn(out.text()), own + 5) << out.output.toStdString();
    ASSERT_FALSE(watching.isEmpty());
    for (const int thread : watching)
        EXPECT_GE(thread, own + 5) << "the thread that reads the tool's output";
    EXPECT_EQ(niceness(QStringLiteral("/proc/thread-self/stat")), own) << "the main thread keeps its own";
}
#else
TEST_F(Runner, ToolAndTheThreadWatchingItRunBelowTheMainThread)
{
    GTEST_SKIP() << "a thread has a priority of its own only on Linux (the Mac lowers its quality of "
                    "service instead, which /proc cannot show)";
}
#endif

TEST_F(Runner, ManyRunsAtOnceAllFinish)
{
    const QString script = scripts.write(QStringLiteral("nap"), "sleep 0.3\necho \"$1\"\n");
    std::vector<Outcome<Output>> outcomes(8);
    std::vector<QCoro::Task<>> tasks;
    for (int i = 0; i < 8; ++i)
        tasks.push_back(detail::capture(LocalBuild::run(script, {QString::number(i)}, {}, 30), &outcomes[i]));
    ASSERT_TRUE(spinUntil([&] {
        return std::all_of(outcomes.cbegin(), outcomes.cend(), [](const auto& o) { return o.finished; });
    }));
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(outcomes[i].value->text(), QString::number(i) + QLatin1Char('\n'));
}
