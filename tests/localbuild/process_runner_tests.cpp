#include "localbuild/process_runner.h"
#include "scripts.h"
#include "task_runner.h"
#include "threads/system_roads.h"
#include "tick_watch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <unistd.h>
#include <vector>

using namespace brightloom;
using namespace brightloom::test;
using LocalBuild::Output;

namespace {

// Sets variables of this process for one test and puts the old values back afterwards.
class EnvOverride
{
public:
    ~EnvOverride()
    {
        for (auto it = m_saved.crbegin(); it != m_saved.crend(); ++it) {
            if (it->second)
                qputenv(it->first.constData(), *it->second);
            else
                qunsetenv(it->first.constData());
        }
    }
    void set(const char* name, const QByteArray& value)
    {
        std::optional<QByteArray> old;
        if (qEnvironmentVariableIsSet(name))
            old = qgetenv(name);
        m_saved.append({QByteArray(name), old});
        qputenv(name, value);
    }

private:
    QList<QPair<QByteArray, std::optional<QByteArray>>> m_saved;
};

// Chunks handed to the observer, gathered from whichever thread calls it.
class Observed
{
public:
    LocalBuild::OutputObserver observer()
    {
        return [this](const QString& chunk) {
            QMutexLocker lock(&m_mutex);
            m_chunks.append(chunk);
        };
    }
    QStringList chunks()
    {
        QMutexLocker lock(&m_mutex);
        return m_chunks;
    }

private:
    QMutex m_mutex;
    QStringList m_chunks;
};

Output runToEnd(QString executable, QStringList arguments, std::optional<QString> cwd = {},
                LocalBuild::RunEnd timeout = 30, QMap<QString, QString> env = {},
                LocalBuild::OutputObserver onOutput = {})
{
    auto outcome = run(LocalBuild::run(std::move(executable), std::move(arguments), std::move(cwd), timeout,
                                       std::move(env), std::move(onOutput)),
                       std::chrono::seconds(60));
    EXPECT_TRUE(outcome.ok()) << outcome.errorText().toStdString();
    return outcome.value.value_or(Output{-99, QByteArray("<did not finish>")});
}

// Whether no process has the id any more: an ended process that was not ours is reaped by the
// system's first process soon after it ends, so this is polled with a deadline.
bool gone(pid_t pid)
{
    return ::kill(pid, 0) != 0 && errno == ESRCH;
}

// The pid a script wrote to `file`, once it is there.
pid_t pidIn(const QString& file)
{
    spinUntil([&] { return QFile::exists(file); }, std::chrono::seconds(20));
    QFile f(file);
    return f.open(QIODevice::ReadOnly) ? pid_t(f.readAll().trimmed().toInt()) : -1;
}

QStringList lines(const QString& text)
{
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

class Runner : public ::testing::Test
{
protected:
    Scripts scripts;
};

} // namespace

TEST_F(Runner, ReturnsExitStatusAndOutput)
{
    const QString script = scripts.write(QStringLiteral("say"), "echo hello\nexit 3\n");
    const Output out = runToEnd(script, {});
    EXPECT_EQ(out.code, 3);
    EXPECT_EQ(out.text(), QStringLiteral("hello\n"));
}

TEST_F(Runner, PassesArgumentsUnchangedWithoutAShell)
{
    const QString script =
        scripts.write(QStringLiteral("args"), "for a in \"$@\"; do printf '[%s]\\n' \"$a\"; done\n");
    const Output out = runToEnd(script, {QStringLiteral("two words"), QString(), QStringLiteral("$HOME"),
                                         QStringLiteral("'quoted' \"x\""), QStringLiteral("*"),
                                         QStringLiteral("caf\u00e9")});
    EXPECT_EQ(out.code, 0);
    EXPECT_EQ(out.text(), QStringLiteral("[two words]\n[]\n[$HOME]\n['quoted' \"x\"]\n[*]\n[caf\u00e9]\n"));
}

TEST_F(Runner, KeepsOnlyAllowedVariablesOfOurEnvironment)
{
    EnvOverride env;
    env.set("HTTP_PROXY", "http://proxy.example:3128");
    env.set("HTTPS_PROXY", "http://secure.example:3128");
    env.set("http_proxy", "http://lower.example:3128");
    env.set("DYLD_LIBRARY_PATH", "/evil");
    env.set("LC_ALL", "C.UTF-8");
    env.set("XPC_SERVICE_NAME", "0");
    env.set("__CF_USER_TEXT_ENCODING", "0x1F5:0x0:0x0");
    env.set("PATHX", "not a whole match");
    env.set("BRIGHTLOOM_SECRET", "kept away");
    const Output out = runToEnd(QStringLiteral("/usr/bin/env"), {});
    const QStringList vars = lines(out.text());
    EXPECT_TRUE(vars.contains(QStringLiteral("HTTP_PROXY=http://proxy.example:3128")));
    EXPECT_TRUE(vars.contains(QStringLiteral("HTTPS_PROXY=http://secure.example:3128")));
    EXPECT_TRUE(vars.contains(QStringLiteral("LC_ALL=C.UTF-8")));
    EXPECT_TRUE(vars.contains(QStringLiteral("XPC_SERVICE_NAME=0")));
    EXPECT_TRUE(vars.contains(QStringLiteral("__CF_USER_TEXT_ENCODING=0x1F5:0x0:0x0")));
    for (const QString& line : vars) {
        EXPECT_FALSE(line.startsWith(QLatin1String("http_proxy="))) << line.toStdString();
        EXPECT_FALSE(line.startsWith(QLatin1String("DYLD_LIBRARY_PATH="))) << line.toStdString();
        EXPECT_FALSE(line.startsWith(QLatin1String("PATHX="))) << line.toStdString();
        EXPECT_FALSE(line.startsWith(QLatin1String("BRIGHTLOOM_"))) << line.toStdString();
        const QString name = line.section(QLatin1Char('='), 0, 0);
        const auto match = LocalBuild::keepEnv().match(name);
        EXPECT_TRUE(match.hasMatch() && match.capturedLength() == name.size()) << line.toStdString();
    }
}

TEST_F(Runner, KeepEnvIsAWholeCaseSensitiveMatch)
{
    const auto whole = [](const QString& name) {
        const auto m = LocalBuild::keepEnv().match(name);
        return m.hasMatch() && m.capturedStart() == 0 && m.capturedLength() == name.size();
    };
    EXPECT_TRUE(whole(QStringLiteral("PATH")));
    EXPECT_TRUE(whole(QStringLiteral("LC_")));
    EXPECT_TRUE(whole(QStringLiteral("HTTPS_PROXY")));
    EXPECT_TRUE(whole(QStringLiteral("NO_PROXY")));
    EXPECT_FALSE(whole(QStringLiteral("no_proxy")));
    EXPECT_FALSE(whole(QStringLiteral("MYPATH")));
    EXPECT_FALSE(whole(QStringLiteral("PATH2")));
    EXPECT_FALSE(whole(QStringLiteral("HTTPSS_PROXY")));
}

TEST_F(Runner, ExtraEnvironmentWinsOverTheInheritedValue)
{
    const QString script =
        scripts.write(QStringLiteral("path"), "printf '%s|%s' \"$PATH\" \"$GIT_TERMINAL_PROMPT\"\n");
    QMap<QString, QString> extra;
    extra.insert(QStringLiteral("PATH"), QStringLiteral("/x"));
    extra.insert(QStringLiteral("GIT_TERMINAL_PROMPT"), QStringLiteral("0"));
    const Output out = runToEnd(script, {}, {}, 30, extra);
    EXPECT_EQ(out.text(), QStringLiteral("/x|0"));
}

TEST_F(Runner, WithoutAWorkingDirectoryTheChildRunsInOurs)
{
    const Output out = runToEnd(QStringLiteral("/bin/pwd"), {QStringLiteral("-P")});
    EXPECT_EQ(out.text().trimmed(), QDir::current().canonicalPath());
}

TEST_F(Runner, RunsInTheGivenWorkingDirectory)
{
    const Output out = runToEnd(QStringLiteral("/bin/pwd"), {QStringLiteral("-P")}, scripts.folder());
    EXPECT_EQ(out.text().trimmed(), QDir(scripts.folder()).canonicalPath());
}

TEST_F(Runner, StandardErrorIsCollectedAndObservedLikeStandardOutput)
{
    const QString script = scripts.write(QStringLiteral("err"), "echo 'only on stderr' >&2\n");
    Observed observed;
    const Output out = runToEnd(script, {}, {}, 30, {}, observed.observer());
    EXPECT_EQ(out.text(), QStringLiteral("only on stderr\n"));
    EXPECT_EQ(observed.chunks().join(QString()), QStringLiteral("only on stderr\n"));
}

TEST_F(Runner, OutputAndErrorShareOneStreamInOrder)
{
    const QString script = scripts.write(QStringLiteral("both"), "echo one\necho two >&2\necho three\n");
    EXPECT_EQ(runToEnd(script, {}).text(), QStringLiteral("one\ntwo\nthree\n"));
}

TEST_F(Runner, MissingExecutableComesBackWithCodeMinusOne)
{
    const QString missing = scripts.path(QStringLiteral("no-such-tool"));
    const Output out = runToEnd(missing, {QStringLiteral("--version")});
    EXPECT_EQ(out.code, -1);
    EXPECT_TRUE(out.text().startsWith(QStringLiteral("Could not start ") + missing + QStringLiteral(": ")))
        << out.text().toStdString();
}

TEST_F(Runner, FileThatIsNotExecutableComesBackWithCodeMinusOne)
{
    const QString path = scripts.write(QStringLiteral("plain"), "echo never\n");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    const Output out = runToEnd(path, {});
    EXPECT_EQ(out.code, -1);
    EXPECT_TRUE(out.text().startsWith(QStringLiteral("Could not start ") + path + QStringLiteral(": ")));
}

TEST_F(Runner, MissingWorkingDirectoryComesBackWithCodeMinusOne)
{
    const Output out = runToEnd(QStringLiteral("/bin/pwd"), {}, scripts.path(QStringLiteral("gone")));
    EXPECT_EQ(out.code, -1);
    EXPECT_TRUE(out.text().startsWith(QStringLiteral("Could not start /bin/pwd: ")))
        << out.text().toStdString();
}

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

TEST_F(Runner, ChildReadingStandardInputGetsEndOfFileAtOnce)
{
    const QString script = scripts.write(QStringLiteral("reader"),
                                         "if read line; then echo \"got $line\"; else echo eof; fi\ncat\n");
    QElapsedTimer clock;
    clock.start();
    const Output out = runToEnd(script, {}, {}, 20);
    EXPECT_EQ(out.code, 0);
    EXPECT_EQ(out.text(), QStringLiteral("eof\n"));
    EXPECT_LT(clock.elapsed(), 10'000);
}

TEST_F(Runner, CharacterSplitAcrossChunksArrivesWholeInTheOutput)
{
    // "é" is C3 A9; the child writes the two bytes in separate writes with a pause between.
    const QString script =
        scripts.write(QStringLiteral("split"), "printf 'a\\303'\nsleep 0.3\nprintf '\\251b'\n");
    Observed observed;
    const Output out = runToEnd(script, {}, {}, 30, {}, observed.observer());
    EXPECT_EQ(out.text(), QStringLiteral("a\u00e9b"));
    for (const QString& chunk : observed.chunks())
        EXPECT_FALSE(chunk.contains(QChar(0xFFFD))) << chunk.toStdString();
    const QString seen = observed.chunks().join(QString());
    EXPECT_TRUE(seen.isEmpty() || seen == QStringLiteral("a\u00e9b")) << seen.toStdString();
}

TEST_F(Runner, InvalidUtf8IsReplacedInTheOutputAndNotObserved)
{
    const QString script = scripts.write(QStringLiteral("bad"), "printf 'ok\\377\\n'\n");
    Observed observed;
    const Output out = runToEnd(script, {}, {}, 30, {}, observed.observer());
    EXPECT_EQ(out.text(), QStringLiteral("ok\uFFFD\n"));
    EXPECT_TRUE(observed.chunks().isEmpty());
}

TEST_F(Runner, UnfinishedCharacterAtTheEndIsReplaced)
{
    const QString script = scripts.write(QStringLiteral("cut"), "printf 'x\\342\\202'\n");
    const Output out = runToEnd(script, {});
    EXPECT_EQ(out.text(), QStringLiteral("x\uFFFD"));
}

TEST_F(Runner, FourByteCharacterCutAfterItsThirdByteIsOneReplacement)
{
    // F0 9F 98 is the start of an emoji whose last byte never came.
    const QString script = scripts.write(QStringLiteral("cut4"), "printf 'x\\360\\237\\230'\n");
    EXPECT_EQ(runToEnd(script, {}).text(), QStringLiteral("x\uFFFD"));
}

TEST_F(Runner, EachMaximalInvalidSequenceBecomesOneReplacement)
{
    // A cut emoji before a letter; an encoded surrogate (ED A0 80, never valid: three); an overlong
    // NUL (C0 80: two); a cut euro sign; a stray byte; then a whole emoji, which stays.
    const QString script =
        scripts.write(QStringLiteral("damaged"), "printf 'a\\360\\237\\230b\\355\\240\\200c\\300\\200d"
                                                 "\\342\\202e\\377f\\360\\237\\230\\200'\n");
    EXPECT_EQ(runToEnd(script, {}).text(),
              QStringLiteral("a\uFFFDb\uFFFD\uFFFD\uFFFDc\uFFFD\uFFFDd\uFFFDe\uFFFDf\U0001F600"));
}

TEST_F(Runner, CutCharacterSplitAcrossChunksIsStillOneReplacement)
{
    // The first three bytes of an emoji, then after a pause a letter instead of the fourth.
    const QString script =
        scripts.write(QStringLiteral("split-cut"), "printf 'x\\360\\237'\nsleep 0.3\nprintf '\\230y'\n");
    EXPECT_EQ(runToEnd(script, {}).text(), QStringLiteral("x\uFFFDy"));
}

TEST_F(Runner, ChildKilledBySignalReportsTheSignalNumber)
{
    const QString script = scripts.write(QStringLiteral("killed"), "kill -9 $$\n");
    EXPECT_EQ(runToEnd(script, {}).code, 9);
}

TEST_F(Runner, ChildInheritsNoDescriptorBeyondTheStandardThree)
{
    // A descriptor opened without close-on-exec, as a careless library might.
    const int leaked = ::open("/dev/null", O_RDONLY);
    ASSERT_GE(leaked, 3);
    QStringList ours;
    // /dev/fd lists a process's own descriptors on Linux and on the Mac alike.
    for (const QString& fd :
         QDir(QStringLiteral("/dev/fd")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System))
        ours.append(fd);
    // Asked through "sh -c": a shell reading a script file keeps that file open itself.
    QStringList arguments = {QStringLiteral("-c"),
                             QStringLiteral("for n in \"$@\"; do [ -e /dev/fd/$n ] && echo $n; done; exit 0"),
                             QStringLiteral("sh")};
    arguments += ours;
    const Output out = runToEnd(QStringLiteral("/bin/sh"), arguments);
    ::close(leaked);
    QStringList inherited = lines(out.text());
    inherited.sort();
    EXPECT_EQ(inherited, (QStringList{QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2")}));
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
#if !BRIGHTLOOM_LINUX_CALLS
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
#if !BRIGHTLOOM_LINUX_CALLS
    GTEST_SKIP() << "a thread has a priority of its own only on Linux (the Mac lowers its quality of "
                    "service instead, which /proc cannot show)";
#endif
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
