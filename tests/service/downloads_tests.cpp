#include "memory_peak.h"
#include "raw_zip.h"
#include "recording_desktop.h"
#include "recording_server.h"
#include "service/api.h"
#include "service/dmg_downloads.h"
#include "task_runner.h"
#include "temp_home.h"
#include "zip_maker.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

QStringList filesUnder(const QString& folder)
{
    QStringList found;
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        found.append(QDir(folder).relativeFilePath(it.next()));
    found.sort();
    return found;
}

QByteArray appBundle(const QString& name)
{
    return ZipMaker()
        .directory(name + QStringLiteral(".app/Contents"))
        .file(name + QStringLiteral(".app/Contents/Info.plist"), "<plist/>")
        .file(name + QStringLiteral(".app/Contents/MacOS/") + name, "#!/bin/sh\n", 0755)
        .symlink(name + QStringLiteral(".app/Contents/Frameworks/Lib.framework/Lib"),
                 QStringLiteral("Versions/A/Lib"))
        .file(name + QStringLiteral(".app/Contents/Frameworks/Lib.framework/Versions/A/Lib"), "lib")
        .zip();
}

class DownloadTest : public ::testing::Test
{
protected:
    DownloadTest()
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        server.on(QStringLiteral("GET /files/notes.dmg"), ScriptedReply::html(200, "DMG-BYTES"));
    }

    QString url(const char* path) const { return server.baseUrl().toString() + QString::fromLatin1(path); }
    QString hostFolder() const { return home.downloadsFolder() + QStringLiteral("/127.0.0.1"); }

    TempHome home;
    RecordingServer server;
};

} // namespace

TEST_F(DownloadTest, SavingTheSameNameThreeTimesNumbersTheCopies)
{
    API api;
    QStringList saved;
    for (int i = 0; i < 3; ++i) {
        const auto path = run(api.downloadDmg(url("files/notes.dmg"), QStringLiteral("Notes")));
        ASSERT_TRUE(path.ok()) << path.errorText().toStdString();
        saved.append(*path.value);
    }
    EXPECT_EQ(saved, (QStringList{hostFolder() + QStringLiteral("/Notes.dmg"),
                                  hostFolder() + QStringLiteral("/Notes 2.dmg"),
                                  hostFolder() + QStringLiteral("/Notes 3.dmg")}));
    QFile third(saved[2]);
    ASSERT_TRUE(third.open(QIODevice::ReadOnly));
    EXPECT_EQ(third.readAll(), QByteArray("DMG-BYTES"));
}

TEST_F(DownloadTest, SlashInTheNameBecomesADash)
{
    API api;
    const auto path = run(api.downloadDmg(url("files/notes.dmg"), QStringLiteral("A/B")));
    EXPECT_EQ(*path.value, hostFolder() + QStringLiteral("/A-B.dmg"));
}

TEST_F(DownloadTest, NameThatCannotBeAFileIsRefusedBeforeAnythingIsFetched)
{
    API api;
    const QList<QPair<QString, QString>> refused{
        {QStringLiteral(".."), QStringLiteral("it starts with a dot")},
        {QStringLiteral("Notes\r\n1.0"), QStringLiteral("it holds a control character")},
        {QStringView(u"Notes\0", 6).toString(), QStringLiteral("it holds a control character")},
        {QString::fromUtf16(u"Notes\u202egmd.ppa"), QStringLiteral("it holds a mark that reorders text")},
        {QString(10000, QLatin1Char('N')), QStringLiteral("it is longer than 200 bytes")},
        {QString(), QStringLiteral("it is empty")}};
    for (const auto& [name, why] : refused)
        EXPECT_EQ(run(api.downloadDmg(url("files/notes.dmg"), name)).errorText(),
                  QStringLiteral("The app's name cannot be a file name: ") + why + QLatin1Char('.'));
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/files/notes.dmg")).isEmpty());
    EXPECT_TRUE(filesUnder(home.downloadsFolder()).isEmpty());

    // Slashes become dashes first, so "../x" is one harmless name.
    const auto saved = run(api.downloadDmg(url("files/notes.dmg"), QStringLiteral("a/../x")));
    EXPECT_EQ(*saved.value, hostFolder() + QStringLiteral("/a-..-x.dmg"));
}

TEST_F(DownloadTest, NamedDownloadKeepsItsOwnExtensionAndNumbersTakenNames)
{
    API api;
    const auto first =
        run(api.downloadNamed(url("files/notes.dmg"), QStringLiteral("Notes 1.0"), QStringLiteral("zip")));
    const auto second =
        run(api.downloadNamed(url("files/notes.dmg"), QStringLiteral("Notes 1.0"), QStringLiteral("zip")));
    EXPECT_EQ(*first.value, hostFolder() + QStringLiteral("/Notes 1.0.zip"));
    EXPECT_EQ(*second.value, hostFolder() + QStringLiteral("/Notes 1.0 2.zip"));
}

TEST_F(DownloadTest, DiskImageAnsweredWithAnErrorStatusFailsAndLeavesNothing)
{
    server.on(QStringLiteral("GET /files/gone.dmg"), ScriptedReply::html(404, "<html>gone</html>"));
    API api;
    EXPECT_EQ(run(api.downloadDmg(url("files/gone.dmg"), QStringLiteral("Notes"))).errorText(),
              QStringLiteral("The download failed (404)."));
    EXPECT_TRUE(filesUnder(home.downloadsFolder()).isEmpty());
}

TEST_F(DownloadTest, UnparsableAddressIsABadDownloadUrl)
{
    API api;
    EXPECT_EQ(run(api.downloadDmg(QStringLiteral("::not a url"), QStringLiteral("N"))).errorText(),
              QStringLiteral("Bad download URL"));
    EXPECT_EQ(run(api.downloadApp(QStringLiteral("http://[oops"))).errorText(),
              QStringLiteral("Bad download URL"));
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(DownloadTest, DownloadsSendNeitherOriginNorServiceCookies)
{
    ScriptedReply signIn = ScriptedReply::json(200, "{}");
    signIn.headers.append(
        qMakePair(QByteArray("Set-Cookie"), QByteArray("brightloom.session_token=s; Path=/")));
    server.on(QStringLiteral("POST /api/auth/sign-in/email"), signIn);
    API api;
    run(api.signIn(QStringLiteral("a"), QStringLiteral("b")));
    run(api.downloadDmg(url("files/notes.dmg"), QStringLiteral("Notes")));
    const auto sent = server.requestsTo(QStringLiteral("/files/notes.dmg"));
    ASSERT_EQ(sent.size(), 1);
    EXPECT_FALSE(sent[0].hasHeader("Origin"));
    EXPECT_FALSE(sent[0].hasHeader("Cookie"));
}

TEST_F(DownloadTest, AppArchiveIsUnpackedIntoAFreshFolderKeepingItsStructure)
{
    server.on(QStringLiteral("GET /files/app.zip"),
              ScriptedReply::html(200, appBundle(QStringLiteral("Notes"))));
    API api;
    const auto app = run(api.downloadApp(url("files/app.zip")));
    ASSERT_TRUE(app.ok()) << app.errorText().toStdString();
    const QFileInfo info(*app.value);
    EXPECT_EQ(info.fileName(), QStringLiteral("Notes.app"));
    const QString folder = info.absolutePath();
    EXPECT_EQ(QFileInfo(folder).absolutePath(), hostFolder());
    EXPECT_EQ(QFileInfo(folder).fileName().size(), 8);
    EXPECT_FALSE(QFileInfo::exists(folder + QStringLiteral("/app.zip")));
    EXPECT_TRUE(QFileInfo(*app.value + QStringLiteral("/Contents/MacOS/Notes")).isExecutable());
    const QFileInfo link(*app.value + QStringLiteral("/Contents/Frameworks/Lib.framework/Lib"));
    EXPECT_TRUE(link.isSymLink());
    EXPECT_EQ(link.symLinkTarget(),
              *app.value + QStringLiteral("/Contents/Frameworks/Lib.framework/Versions/A/Lib"));
}

TEST_F(DownloadTest, EachAppDownloadGetsItsOwnFolder)
{
    server.on(QStringLiteral("GET /files/app.zip"),
              ScriptedReply::html(200, appBundle(QStringLiteral("Notes"))));
    API api;
    const auto first = run(api.downloadApp(url("files/app.zip")));
    const auto second = run(api.downloadApp(url("files/app.zip")));
    ASSERT_TRUE(first.ok() && second.ok());
    EXPECT_NE(QFileInfo(*first.value).absolutePath(), QFileInfo(*second.value).absolutePath());
}

TEST_F(DownloadTest, ArchiveWithTwoAppsYieldsTheFirstInTheListing)
{
    QByteArray both = ZipMaker()
                          .file(QStringLiteral("Zeta.app/Contents/Info.plist"), "z")
                          .file(QStringLiteral("Alpha.app/Contents/Info.plist"), "a")
                          .file(QStringLiteral("readme.txt"), "r")
                          .zip();
    server.on(QStringLiteral("GET /files/two.zip"), ScriptedReply::html(200, both));
    API api;
    const auto app = run(api.downloadApp(url("files/two.zip")));
    ASSERT_TRUE(app.ok()) << app.errorText().toStdString();
    EXPECT_EQ(QFileInfo(*app.value).fileName(), QStringLiteral("Alpha.app"));
}

TEST_F(DownloadTest, AppAddressAnsweringAnHtmlNotFoundCannotBeUnpacked)
{
    server.on(QStringLiteral("GET /files/missing.zip"),
              ScriptedReply::html(404, "<html><body>Not found</body></html>"));
    API api;
    EXPECT_EQ(run(api.downloadApp(url("files/missing.zip"))).errorText(),
              QStringLiteral("Could not unpack the downloaded app"));
}

TEST_F(DownloadTest, ArchiveWithoutAnAppCannotBeUnpacked)
{
    server.on(QStringLiteral("GET /files/plain.zip"),
              ScriptedReply::html(200, ZipMaker().file(QStringLiteral("Notes/readme.txt"), "x").zip()));
    API api;
    EXPECT_EQ(run(api.downloadApp(url("files/plain.zip"))).errorText(),
              QStringLiteral("Could not unpack the downloaded app"));
}

TEST_F(DownloadTest, ArchiveReachingOutsideItsFolderIsRefusedAndWritesNothingOutside)
{
    const QString sentinel = home.path() + QStringLiteral("/outside");
    QDir().mkpath(sentinel);
    const QList<QByteArray> hostile = {
        ZipMaker()
            .file(QStringLiteral("Notes.app/x"), "ok")
            .file(QStringLiteral("../../../outside/x"), "evil")
            .zip(),
        ZipMaker()
            .file(QStringLiteral("Notes.app/x"), "ok")
            .file(sentinel + QStringLiteral("/abs"), "evil")
            .zip(),
        ZipMaker()
            .symlink(QStringLiteral("Notes.app/d"), sentinel)
            .file(QStringLiteral("Notes.app/d/through"), "evil")
            .zip(),
    };
    API api;
    for (const QByteArray& archive : hostile) {
        server.on(QStringLiteral("GET /files/evil.zip"), ScriptedReply::html(200, archive));
        EXPECT_EQ(run(api.downloadApp(url("files/evil.zip"))).errorText(),
                  QStringLiteral("Could not unpack the downloaded app"));
    }
    EXPECT_TRUE(filesUnder(sentinel).isEmpty()) << filesUnder(sentinel).join(QLatin1Char(' ')).toStdString();
}

TEST_F(DownloadTest, AppArchiveClaimingGigabytesItDoesNotHoldLeavesNothingBehind)
{
    // 10 bytes that claim 2.5 GiB, then 1 GiB: neither may become a sparse file in Downloads.
    for (const quint32 claim : {0xA0000000u, 1u << 30}) {
        server.on(QStringLiteral("GET /files/claims.zip"),
                  ScriptedReply::archive(RawZip()
                                             .stored("Notes.app/Contents/Info.plist", "<plist/>")
                                             .deflated("Notes.app/Contents/MacOS/Notes", "0123456789", claim)
                                             .bytes()));
        API api;
        EXPECT_EQ(run(api.downloadApp(url("files/claims.zip"))).errorText(),
                  QStringLiteral("Could not unpack the downloaded app"));
    }
    QStringList left;
    QDirIterator it(home.downloadsFolder(), QDir::Files | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        left.append(it.fileInfo().fileName());
    }
    EXPECT_EQ(left, QStringList());
}

TEST_F(DownloadTest, DownloadThatNeverEndsFailsPastItsLimitAndLeavesNoPartialFile)
{
    QTemporaryDir temp;
    home.setEnv("TMPDIR", QFile::encodeName(temp.path()));
    server.on(QStringLiteral("GET /files/endless.dmg"), ScriptedReply::neverEnding());
    API api;
    API::Limits limits = api.limits();
    limits.downloadBytes = 5'000'000;
    api.setLimits(limits);
    EXPECT_EQ(run(api.downloadDmg(url("files/endless.dmg"), QStringLiteral("Endless"))).errorText(),
              QStringLiteral("The download was larger than 5 MB."));
    EXPECT_EQ(run(api.downloadApp(url("files/endless.dmg"))).errorText(),
              QStringLiteral("The download was larger than 5 MB."));
    EXPECT_TRUE(filesUnder(temp.path()).isEmpty())
        << filesUnder(temp.path()).join(QLatin1Char(' ')).toStdString();
    QStringList saved;
    QDirIterator it(home.downloadsFolder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        saved.append(it.next());
    EXPECT_TRUE(saved.isEmpty()) << saved.join(QLatin1Char(' ')).toStdString();
}

TEST_F(DownloadTest, DownloadMayTakeLongerThanAServiceCallWhileBytesKeepComing)
{
    // At sixty times the speed a service call may take 2 s in all; this download takes 3 s.
    server.on(QStringLiteral("GET /files/slow.dmg"), ScriptedReply::dripping(QByteArray(30, 'd'), 100));
    API api;
    api.setClockRate(60);
    const auto saved = run(api.downloadDmg(url("files/slow.dmg"), QStringLiteral("Slow")));
    ASSERT_TRUE(saved.ok()) << saved.errorText().toStdString();
    QFile image(*saved.value);
    ASSERT_TRUE(image.open(QIODevice::ReadOnly));
    EXPECT_EQ(image.readAll(), QByteArray(30, 'd'));
}

TEST_F(DownloadTest, CompressedDownloadThatCannotBeDecompressedSaysWhy)
{
    ScriptedReply broken = ScriptedReply::archive("this was never gzip");
    broken.headers.append(qMakePair(QByteArray("Content-Encoding"), QByteArray("gzip")));
    server.on(QStringLiteral("GET /files/broken.dmg"), broken);
    API api;
    EXPECT_EQ(run(api.downloadDmg(url("files/broken.dmg"), QStringLiteral("Broken"))).errorText(),
              QStringLiteral("The download could not be decompressed: its data is not valid gzip data."));
}

TEST_F(DownloadTest, DmgDownloadsTracksBusySavedAndOpensTheImage)
{
    RecordingDesktop desktop;
    API api;
    DmgDownloads downloads(&desktop);
    QSignalSpy busy(&downloads, &DmgDownloads::busyChanged);
    downloads.get(QStringLiteral("job-1"), url("files/notes.dmg"), QStringLiteral("Notes 1.0"), api);
    EXPECT_TRUE(downloads.busy().contains(QStringLiteral("job-1")));
    ASSERT_TRUE(spinUntil([&] { return downloads.busy().isEmpty(); }));
    const QString saved = downloads.saved().value(QStringLiteral("job-1"));
    EXPECT_EQ(saved, hostFolder() + QStringLiteral("/Notes 1.0.dmg"));
    EXPECT_EQ(desktop.opened, QList<QUrl>{QUrl::fromLocalFile(saved)});
    EXPECT_TRUE(downloads.error().isEmpty());
    EXPECT_EQ(busy.count(), 2);
}

TEST_F(DownloadTest, DmgDownloadsKeepsTheLastFailureUntilTheNextStart)
{
    server.on(QStringLiteral("GET /files/gone.dmg"), ScriptedReply::html(500, "x"));
    RecordingDesktop desktop;
    API api;
    DmgDownloads downloads(&desktop);
    downloads.get(QStringLiteral("k"), url("files/gone.dmg"), QStringLiteral("N"), api);
    ASSERT_TRUE(spinUntil([&] { return downloads.busy().isEmpty(); }));
    EXPECT_EQ(downloads.error(), QStringLiteral("The download failed (500)."));
    EXPECT_TRUE(downloads.saved().isEmpty());
    EXPECT_TRUE(desktop.opened.isEmpty());
    downloads.get(QStringLiteral("k"), url("files/notes.dmg"), QStringLiteral("N"), api);
    EXPECT_TRUE(downloads.error().isEmpty());
    ASSERT_TRUE(spinUntil([&] { return downloads.busy().isEmpty(); }));
    EXPECT_EQ(downloads.saved().size(), 1);
}

TEST_F(DownloadTest, DmgDownloadsIgnoresASecondGetForABusyKey)
{
    ScriptedReply slow = ScriptedReply::html(200, "DMG");
    slow.delayMs = 200;
    server.on(QStringLiteral("GET /files/slow.dmg"), slow);
    API api;
    DmgDownloads downloads(nullptr);
    downloads.get(QStringLiteral("k"), url("files/slow.dmg"), QStringLiteral("N"), api);
    downloads.get(QStringLiteral("k"), url("files/slow.dmg"), QStringLiteral("N"), api);
    downloads.get(QStringLiteral("other"), url("files/slow.dmg"), QStringLiteral("N"), api);
    EXPECT_EQ(downloads.busy().size(), 2);
    ASSERT_TRUE(spinUntil([&] { return downloads.busy().isEmpty(); }));
    EXPECT_TRUE(downloads.error().isEmpty()) << downloads.error().toStdString();
    EXPECT_EQ(server.requestsTo(QStringLiteral("/files/slow.dmg")).size(), 2);
    EXPECT_EQ(filesUnder(hostFolder()), (QStringList{QStringLiteral("N 2.dmg"), QStringLiteral("N.dmg")}));
}

namespace {

// The process's resident memory in kilobytes, from the kernel's own accounting; -1 without /proc.
qint64 residentKb()
{
    return MemoryPeak::statusKb("VmRSS:");
}

} // namespace

TEST_F(DownloadTest, LargeDiskImageStreamsToDiskWithoutGrowingMemory)
{
    constexpr qint64 size = 256 << 20;
    ScriptedReply big;
    big.contentType = "application/octet-stream";
    big.streamedSize = size;
    server.on(QStringLiteral("GET /files/big.dmg"), big);
    API api;
    const qint64 before = residentKb();
    qint64 peak = before;
    QTimer sampler;
    QObject::connect(&sampler, &QTimer::timeout, &sampler, [&peak] { peak = std::max(peak, residentKb()); });
    sampler.start(5);
    const auto path =
        run(api.downloadDmg(url("files/big.dmg"), QStringLiteral("Big")), std::chrono::seconds(120));
    sampler.stop();
    ASSERT_TRUE(path.ok()) << path.errorText().toStdString();
    EXPECT_EQ(QFileInfo(*path.value).size(), size);
    if (before < 0)
        GTEST_SKIP() << "the memory held is read from /proc, which only Linux has";
    if (!memoryIsInstrumented) {
        EXPECT_LT(peak - before, 48 * 1024) << "resident memory grew by " << (peak - before) << " kB";
    }
}
