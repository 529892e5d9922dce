#include "localbuild/bundle_info.h"
#include "localbuild/compile.h"
#include "localbuild/package.h"
#include "pipeline_fixture.h"
#include "task_runner.h"
#include "text/characters.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

const QString prefix = QString::fromLatin1(LocalBuild::bundleIdentifierPrefix);

// The Info.plist every locally built app has, with the four values that change.
QByteArray expectedPlist(const QByteArray& identifierSlug, const QByteArray& escapedName,
                         const QByteArray& version, const QByteArray& minimumSystem)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\"><dict>\n"
           "<key>CFBundleExecutable</key><string>App</string>\n"
           "<key>CFBundleIconFile</key><string>AppIcon</string>\n"
           "<key>CFBundleIdentifier</key><string>" +
           prefix.toUtf8() + identifierSlug +
           "</string>\n"
           "<key>CFBundleName</key><string>" +
           escapedName +
           "</string>\n"
           "<key>CFBundlePackageType</key><string>APPL</string>\n"
           "<key>CFBundleShortVersionString</key><string>" +
           version +
           "</string>\n"
           "<key>LSMinimumSystemVersion</key><string>" +
           minimumSystem +
           "</string>\n"
           "<key>NSHighResolutionCapable</key><true/>\n"
           "<key>NSPrincipalClass</key><string>NSApplication</string>\n"
           "</dict></plist>";
}

class Package : public PipelineTest
{
protected:
    Package() { m_home.setEnv("BRIGHTLOOM_URL", "https://service.example/"); }

    // Where the app of `job` is saved, up to its job folder.
    QString savedFolder(const QString& jobFolder) const
    {
        return m_home.downloadsFolder() + QStringLiteral("/Brightloom/") + jobFolder;
    }

    // Builds the package in `dir` with the stand-in toolchain and packages it; answers the saved
    // bundle, or an empty text after recording the failure.
    QString build(const QString& dir,
                  const QString& job = QStringLiteral("3f9c2a71-5e1d-4c61-9d0a-7b2f3c4d5e6f"),
                  std::optional<QString> version = std::nullopt)
    {
        const auto compiled = run(LocalBuild::compile(dir, {}));
        if (!compiled.ok() || compiled.value->has_value()) {
            ADD_FAILURE() << "the package did not build";
            return {};
        }
        const auto packaged = run(LocalBuild::package(dir, job, version));
        if (!packaged.ok()) {
            ADD_FAILURE() << packaged.errorText().toStdString();
            return {};
        }
        return *packaged.value;
    }
};

TEST_F(Package, SavesASignedBundleInTheServiceFolderOfDownloads)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("My App"));
    const QString saved = build(work(QStringLiteral("src")));
    EXPECT_EQ(saved, savedFolder(QStringLiteral("3f9c2a71")) + QStringLiteral("/My-App.app"));
    EXPECT_TRUE(QFileInfo(saved + QStringLiteral("/Contents/MacOS/App")).isExecutable());
    EXPECT_TRUE(QFileInfo(saved + QStringLiteral("/Contents/Info.plist")).isFile());
    EXPECT_EQ(readIcns(saved + QStringLiteral("/Contents/Resources/AppIcon.icns")).size(), 10);
    EXPECT_TRUE(QFileInfo(saved + QStringLiteral("/Contents/_CodeSignature/CodeResources")).isFile());
    EXPECT_FALSE(QFileInfo::exists(saved + QStringLiteral("/Contents/Frameworks")));
    EXPECT_FALSE(QFileInfo::exists(saved + QStringLiteral("/Contents/Resources/Assets")));
    EXPECT_TRUE(QFileInfo(work(QStringLiteral("src/.stage/My-App.app"))).isDir()) << "staging stays";
}

TEST_F(Package, NameIsFilteredAndTrimmedForTheBundleAndItsIdentifier)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("  Hello, World! 2  "));
    const QString saved = build(work(QStringLiteral("src")));
    EXPECT_EQ(QFileInfo(saved).fileName(), QStringLiteral("Hello-World-2.app"));
    EXPECT_EQ(readFile(saved + QStringLiteral("/Contents/Info.plist")),
              expectedPlist("helloworld2", "Hello World 2", "1.0", "14.0"));
}

TEST_F(Package, NameOfDroppedCharactersOnlyBecomesMyApp)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("!!!"));
    const QString saved = build(work(QStringLiteral("src")));
    EXPECT_EQ(QFileInfo(saved).fileName(), QStringLiteral("My-App.app"));
    EXPECT_EQ(readFile(saved + QStringLiteral("/Contents/Info.plist")),
              expectedPlist("myapp", "My App", "1.0", "14.0"));
}

TEST_F(Package, MissingOrUnusableAppJsonGivesMyApp)
{
    EXPECT_EQ(LocalBuild::displayName(QByteArray()), QStringLiteral("My App"));
    EXPECT_EQ(LocalBuild::displayName("[\"name\"]"), QStringLiteral("My App"));
    EXPECT_EQ(LocalBuild::displayName("{\"name\": 5}"), QStringLiteral("My App"));
    EXPECT_EQ(LocalBuild::displayName("{\"name\": \"Notes\""), QStringLiteral("My App"));
    EXPECT_EQ(LocalBuild::displayName("{\"title\": \"Notes\", \"name\": \"Caf\xc3\xa9 \xe6\x97\xa5\"}"),
              QString::fromUtf8("Caf\xc3\xa9 \xe6\x97\xa5"));
}

TEST_F(Package, NameOfThreeDotsKeepsTheDotsAndLeavesTheIdentifierSlugEmpty)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("..."));
    const QString saved = build(work(QStringLiteral("src")));
    EXPECT_EQ(QFileInfo(saved).fileName(), QStringLiteral("....app"));
    EXPECT_EQ(readFile(saved + QStringLiteral("/Contents/Info.plist")),
              expectedPlist("", "...", "1.0", "14.0"));
    EXPECT_TRUE(prefix.endsWith(QLatin1Char('.')));
}

TEST_F(Package, LongNameKeepsItsFirstFortyKeptCharactersBeforeTrimming)
{
    // Two spaces and 38 letters are the first 40 kept characters. Ten dropped ones stand among the
    // first letters, so cutting before filtering would keep fewer letters; the 38 letters hold
    // accents written as combining marks, so counting code units would keep fewer too. The "x"s
    // after them fall beyond the 40; trimming then removes the two spaces.
    const QString e = QStringLiteral("e\u0301");
    QString letters;
    QString name = QStringLiteral("  ");
    for (int i = 0; i < 38; ++i) {
        const QString letter = i % 2 ? e : QString(QChar(u'a' + i % 26));
        letters += letter;
        name += letter;
        if (i < 10)
            name += i % 2 ? QStringLiteral("!") : QStringLiteral("\U0001F600");
    }
    name += QStringLiteral("x").repeated(18);
    ASSERT_EQ(text::characterCount(name), 2 + 38 + 10 + 18);
    writePackage(work(QStringLiteral("src")), name);
    const QString saved = build(work(QStringLiteral("src")));
    EXPECT_EQ(QFileInfo(saved).fileName(), letters + QStringLiteral(".app"));
    EXPECT_EQ(readFile(saved + QStringLiteral("/Contents/Info.plist")),
              expectedPlist(letters.toLower().toUtf8(), letters.toUtf8(), "1.0", "14.0"));
}

TEST_F(Package, AccentWrittenAsACombiningMarkStaysInTheNameAndTheIdentifier)
{
    // "Café Noir" with its "é" as "e" and a combining accent, and with it as one code point.
    const QString decomposed = QStringLiteral("Cafe\u0301 Noir");
    writePackage(work(QStringLiteral("src")), decomposed);
    const QString saved = build(work(QStringLiteral("src")));
    EXPECT_EQ(QFileInfo(saved).fileName(), QStringLiteral("Cafe\u0301-Noir.app"));
    EXPECT_EQ(readFile(saved + QStringLiteral("/Contents/Info.plist")),
              expectedPlist("cafe\xcc\x81noir", "Cafe\xcc\x81 Noir", "1.0", "14.0"));

    const QString composed = QStringLiteral("Caf\u00e9 Noir");
    writePackage(work(QStringLiteral("src")), composed);
    const QString again = build(work(QStringLiteral("src")));
    EXPECT_EQ(readFile(again + QStringLiteral("/Contents/Info.plist")),
              expectedPlist("caf\xc3\xa9noir", "Caf\xc3\xa9 Noir", "1.0", "14.0"));
}

TEST_F(Package, EveryValueIsEscapedInTheInfoPlist)
{
    // A packaged name has lost "&", "<" and ">" already, and a version is only numbers and dots;
    // the plist text escapes whatever it is given all the same.
    EXPECT_EQ(LocalBuild::infoPlist(QStringLiteral("Tom & Jerry <3>"), QStringLiteral("2.0 <beta>"),
                                    QStringLiteral("13.0"))
                  .toUtf8(),
              expectedPlist("tomjerry3", "Tom &amp; Jerry &lt;3&gt;", "2.0 &lt;beta&gt;", "13.0"));

    const QString injected = QStringLiteral("2.0</string><key>LSUIElement</key><true/><key>x</key><string>");
    const QString plist = LocalBuild::infoPlist(QStringLiteral("Notes"), injected, QStringLiteral("13.0"));
    QXmlStreamReader reader(plist);
    QStringList keys;
    QString version;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("key"))
            keys.append(reader.readElementText());
        else if (keys.endsWith(QStringLiteral("CFBundleShortVersionString")) && reader.isStartElement() &&
                 version.isNull())
            version = reader.readElementText();
    }
    ASSERT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_EQ(keys, (QStringList{
                        QStringLiteral("CFBundleExecutable"), QStringLiteral("CFBundleIconFile"),
                        QStringLiteral("CFBundleIdentifier"), QStringLiteral("CFBundleName"),
                        QStringLiteral("CFBundlePackageType"), QStringLiteral("CFBundleShortVersionString"),
                        QStringLiteral("LSMinimumSystemVersion"), QStringLiteral("NSHighResolutionCapable"),
                        QStringLiteral("NSPrincipalClass")}));
    EXPECT_EQ(version, injected) << "the text stays one value";
}

TEST_F(Package, NameFromTheSourceLosesItsXmlSpecialsBeforeTheInfoPlist)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("Tom & Jerry <3>"));
    const QString saved = build(work(QStringLiteral("src")), QStringLiteral("job1"), QStringLiteral("2.0"));
    EXPECT_EQ(QFileInfo(saved).fileName(), QStringLiteral("Tom--Jerry-3.app"));
    EXPECT_EQ(readFile(saved + QStringLiteral("/Contents/Info.plist")),
              expectedPlist("tomjerry3", "Tom  Jerry 3", "2.0", "14.0"));
}

TEST_F(Package, BundleVersionsAreOneToThreeNumbersJoinedByDots)
{
    for (const char* good : {"1", "2.0", "10.14.1", "0.0.0", "123456789.1"})
        EXPECT_TRUE(LocalBuild::isBundleVersion(QString::fromLatin1(good))) << good;
    for (const char* bad : {"", "1.", ".1", "1..2", "1.2.3.4", "2.0 <beta>", "2.0-beta", " 1.0", "1.0\n",
                            "1234567890", "v1", "1,0"})
        EXPECT_FALSE(LocalBuild::isBundleVersion(QString::fromLatin1(bad))) << bad;
    EXPECT_FALSE(LocalBuild::isBundleVersion(QString::fromUtf16(u"\u0661.\u0662"))) << "other digits";
}

TEST_F(Package, VersionThatIsNotABundleVersionIsRefusedBeforeAnythingIsWritten)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    const auto compiled = run(LocalBuild::compile(work(QStringLiteral("src")), {}));
    ASSERT_TRUE(compiled.ok() && !compiled.value->has_value());
    for (const QString& version :
         {QStringLiteral("2.0 <beta>"),
          QStringLiteral("2.0</string><key>LSUIElement</key><true/><key>x</key><string>"),
          QStringLiteral("1.0\n"), QString(10000, QLatin1Char('9'))}) {
        const auto packaged =
            run(LocalBuild::package(work(QStringLiteral("src")), QStringLiteral("job1"), version));
        EXPECT_EQ(packaged.errorText(), QString::fromLatin1(LocalBuild::badVersionText));
    }
    EXPECT_FALSE(QFileInfo::exists(work(QStringLiteral("src/.stage"))));
    EXPECT_FALSE(QFileInfo::exists(m_home.downloadsFolder() + QStringLiteral("/Brightloom")));
}

TEST_F(Package, MinimumSystemComesFromTheFirstMacOSPlatform)
{
    writePackage(
        work(QStringLiteral("v14")), QStringLiteral("A"),
        "import PackageDescription\nlet package = Package(name: \"App\", platforms: [.macOS(.v14)])\n");
    EXPECT_EQ(readFile(build(work(QStringLiteral("v14")), QStringLiteral("j14")) +
                       QStringLiteral("/Contents/Info.plist")),
              expectedPlist("a", "A", "1.0", "14.0"));

    writePackage(
        work(QStringLiteral("v10_15")), QStringLiteral("A"),
        "import PackageDescription\nlet package = Package(name: \"App\", platforms: [.macOS(.v10_15)])\n");
    EXPECT_EQ(readFile(build(work(QStringLiteral("v10_15")), QStringLiteral("j10")) +
                       QStringLiteral("/Contents/Info.plist")),
              expectedPlist("a", "A", "1.0", "13.0"));

    EXPECT_EQ(LocalBuild::minimumSystemVersion(QStringLiteral("platforms: [.macOS(\"10.15\")]")),
              QStringLiteral("13.0"));
    EXPECT_EQ(LocalBuild::minimumSystemVersion(QString()), QStringLiteral("13.0"));
    EXPECT_EQ(LocalBuild::minimumSystemVersion(QStringLiteral("platforms: [.macOS(.v15)]\n"
                                                              "// platforms: [.macOS(.v12)]\n")),
              QStringLiteral("15.0"));
}

TEST_F(Package, VersionIsWrittenAsGivenOrDefaultsTo1_0)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    const QString first = build(work(QStringLiteral("src")), QStringLiteral("job-a"));
    EXPECT_EQ(readFile(first + QStringLiteral("/Contents/Info.plist")),
              expectedPlist("notes", "Notes", "1.0", "14.0"));
    const QString second = build(work(QStringLiteral("src")), QStringLiteral("job-b"), QStringLiteral("3.2"));
    EXPECT_EQ(readFile(second + QStringLiteral("/Contents/Info.plist")),
              expectedPlist("notes", "Notes", "3.2", "14.0"));
}

TEST_F(Package, JobIdFolderTakesItsFirstEightCharactersWhole)
{
    // Emoji are two code units each and the accented letters two code points: a cut by code units
    // would split one and name another folder.
    const QString e = QStringLiteral("e\u0301");
    const QString smile = QStringLiteral("\U0001F600");
    const QString job = smile + e + smile + e + smile + e + smile + e + QStringLiteral("-rest");
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    const QString saved = build(work(QStringLiteral("src")), job);
    EXPECT_EQ(saved,
              savedFolder(smile + e + smile + e + smile + e + smile + e) + QStringLiteral("/Notes.app"));
}

TEST_F(Package, SigningFailureQuotesItsLastThreeHundredCharactersWhole)
{
    // The signer names the bundle, whose path here holds emoji and combining accents.
    wrapTool(QStringLiteral("codesign"), QStringList() << QStringLiteral("BRIGHTLOOM_STANDIN_SIGN_FAIL=1"));
    const QString src = work(QStringLiteral("src-\U0001F600e\u0301\U0001F469\u200D\U0001F467"));
    writePackage(src, QStringLiteral("Notes"));
    ASSERT_TRUE(run(LocalBuild::compile(src, {})).ok());
    const auto packaged = run(LocalBuild::package(src, QStringLiteral("job"), std::nullopt));
    ASSERT_TRUE(packaged.finished);
    const QString start = QStringLiteral("Signing failed: ");
    const QString text = packaged.errorText();
    ASSERT_TRUE(text.startsWith(start)) << text.toStdString();
    QString output;
    for (int i = 0; i < 20; ++i)
        output += src + QStringLiteral("/.stage/Notes.app: resource fork, Finder information, or similar "
                                       "detritus not allowed (%1)\n")
                            .arg(i);
    const QString quoted = text.mid(start.size());
    EXPECT_EQ(text::characterCount(quoted), 300);
    EXPECT_GT(quoted.size(), 300);
    EXPECT_TRUE(output.endsWith(quoted));
    EXPECT_FALSE(quoted.front().isLowSurrogate() || quoted.front().isMark()) << quoted.toStdString();
}

TEST_F(Package, SavedAppKeepsItsFolderWhicheverAddressOfTheServiceIsInUse)
{
    // The same job packaged while the service was reached as 127.0.0.1 and then as localhost.
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    m_home.setEnv("BRIGHTLOOM_URL", "https://127.0.0.1:8443/");
    const QString first = build(work(QStringLiteral("src")), QStringLiteral("a1b2c3d4e5"));
    m_home.setEnv("BRIGHTLOOM_URL", "https://localhost:8443/");
    const QString second = build(work(QStringLiteral("src")), QStringLiteral("a1b2c3d4e5"));
    EXPECT_EQ(first, m_home.downloadsFolder() + QStringLiteral("/Brightloom/a1b2c3d4/Notes.app"));
    EXPECT_EQ(second, first);
    EXPECT_EQ(QDir(m_home.downloadsFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList() << QStringLiteral("Brightloom"));
}

TEST_F(Package, ShortJobIdNamesTheWholeFolder)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    EXPECT_EQ(build(work(QStringLiteral("src")), QStringLiteral("a1b")),
              savedFolder(QStringLiteral("a1b")) + QStringLiteral("/Notes.app"));
}

TEST_F(Package, PackagingTheSameJobAgainReplacesTheEarlierCopy)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    const QString first = build(work(QStringLiteral("src")), QStringLiteral("a1b"));
    writeFile(first + QStringLiteral("/Contents/Resources/old.txt"), "from the first copy");
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notebook"));
    const QString second = build(work(QStringLiteral("src")), QStringLiteral("a1b"));
    EXPECT_EQ(second, savedFolder(QStringLiteral("a1b")) + QStringLiteral("/Notebook.app"));
    EXPECT_EQ(QDir(savedFolder(QStringLiteral("a1b"))).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList() << QStringLiteral("Notebook.app"));
    EXPECT_TRUE(QFileInfo(second + QStringLiteral("/Contents/MacOS/App")).isFile());
}

TEST_F(Package, OwnIconAndAssetsGoIntoTheBundle)
{
    const QString src = work(QStringLiteral("src"));
    writePackage(src, QStringLiteral("Painter"));
    QImage icon(300, 300, QImage::Format_ARGB32);
    icon.fill(QColor(10, 200, 120));
    ASSERT_TRUE(icon.save(src + QStringLiteral("/icon.png")));
    writeFile(src + QStringLiteral("/.assets/models/weights.bin"), "weights");
    const QString saved = build(src);
    EXPECT_EQ(readFile(saved + QStringLiteral("/Contents/Resources/Assets/models/weights.bin")), "weights");
    const QList<IcnsImage> images = readIcns(saved + QStringLiteral("/Contents/Resources/AppIcon.icns"));
    ASSERT_EQ(images.size(), 10);
    EXPECT_EQ(images[9].image.pixelColor(500, 500), QColor(10, 200, 120));
    EXPECT_FALSE(QFileInfo::exists(src + QStringLiteral("/.stage/icon.png"))) << "no letter icon drawn";
}

TEST_F(Package, FrameworksOfTheBuildAreEmbeddedAndSigned)
{
    const QString src = work(QStringLiteral("src"));
    writePackage(src, QStringLiteral("Charts"));
    const QString artifacts = src + QStringLiteral("/.build/artifacts/charts/Plot.xcframework/");
    writeFile(artifacts + QStringLiteral("ios-arm64/Plot.framework/Plot"), machODynamicLibrary("phone"));
    writeFile(artifacts + QStringLiteral("macos-arm64_x86_64/Plot.framework/Plot"),
              machODynamicLibrary("mac"));
    const QString saved = build(src);
    EXPECT_TRUE(readFile(saved + QStringLiteral("/Contents/Frameworks/Plot.framework/Plot")).endsWith("mac"));
    EXPECT_TRUE(readFile(saved + QStringLiteral("/Contents/_CodeSignature/CodeResources"))
                    .contains("./Contents/Frameworks/Plot.framework/Plot"))
        << "signed after embedding";
    EXPECT_TRUE(readFile(toolsFolder() + QStringLiteral("/install_name_tool.log"))
                    .endsWith("/.stage/Charts.app/Contents/MacOS/App\n"));
}

TEST_F(Package, VersionedFrameworkArrivesInTheSavedAppWithItsLinksAsLinks)
{
    // A macOS framework as the platform lays it out: everything in Versions/A, reached through links.
    const QString src = work(QStringLiteral("src"));
    writePackage(src, QStringLiteral("Charts"));
    const QString framework =
        src + QStringLiteral("/.build/artifacts/charts/Plot.xcframework/macos-arm64_x86_64/Plot.framework");
    writeFile(framework + QStringLiteral("/Versions/A/Plot"), machODynamicLibrary("mac"));
    writeFile(framework + QStringLiteral("/Versions/A/Headers/Plot.h"), "int plot(void);\n");
    writeFile(framework + QStringLiteral("/Versions/A/Resources/Info.plist"), "<plist/>");
    ASSERT_TRUE(QFile::link(QStringLiteral("A"), framework + QStringLiteral("/Versions/Current")));
    ASSERT_TRUE(QFile::link(QStringLiteral("Versions/Current/Plot"), framework + QStringLiteral("/Plot")));
    ASSERT_TRUE(
        QFile::link(QStringLiteral("Versions/Current/Headers"), framework + QStringLiteral("/Headers")));
    ASSERT_TRUE(
        QFile::link(QStringLiteral("Versions/Current/Resources"), framework + QStringLiteral("/Resources")));

    const QString saved = build(src);
    const QString embedded = saved + QStringLiteral("/Contents/Frameworks/Plot.framework");
    EXPECT_EQ(linkText(embedded + QStringLiteral("/Versions/Current")), QStringLiteral("A"));
    EXPECT_EQ(linkText(embedded + QStringLiteral("/Plot")), QStringLiteral("Versions/Current/Plot"));
    EXPECT_EQ(linkText(embedded + QStringLiteral("/Headers")), QStringLiteral("Versions/Current/Headers"));
    EXPECT_EQ(linkText(embedded + QStringLiteral("/Resources")),
              QStringLiteral("Versions/Current/Resources"));
    // The one copy of each file is the versioned one, reached through the links.
    EXPECT_TRUE(QFileInfo(embedded + QStringLiteral("/Versions/A/Plot")).isFile());
    EXPECT_FALSE(QFileInfo(embedded + QStringLiteral("/Versions/A/Plot")).isSymLink());
    EXPECT_EQ(readFile(embedded + QStringLiteral("/Headers/Plot.h")), "int plot(void);\n");
    EXPECT_TRUE(readFile(embedded + QStringLiteral("/Plot")).endsWith("mac"));
}

TEST_F(Package, NoProductIsReportedAsNoExecutable)
{
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    const auto packaged =
        run(LocalBuild::package(work(QStringLiteral("src")), QStringLiteral("job"), std::nullopt));
    ASSERT_TRUE(packaged.finished);
    EXPECT_EQ(packaged.errorText(), QStringLiteral("The build produced no executable."));
}

TEST_F(Package, SigningFailureQuotesTheEndOfTheSignerOutput)
{
    wrapTool(QStringLiteral("codesign"), QStringList() << QStringLiteral("BRIGHTLOOM_STANDIN_SIGN_FAIL=1"));
    writePackage(work(QStringLiteral("src")), QStringLiteral("Notes"));
    ASSERT_TRUE(run(LocalBuild::compile(work(QStringLiteral("src")), {})).ok());
    const auto packaged =
        run(LocalBuild::package(work(QStringLiteral("src")), QStringLiteral("job"), std::nullopt));
    ASSERT_TRUE(packaged.finished);
    const QString text = packaged.errorText();
    EXPECT_TRUE(text.startsWith(QStringLiteral("Signing failed: "))) << text.toStdString();
    EXPECT_EQ(text.size(), QStringLiteral("Signing failed: ").size() + 300);
    EXPECT_TRUE(text.endsWith(QStringLiteral("similar detritus not allowed (19)\n"))) << text.toStdString();
    EXPECT_FALSE(QFileInfo::exists(savedFolder(QStringLiteral("job"))));
}

} // namespace
