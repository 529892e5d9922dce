#include "localbuild/frameworks.h"
#include "pipeline_fixture.h"
#include "task_runner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// A static archive, as a static framework's binary is.
QByteArray staticArchive()
{
    return QByteArray("!<arch>\n") + QByteArray(60, 'x');
}

class Frameworks : public PipelineTest
{
protected:
    Frameworks()
    {
        QDir().mkpath(app() + QStringLiteral("/Contents/MacOS"));
        writeFile(app() + QStringLiteral("/Contents/MacOS/App"), "#!/bin/sh\n");
    }

    QString package() const { return work(QStringLiteral("pkg")); }
    QString app() const { return work(QStringLiteral("pkg/.stage/Demo.app")); }
    QString artifacts(const QString& relative) const
    {
        return package() + QStringLiteral("/.build/artifacts/") + relative;
    }

    // A framework in the layout of a macOS one: the binary in Versions/A, reached through links.
    void versionedFramework(const QString& folder, const QByteArray& binary)
    {
        const QString name = QFileInfo(folder).completeBaseName();
        writeFile(folder + QStringLiteral("/Versions/A/") + name, binary);
        writeFile(folder + QStringLiteral("/Versions/A/Resources/Info.plist"), "<plist/>");
        QFile::link(QStringLiteral("A"), folder + QStringLiteral("/Versions/Current"));
        QFile::link(QStringLiteral("Versions/Current/") + name, folder + QLatin1Char('/') + name);
        QFile::link(QStringLiteral("Versions/Current/Resources"), folder + QStringLiteral("/Resources"));
    }

    // A framework in the flat layout of the phone's.
    void flatFramework(const QString& folder, const QByteArray& binary)
    {
        writeFile(folder + QLatin1Char('/') + QFileInfo(folder).completeBaseName(), binary);
        writeFile(folder + QStringLiteral("/Info.plist"), "<plist/>");
    }

    void embed()
    {
        const auto embedded = run(LocalBuild::embedFrameworks(package(), app()));
        ASSERT_TRUE(embedded.ok()) << embedded.errorText().toStdString();
    }

    QByteArray runPathLog() const
    {
        return readFile(toolsFolder() + QStringLiteral("/install_name_tool.log"));
    }
};

TEST_F(Frameworks, OnlyTheMacOSSliceOfAFrameworkIsEmbedded)
{
    flatFramework(artifacts(QStringLiteral("charts/Charts.xcframework/ios-arm64/Charts.framework")),
                  machODynamicLibrary("phone"));
    versionedFramework(
        artifacts(QStringLiteral("charts/Charts.xcframework/macos-arm64_x86_64/Charts.framework")),
        machODynamicLibrary("mac"));
    embed();

    const QString embedded = app() + QStringLiteral("/Contents/Frameworks/Charts.framework");
    EXPECT_EQ(QDir(app() + QStringLiteral("/Contents/Frameworks"))
                  .entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList() << QStringLiteral("Charts.framework"));
    EXPECT_TRUE(readFile(embedded + QStringLiteral("/Versions/A/Charts")).endsWith("mac"));
    EXPECT_FALSE(QFileInfo::exists(embedded + QStringLiteral("/Info.plist")))
        << "nothing of the phone's slice";
    // Inner links stay links, with their own relative text.
    EXPECT_EQ(linkText(embedded + QStringLiteral("/Charts")), QStringLiteral("Versions/Current/Charts"));
    EXPECT_EQ(linkText(embedded + QStringLiteral("/Versions/Current")), QStringLiteral("A"));
    EXPECT_EQ(runPathLog(),
              "-add_rpath @executable_path/../Frameworks " + app().toUtf8() + "/Contents/MacOS/App\n");
}

TEST_F(Frameworks, StaticFrameworkIsNotEmbedded)
{
    versionedFramework(artifacts(QStringLiteral("db/Store.xcframework/macos-arm64/Store.framework")),
                       staticArchive());
    embed();
    EXPECT_FALSE(QFileInfo::exists(app() + QStringLiteral("/Contents/Frameworks")));
    EXPECT_TRUE(runPathLog().isEmpty());
}

TEST_F(Frameworks, FrameworkWithoutItsBinaryIsNotEmbedded)
{
    writeFile(artifacts(QStringLiteral("x/Empty.xcframework/macos-arm64/Empty.framework/Info.plist")),
              "<plist/>");
    embed();
    EXPECT_FALSE(QFileInfo::exists(app() + QStringLiteral("/Contents/Frameworks")));
}

TEST_F(Frameworks, WithoutArtifactsTheBundleIsLeftAlone)
{
    embed();
    EXPECT_FALSE(QFileInfo::exists(app() + QStringLiteral("/Contents/Frameworks")));
    EXPECT_TRUE(runPathLog().isEmpty()) << "no run-path added";

    QDir().mkpath(artifacts(QStringLiteral("other/Source")));
    embed();
    EXPECT_FALSE(QFileInfo::exists(app() + QStringLiteral("/Contents/Frameworks")));
    EXPECT_TRUE(runPathLog().isEmpty());
}

TEST_F(Frameworks, SameNamedFrameworksAreCopiedOneOverTheOther)
{
    const QString first = artifacts(QStringLiteral("a-pkg/Kit.xcframework/macos-arm64/Kit.framework"));
    const QString second = artifacts(QStringLiteral("b-pkg/Kit.xcframework/macos-x86_64/Kit.framework"));
    versionedFramework(first, machODynamicLibrary("first"));
    writeFile(first + QStringLiteral("/Versions/A/only-in-first.txt"), "first");
    versionedFramework(second, machODynamicLibrary("second"));
    embed();

    const QString embedded = app() + QStringLiteral("/Contents/Frameworks/Kit.framework");
    EXPECT_TRUE(readFile(embedded + QStringLiteral("/Versions/A/Kit")).endsWith("second"));
    EXPECT_EQ(readFile(embedded + QStringLiteral("/Versions/A/only-in-first.txt")), "first");
    EXPECT_EQ(runPathLog().count('\n'), 1) << "the run-path is added once";
}

TEST_F(Frameworks, CandidatesAreMacOSFrameworksInAStableOrder)
{
    flatFramework(artifacts(QStringLiteral("z/Z.xcframework/macos-arm64/Z.framework")), staticArchive());
    flatFramework(artifacts(QStringLiteral("a/A.xcframework/macos-arm64/A.framework")), staticArchive());
    flatFramework(artifacts(QStringLiteral("a/A.xcframework/tvos-arm64/A.framework")), staticArchive());
    flatFramework(artifacts(QStringLiteral("a/A.xcframework/MacOS-arm64/A.framework")), staticArchive());
    EXPECT_EQ(LocalBuild::frameworkCandidates(package()),
              QStringList() << artifacts(QStringLiteral("a/A.xcframework/macos-arm64/A.framework"))
                            << artifacts(QStringLiteral("z/Z.xcframework/macos-arm64/Z.framework")));
}

} // namespace
