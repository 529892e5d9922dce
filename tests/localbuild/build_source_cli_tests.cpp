#include "child_process.h"
#include "recording_server.h"
#include "temp_home.h"
#include "zip_maker.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <gtest/gtest.h>

using namespace brightloom::test;

namespace {

// brightloom-cli build-source against a scripted HTTPS server trusted through BRIGHTLOOM_CA_FILE.
class BuildSourceCommand : public ::testing::Test
{
protected:
    BuildSourceCommand() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
    }

    QString serve(const QByteArray& archive)
    {
        return server.offer(QStringLiteral("source.zip"), ScriptedReply::archive(archive));
    }

    static ZipMaker project(const QByteArray& manifest)
    {
        ZipMaker zip;
        zip.file(QStringLiteral("Package.swift"), manifest)
            .file(QStringLiteral("Sources/App/App.swift"), "import SwiftUI\n");
        return zip;
    }

    TempHome home;
    RecordingServer server;
};

} // namespace

TEST_F(BuildSourceCommand, PrintsTheProjectFolderOfAVettedSource)
{
    const auto result =
        runCli({QStringLiteral("build-source"), serve(project("import PackageDescription\n").zip()),
                QStringLiteral("--job"), QStringLiteral("job-7")});
    ASSERT_TRUE(result.finished);
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QString folder = home.path() + QStringLiteral("/.local/share/Brightloom/Local/job-7");
    EXPECT_EQ(result.out.trimmed(), folder);
    EXPECT_TRUE(QFileInfo(folder + QStringLiteral("/Sources/App/App.swift")).isFile());
}

TEST_F(BuildSourceCommand, RefusedSourcePrintsTheReasonAndFails)
{
    const auto result = runCli({QStringLiteral("build-source"),
                                serve(project("import PackageDescription\nimport Foundation\n").zip()),
                                QStringLiteral("--job"), QStringLiteral("job-7")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_EQ(result.err.trimmed(),
              QStringLiteral("Refused to build this source: Package.swift imports something "
                             "other than PackageDescription"));
}

TEST_F(BuildSourceCommand, HttpAddressPrintsBadSourceUrl)
{
    const auto result =
        runCli({QStringLiteral("build-source"), QStringLiteral("http://127.0.0.1:9/source.zip"),
                QStringLiteral("--job"), QStringLiteral("job-7")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err.trimmed(), QStringLiteral("Bad source URL"));
}

TEST_F(BuildSourceCommand, UnpackFailurePrintsTheUnpackerText)
{
    const auto result = runCli({QStringLiteral("build-source"), serve("<html>not a zip</html>"),
                                QStringLiteral("--job"), QStringLiteral("job-7")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.startsWith(QLatin1String("Could not unpack the source: ")))
        << result.err.toStdString();
}

TEST_F(BuildSourceCommand, MissingJobIsAUsageError)
{
    const auto result =
        runCli({QStringLiteral("build-source"), QStringLiteral("https://127.0.0.1:9/source.zip")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_FALSE(result.err.isEmpty());
}
