// Running a tool: its arguments, environment, working directory, output and text.

#include "process_runner_fixture.h"

#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using LocalBuild::Output;

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
