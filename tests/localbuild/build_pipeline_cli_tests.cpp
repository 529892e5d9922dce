#include "child_process.h"
#include "pipeline_fixture.h"
#include "recording_server.h"
#include "stand_in_tools.h"
#include "task_runner.h"
#include "zip_maker.h"

#include <QFileInfo>
#include <QProcess>
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>

using namespace brightloom::test;

namespace {

// brightloom-cli build-source with the stand-in developer tools: a source archive from a scripted
// HTTPS server becomes a signed app in the Downloads folder.
class BuildCommand : public PipelineTest
{
protected:
    BuildCommand() : m_server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        m_home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        m_home.setEnv("BRIGHTLOOM_URL", "https://service.example/");
    }

    QString serve(const QByteArray& archive)
    {
        return m_server.offer(QStringLiteral("source.zip"), ScriptedReply::archive(archive));
    }

    static ZipMaker source(const QByteArray& swift = "import SwiftUI\n")
    {
        ZipMaker zip;
        zip.file(QStringLiteral("Package.swift"),
                 "// swift-tools-version:5.9\nimport PackageDescription\n"
                 "let package = Package(name: \"App\", platforms: [.macOS(.v14)],\n"
                 "    targets: [.executableTarget(name: \"App\")])\n")
            .file(QStringLiteral("Sources/App/App.swift"), swift)
            .file(QStringLiteral("app.json"), "{\"name\": \"Weather Now\"}");
        return zip;
    }

    QString savedApp(const QString& job) const
    {
        return m_home.downloadsFolder() + QStringLiteral("/Brightloom/") + job +
               QStringLiteral("/Weather-Now.app");
    }

    RecordingServer m_server;
};

TEST_F(BuildCommand, SourceBecomesASignedAppInDownloads)
{
    const auto result = runCli(QStringList() << QStringLiteral("build-source") << serve(source().zip())
                                             << QStringLiteral("--job") << QStringLiteral("job-7"));
    ASSERT_TRUE(result.finished);
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, savedApp(QStringLiteral("job-7")) + QLatin1Char('\n'));
    EXPECT_TRUE(result.err.contains(QStringLiteral("Build complete!"))) << "the compiler's output is shown";
    EXPECT_TRUE(
        QFileInfo(savedApp(QStringLiteral("job-7")) + QStringLiteral("/Contents/MacOS/App")).isExecutable());
    EXPECT_TRUE(
        QFileInfo(savedApp(QStringLiteral("job-7")) + QStringLiteral("/Contents/_CodeSignature")).isDir());
    EXPECT_EQ(readIcns(savedApp(QStringLiteral("job-7")) + QStringLiteral("/Contents/Resources/AppIcon.icns"))
                  .size(),
              10);
    EXPECT_TRUE(readFile(savedApp(QStringLiteral("job-7")) + QStringLiteral("/Contents/Info.plist"))
                    .contains("<key>CFBundleShortVersionString</key><string>1.0</string>"));
}

TEST_F(BuildCommand, VersionOptionGoesIntoTheInfoPlist)
{
    const auto result = runCli(QStringList() << QStringLiteral("build-source") << serve(source().zip())
                                             << QStringLiteral("--job") << QStringLiteral("job-8")
                                             << QStringLiteral("--version") << QStringLiteral("2.5"));
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(readFile(savedApp(QStringLiteral("job-8")) + QStringLiteral("/Contents/Info.plist"))
                    .contains("<key>CFBundleShortVersionString</key><string>2.5</string>"));
}

TEST_F(BuildCommand, AssetsThatCannotBeHadAreSkipped)
{
    ZipMaker zip = source();
    zip.file(QStringLiteral("assets.json"), R"([{"repo": "http://github.com/acme/models", "paths": ["m"]}])");
    const auto result = runCli(QStringList() << QStringLiteral("build-source") << serve(zip.zip())
                                             << QStringLiteral("--job") << QStringLiteral("job-9"));
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(
        result.err.contains(QStringLiteral("Assets skipped: Refused to build this source: assets.json: "
                                           "http://github.com/acme/models is not a GitHub repository\n")))
        << result.err.toStdString();
    EXPECT_EQ(result.out, savedApp(QStringLiteral("job-9")) + QLatin1Char('\n'));
}

TEST_F(BuildCommand, CompilerErrorsAreShownAndTheCommandFails)
{
    const auto result = runCli(QStringList() << QStringLiteral("build-source")
                                             << serve(source("#error(\"missing view\")\n").zip())
                                             << QStringLiteral("--job") << QStringLiteral("job-10"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_TRUE(result.err.contains(QStringLiteral("/Sources/App/App.swift:1:1: error: missing view")))
        << result.err.toStdString();
    EXPECT_TRUE(
        result.err.endsWith(QStringLiteral("The app did not compile; the compiler's output is above.\n")))
        << result.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(m_home.downloadsFolder() + QStringLiteral("/Brightloom/job-10")));
}

TEST_F(BuildCommand, WithoutAToolchainTheVettedSourceFolderIsPrinted)
{
    m_home.setEnv("BRIGHTLOOM_TOOLS_DIR", work(QStringLiteral("no-tools")).toUtf8());
    const auto result = runCli(QStringList() << QStringLiteral("build-source") << serve(source().zip())
                                             << QStringLiteral("--job") << QStringLiteral("job-11"));
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QString folder = m_home.path() + QStringLiteral("/.local/share/Brightloom/Local/job-11");
    EXPECT_EQ(result.out, folder + QLatin1Char('\n'));
    EXPECT_TRUE(QFileInfo(folder + QStringLiteral("/Package.swift")).isFile());
    EXPECT_TRUE(result.err.contains(QStringLiteral("not built"))) << result.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(m_home.downloadsFolder() + QStringLiteral("/Brightloom")));
}

} // namespace

TEST_F(BuildCommand, ClientThatIsStoppedEndsItsToolsAndWhatTheyStarted)
{
    // The compiler starts a helper and hangs; the user stops the command with Ctrl+C, or the session
    // ends it. Whatever the system, the command ends the compiler's whole group as it goes.
    for (const int signal : {SIGINT, SIGTERM}) {
        const QString helper = m_home.path() + QStringLiteral("/helper-%1.pid").arg(signal);
        const QString tools = toolsWithReleaseBuildPrelude(
            QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR),
            m_home.path() + QStringLiteral("/tools-%1").arg(signal),
            "sleep 600 &\necho $! > '" + helper.toUtf8() + "'\necho compiling\nsleep 600\n");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("BRIGHTLOOM_TOOLS_DIR"), tools);
        QProcess cli;
        cli.setProcessEnvironment(environment);
        cli.start(QStringLiteral(BRIGHTLOOM_CLI_PATH),
                  {QStringLiteral("build-source"), serve(source().zip()), QStringLiteral("--job"),
                   QStringLiteral("job-%1").arg(signal)});
        ASSERT_TRUE(spinUntil([&] { return QFileInfo(helper).size() > 0; }, std::chrono::seconds(30)));
        QFile file(helper);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const pid_t left = pid_t(file.readAll().trimmed().toInt());
        ASSERT_GT(left, 0);
        ASSERT_EQ(::kill(pid_t(cli.processId()), signal), 0);
        ASSERT_TRUE(spinUntil([&] { return cli.state() == QProcess::NotRunning; }, std::chrono::seconds(30)));
        EXPECT_EQ(cli.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(cli.exitCode(), 128 + signal) << "as shells expect of a program a signal stopped";
        EXPECT_TRUE(
            spinUntil([&] { return ::kill(left, 0) != 0 && errno == ESRCH; }, std::chrono::seconds(10)))
            << "the compiler's helper ended with the command";
    }
}
