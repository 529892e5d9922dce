#include "localbuild/compile.h"
#include "pipeline_fixture.h"
#include "task_runner.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QMutex>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

class Compile : public PipelineTest
{};

// Collects the chunks a build hands to its log, from whichever thread.
struct Chunks
{
    QMutex mutex;
    QString text;
    LocalBuild::OutputObserver observer()
    {
        return [this](const QString& chunk) {
            QMutexLocker lock(&mutex);
            text += chunk;
        };
    }
};

TEST_F(Compile, ToolchainVersionIsTheFirstLineOfTheAnswer)
{
    const auto version = run(LocalBuild::toolchainVersion());
    ASSERT_TRUE(version.ok());
    EXPECT_EQ(version.value->value_or(QStringLiteral("<absent>")),
              QStringLiteral("swift-driver version: 1.90.11 (stand-in)"));
}

TEST_F(Compile, NoToolchainMeansNoVersion)
{
    m_home.setEnv("BRIGHTLOOM_TOOLS_DIR", work(QStringLiteral("empty")).toUtf8());
    const auto version = run(LocalBuild::toolchainVersion());
    ASSERT_TRUE(version.ok());
    EXPECT_FALSE(version.value->has_value());
}

TEST_F(Compile, SuccessfulBuildAnswersNothingAndStreamsItsOutput)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    Chunks chunks;
    const auto built = run(LocalBuild::compile(work(QStringLiteral("src")), chunks.observer()));
    ASSERT_TRUE(built.ok());
    EXPECT_FALSE(built.value->has_value()) << built.value->value_or(QByteArray()).toStdString();
    EXPECT_TRUE(chunks.text.contains(QStringLiteral("Build complete!"))) << chunks.text.toStdString();
    EXPECT_TRUE(QFileInfo(work(QStringLiteral("src/.build/release/App"))).isExecutable());
}

TEST_F(Compile, CompilerErrorsComeBackWhole)
{
    const QString src = work(QStringLiteral("src"));
    writePackage(src, QStringLiteral("Notes"));
    writeFile(src + QStringLiteral("/Sources/App/Broken.swift"),
              "let a = 1\n  #error(\"cannot find 'x' in scope\")\n");
    Chunks chunks;
    const auto built = run(LocalBuild::compile(src, chunks.observer()));
    ASSERT_TRUE(built.ok());
    ASSERT_TRUE(built.value->has_value());
    const QString canonical = QFileInfo(src).canonicalFilePath();
    const QString output = QString::fromUtf8(built.value->value());
    EXPECT_TRUE(output.contains(canonical + QStringLiteral("/Sources/App/Broken.swift:2:3: error: "
                                                           "cannot find 'x' in scope")))
        << output.toStdString();
    EXPECT_TRUE(output.startsWith(QStringLiteral("Building for production...")));
    EXPECT_TRUE(chunks.text.contains(QStringLiteral("error: cannot find 'x' in scope")));
}

TEST_F(Compile, BuildStoppedAtItsTimeLimitAnswersItsPartialOutput)
{
    wrapTool(QStringLiteral("xcrun"), QStringList() << QStringLiteral("BRIGHTLOOM_STANDIN_SLEEP=60"));
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    LocalBuild::Limits limits;
    limits.compile = 1;
    QElapsedTimer clock;
    clock.start();
    const auto built = run(LocalBuild::compile(work(QStringLiteral("src")), {}, limits));
    ASSERT_TRUE(built.ok());
    EXPECT_LT(clock.elapsed(), 20'000);
    ASSERT_TRUE(built.value->has_value()) << "a stopped build counts as failed";
    EXPECT_EQ(built.value->value(), QByteArray("Building for production...\n"));
}

} // namespace
