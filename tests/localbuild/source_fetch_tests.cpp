#include "localbuild/rejected.h"
#include "localbuild/source_fetch.h"
#include "qt_printers.h"
#include "raw_zip.h"
#include "recording_server.h"
#include "service/api.h"
#include "service/api_error.h"
#include "task_runner.h"
#include "temp_home.h"
#include "text/characters.h"
#include "zip_maker.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

const QByteArray goodManifest =
    "// swift-tools-version:5.9\n"
    "import PackageDescription\n\n"
    "let package = Package(\n"
    "    name: \"App\",\n"
    "    platforms: [.macOS(.v13)],\n"
    "    targets: [\n"
    "        .executableTarget(name: \"App\", path: \"Sources/App\",\n"
    "                          swiftSettings: [.unsafeFlags([\"-parse-as-library\"])])\n"
    "    ]\n"
    ")\n";

// A source as the service writes it: a manifest, the app target and its description.
ZipMaker project(const QByteArray& manifest = goodManifest)
{
    ZipMaker zip;
    zip.file(QStringLiteral("Package.swift"), manifest)
        .directory(QStringLiteral("Sources"))
        .directory(QStringLiteral("Sources/App"))
        .file(QStringLiteral("Sources/App/App.swift"),
              "import SwiftUI\n@main struct A: App { var body: some Scene "
              "{ WindowGroup { Text(\"hi\") } } }\n")
        .file(QStringLiteral("app.json"), R"({"name":"App"})");
    return zip;
}

// Every file and folder under `root` with its size, to see that nothing outside a job folder moved.
QStringList snapshot(const QString& root, const QString& except)
{
    QStringList items;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path == except || path.startsWith(except + QLatin1Char('/')))
            continue;
        // A folder's size is the file system's business (tmpfs counts its entries): only files'.
        const QFileInfo& entry = it.fileInfo();
        items.append(path + (entry.isDir() ? QString() : QLatin1Char(' ') + QString::number(entry.size())));
    }
    items.sort();
    return items;
}

// A fetch against a scripted HTTPS server whose certificate is trusted only through
// BRIGHTLOOM_CA_FILE, in a home of its own with a sentinel folder beside the job folders.
class SourceFetch : public ::testing::Test
{
protected:
    SourceFetch() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("TMPDIR", QFile::encodeName(temp.path()));
        api = std::make_unique<API>();
        QDir().mkpath(localRoot() + QStringLiteral("/sentinel"));
        QFile keep(localRoot() + QStringLiteral("/sentinel/keep"));
        keep.open(QIODevice::WriteOnly);
        keep.write("untouched");
        keep.close();
    }

    QString localRoot() const
    {
        return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
               QStringLiteral("/Brightloom/Local");
    }
    QString jobFolder(const QString& job = QStringLiteral("job-1")) const
    {
        return localRoot() + QLatin1Char('/') + job;
    }

    QString serve(const QByteArray& archive)
    {
        return server.offer(QStringLiteral("source.zip"), ScriptedReply::archive(archive));
    }

    Outcome<QString> fetch(const QString& url, const QString& job = QStringLiteral("job-1"))
    {
        return run(LocalBuild::fetchSource(*api, url, job), std::chrono::seconds(60));
    }

    // Fetches `archive` and expects it refused with a text holding `because`, with nothing changed
    // outside the job folder and no temporary file left.
    void expectRefused(const QByteArray& archive, const QString& because)
    {
        const QStringList before = snapshot(home.path(), jobFolder());
        const auto outcome = fetch(serve(archive));
        EXPECT_TRUE(outcome.finished);
        EXPECT_FALSE(outcome.ok());
        const QString text = outcome.errorText();
        EXPECT_TRUE(text.startsWith(QLatin1String("Could not unpack the source: ")) ||
                    text.startsWith(QLatin1String("Refused to build this source: ")))
            << text.toStdString();
        EXPECT_TRUE(text.contains(because)) << text.toStdString();
        EXPECT_EQ(snapshot(home.path(), jobFolder()), before);
        EXPECT_TRUE(tempFiles().isEmpty()) << tempFiles().join(QLatin1Char(' ')).toStdString();
    }

    QStringList tempFiles() const
    {
        return QDir(temp.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    }

    TempHome home;
    QTemporaryDir temp;
    RecordingServer server;
    std::unique_ptr<API> api;
};

} // namespace

TEST_F(SourceFetch, UnpacksAVettedSourceIntoTheJobFolder)
{
    const auto outcome = fetch(serve(project().zip()));
    ASSERT_TRUE(outcome.ok()) << outcome.errorText().toStdString();
    EXPECT_EQ(*outcome.value, jobFolder());
    EXPECT_TRUE(QFileInfo(jobFolder() + QStringLiteral("/Sources/App/App.swift")).isFile());
    QFile manifest(jobFolder() + QStringLiteral("/Package.swift"));
    ASSERT_TRUE(manifest.open(QIODevice::ReadOnly));
    EXPECT_EQ(manifest.readAll(), goodManifest);
    EXPECT_TRUE(tempFiles().isEmpty());
    ASSERT_EQ(server.requestsTo(QStringLiteral("/source.zip")).size(), 1);
    EXPECT_EQ(server.requestsTo(QStringLiteral("/source.zip")).front().method, QByteArray("GET"));
}

TEST_F(SourceFetch, EachFetchStartsFromAnEmptyFolder)
{
    QDir().mkpath(jobFolder() + QStringLiteral("/old"));
    QFile stale(jobFolder() + QStringLiteral("/old/stale.swift"));
    ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    stale.close();
    const auto outcome = fetch(serve(project().zip()));
    ASSERT_TRUE(outcome.ok()) << outcome.errorText().toStdString();
    EXPECT_FALSE(QFileInfo::exists(jobFolder() + QStringLiteral("/old")));
}

TEST_F(SourceFetch, HttpAddressIsRefusedBeforeAnyDownload)
{
    QString url = serve(project().zip());
    url.replace(QStringLiteral("https:"), QStringLiteral("http:"));
    const auto outcome = fetch(url);
    EXPECT_EQ(outcome.errorText(), QStringLiteral("Bad source URL"));
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(jobFolder()));
}

TEST_F(SourceFetch, SchemeIsComparedAsWritten)
{
    QString url = serve(project().zip());
    url.replace(QStringLiteral("https:"), QStringLiteral("HTTPS:"));
    EXPECT_EQ(fetch(url).errorText(), QStringLiteral("Bad source URL"));
    EXPECT_EQ(fetch(QStringLiteral("not a url at all")).errorText(), QStringLiteral("Bad source URL"));
    EXPECT_EQ(fetch(QString()).errorText(), QStringLiteral("Bad source URL"));
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(SourceFetch, JobIdThatIsNotOnePlainFolderNameIsRefusedBeforeAnythingIsWritten)
{
    const QString url = serve(project().zip());
    const QStringList before = snapshot(home.path(), QStringLiteral("/nothing"));
    for (const QString& job :
         QStringList{QString(), QStringLiteral("."), QStringLiteral(".."), QStringLiteral("a/b"),
                     QStringLiteral("../sentinel"), QStringLiteral("/etc"), QStringLiteral("a\\b"),
                     QStringLiteral("a") + QChar(0) + QStringLiteral("b")}) {
        const auto outcome = fetch(url, job);
        EXPECT_FALSE(outcome.ok()) << job.toStdString();
        ASSERT_TRUE(outcome.error);
        EXPECT_THROW(std::rethrow_exception(outcome.error), APIError);
        EXPECT_EQ(outcome.errorText(), QStringLiteral("Bad job id"));
    }
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_EQ(snapshot(home.path(), QStringLiteral("/nothing")), before);
}

TEST_F(SourceFetch, TransferFailurePropagatesAndLeavesNoTemporaryFile)
{
    ScriptedReply reply;
    reply.body = project().zip();
    reply.contentType = "application/zip";
    reply.cutShort = true;
    server.on(QStringLiteral("/source.zip"), reply);
    const auto outcome = fetch(server.baseUrl().toString() + QStringLiteral("source.zip"));
    ASSERT_TRUE(outcome.error);
    EXPECT_THROW(std::rethrow_exception(outcome.error), TransportError);
    EXPECT_TRUE(tempFiles().isEmpty());
}

TEST_F(SourceFetch, ErrorPageInsteadOfAnArchiveCannotBeUnpacked)
{
    server.on(QStringLiteral("/source.zip"), ScriptedReply::html(404, "<html>Not found</html>"));
    const auto outcome = fetch(server.baseUrl().toString() + QStringLiteral("source.zip"));
    ASSERT_TRUE(outcome.error);
    EXPECT_THROW(std::rethrow_exception(outcome.error), APIError);
    const QString prefix = QStringLiteral("Could not unpack the source: ");
    EXPECT_TRUE(outcome.errorText().startsWith(prefix)) << outcome.errorText().toStdString();
    EXPECT_LE(outcome.errorText().size(), prefix.size() + 300);
    EXPECT_TRUE(tempFiles().isEmpty());
}

TEST_F(SourceFetch, SymbolicLinkPointingInsideIsRefused)
{
    const auto outcome = fetch(serve(
        project().symlink(QStringLiteral("Sources/App/Link.swift"), QStringLiteral("App.swift")).zip()));
    ASSERT_TRUE(outcome.error);
    EXPECT_THROW(std::rethrow_exception(outcome.error), LocalBuild::Rejected);
    EXPECT_EQ(outcome.errorText(),
              QStringLiteral("Refused to build this source: the zip contains a symbolic link"));
    // A refused source stays on disk as it was unpacked.
    EXPECT_TRUE(QFileInfo(jobFolder() + QStringLiteral("/Package.swift")).isFile());
    EXPECT_TRUE(tempFiles().isEmpty());
}

TEST_F(SourceFetch, ManifestBreakingARuleIsRefused)
{
    const auto outcome = fetch(serve(project("import PackageDescription\nimport Foundation\n").zip()));
    EXPECT_EQ(outcome.errorText(),
              QStringLiteral("Refused to build this source: Package.swift imports something "
                             "other than PackageDescription"));
}

TEST_F(SourceFetch, ImportWithAnAttributeOrATabBeforeTheModuleIsRefused)
{
    QByteArray attributed = goodManifest;
    attributed.replace("import PackageDescription\n",
                       "import PackageDescription\n@preconcurrency import Foundation\n");
    QByteArray tabbed = goodManifest;
    tabbed.replace("import PackageDescription\n", "import PackageDescription\nimport\tFoundation\n");
    ASSERT_NE(attributed, goodManifest);
    ASSERT_NE(tabbed, goodManifest);
    for (const QByteArray& manifest : {attributed, tabbed}) {
        const auto outcome = fetch(serve(project(manifest).zip()));
        ASSERT_TRUE(outcome.error) << manifest.toStdString();
        EXPECT_THROW(std::rethrow_exception(outcome.error), LocalBuild::Rejected);
        EXPECT_EQ(outcome.errorText(),
                  QStringLiteral("Refused to build this source: Package.swift imports something "
                                 "other than PackageDescription"))
            << manifest.toStdString();
        QFile unpacked(jobFolder() + QStringLiteral("/Package.swift"));
        ASSERT_TRUE(unpacked.open(QIODevice::ReadOnly));
        EXPECT_EQ(unpacked.readAll(), manifest) << "the refused manifest is the one served";
    }
}

TEST_F(SourceFetch, MissingAppTargetIsRefused)
{
    ZipMaker zip;
    zip.file(QStringLiteral("Package.swift"), goodManifest)
        .file(QStringLiteral("Sources/Other/main.swift"), "");
    EXPECT_EQ(fetch(serve(zip.zip())).errorText(),
              QStringLiteral("Refused to build this source: Sources/App is missing"));
}

TEST_F(SourceFetch, MissingManifestIsAReadError)
{
    ZipMaker zip;
    zip.file(QStringLiteral("Sources/App/App.swift"), "");
    const auto outcome = fetch(serve(zip.zip()));
    ASSERT_TRUE(outcome.error);
    EXPECT_THROW(std::rethrow_exception(outcome.error), FileError);
    EXPECT_TRUE(outcome.errorText().startsWith(QLatin1String("Could not read Package.swift")));
}

TEST_F(SourceFetch, ManifestThatIsNotUtf8IsAReadError)
{
    const auto outcome = fetch(serve(project("import PackageDescription\n// \xff\xfe\n").zip()));
    ASSERT_TRUE(outcome.error);
    EXPECT_THROW(std::rethrow_exception(outcome.error), FileError);
}

TEST_F(SourceFetch, SetUserIdBitsAreStrippedNotKept)
{
    const auto outcome = fetch(serve(project().file(QStringLiteral("tool"), "#!/bin/sh\n", 06755).zip()));
    ASSERT_TRUE(outcome.ok()) << outcome.errorText().toStdString();
    struct stat st
    {};
    ASSERT_EQ(::stat(QFile::encodeName(jobFolder() + QStringLiteral("/tool")).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0755u);
}

// --- hostile archives: each refused with a clear text, nothing written beside the job folder ---

TEST_F(SourceFetch, NamesClimbingOutAreRefused)
{
    expectRefused(project().file(QStringLiteral("../x"), "evil").zip(),
                  QStringLiteral("leads outside the folder"));
    expectRefused(project().file(QStringLiteral("a/../../x"), "evil").zip(),
                  QStringLiteral("leads outside the folder"));
}

TEST_F(SourceFetch, RefusalQuotesALongEntryNameByItsFirstHundredAndTwentyCharactersWhole)
{
    // Folders named with emoji and a letter whose accent has no precomposed form, so it stays a
    // combining mark whatever form the names take in the archive: apart from the slashes no
    // character of the name is one code unit, and the quote stops between two of them. Cut to its
    // first 120 characters, the name leaves the refusal well inside the 300 characters quoted of it.
    QStringList characters;
    for (int folder = 0; folder < 6; ++folder) {
        if (folder > 0)
            characters.append(QStringLiteral("/"));
        for (int i = 0; i < 25; ++i)
            characters.append(i % 2 ? QStringLiteral("g\u0303") : QStringLiteral("\U0001F44D\U0001F3FD"));
    }
    const QString folders = characters.join(QString());
    const auto outcome = fetch(serve(project().file(folders + QStringLiteral("/../x"), "evil").zip()));
    ASSERT_TRUE(outcome.error);
    const QString shown = characters.mid(0, 120).join(QString());
    const QString expected = QStringLiteral("Could not unpack the source: the entry \"") + shown +
                             QStringLiteral("\u2026\" leads outside the folder");
    EXPECT_EQ(outcome.errorText(), expected) << outcome.errorText().toStdString();
    EXPECT_EQ(text::characterCount(shown), 120);
    EXPECT_GT(shown.size(), 120 * 2);
}

TEST_F(SourceFetch, AbsoluteAndDriveNamesAreRefused)
{
    expectRefused(project().file(QStringLiteral("/etc/x"), "evil").zip(),
                  QStringLiteral("has an absolute path"));
    expectRefused(project().file(QStringLiteral("//x"), "evil").zip(),
                  QStringLiteral("has an absolute path"));
    expectRefused(project().file(QStringLiteral("C:/x"), "evil").zip(), QStringLiteral("has a drive letter"));
}

TEST_F(SourceFetch, BackslashNamesAreRefused)
{
    // Whether the reader turns backslashes into slashes first depends on the archive's maker.
    expectRefused(RawZip().stored("Package.swift", goodManifest).stored("..\\..\\x", "evil").bytes(),
                  QStringLiteral("the entry"));
}

TEST_F(SourceFetch, SymbolicLinkPointingOutsideIsRefused)
{
    expectRefused(project().symlink(QStringLiteral("escape"), QStringLiteral("../../..")).zip(),
                  QStringLiteral("the zip contains a symbolic link"));
    EXPECT_TRUE(QFileInfo(localRoot() + QStringLiteral("/sentinel/keep")).isFile());
}

TEST_F(SourceFetch, SymbolicLinkWhoseTargetDoesNotExistIsRefused)
{
    // A dangling link is seen only by a scan that lists system entries as well as files and folders.
    const auto outcome = fetch(serve(
        project().symlink(QStringLiteral("Sources/App/Gone.swift"), QStringLiteral("Nowhere.swift")).zip()));
    ASSERT_TRUE(outcome.error);
    EXPECT_THROW(std::rethrow_exception(outcome.error), LocalBuild::Rejected);
    EXPECT_EQ(outcome.errorText(),
              QStringLiteral("Refused to build this source: the zip contains a symbolic link"));
    EXPECT_TRUE(QFileInfo(jobFolder() + QStringLiteral("/Sources/App/Gone.swift")).isSymLink());
    EXPECT_FALSE(QFileInfo::exists(jobFolder() + QStringLiteral("/Sources/App/Gone.swift")))
        << "the link leads nowhere";
}

TEST_F(SourceFetch, WritingThroughALinkToTheParentIsRefused)
{
    expectRefused(project()
                      .symlink(QStringLiteral("d"), QStringLiteral(".."))
                      .file(QStringLiteral("d/x"), "evil")
                      .zip(),
                  QStringLiteral("would be written through a symbolic link"));
    EXPECT_FALSE(QFileInfo::exists(localRoot() + QStringLiteral("/x")));
}

TEST_F(SourceFetch, HardLinkToAFileOutsideNeverLinksIt)
{
    const QString outside = localRoot() + QStringLiteral("/sentinel/keep");
    // Zip cannot hold a hard link: at most an empty file of that name comes out.
    const auto zipped = fetch(serve(project().hardlink(QStringLiteral("h"), outside).zip()));
    struct stat st
    {};
    ASSERT_EQ(::stat(QFile::encodeName(outside).constData(), &st), 0);
    EXPECT_EQ(st.st_nlink, 1u);
    if (zipped.ok()) {
        EXPECT_EQ(QFileInfo(jobFolder() + QStringLiteral("/h")).size(), 0);
    }
    // A tar, which can, is not a zip at all.
    expectRefused(project().hardlink(QStringLiteral("h"), QStringLiteral("../sentinel/keep")).tar(),
                  QString());
}

TEST_F(SourceFetch, PipeAndDeviceEntriesAreRefused)
{
    for (const quint32 mode : {0010644u, 0020644u, 0060644u, 0140644u})
        expectRefused(RawZip().stored("Package.swift", goodManifest).stored("node", "").mode(mode).bytes(),
                      QStringLiteral("is neither a file, a folder nor a link"));
}

TEST_F(SourceFetch, SameNameTwiceIsRefused)
{
    expectRefused(project().file(QStringLiteral("a"), "1").file(QStringLiteral("a"), "2").zip(),
                  QStringLiteral("twice"));
    expectRefused(project().file(QStringLiteral("a"), "1").directory(QStringLiteral("a")).zip(),
                  QStringLiteral("twice"));
}

TEST_F(SourceFetch, EntryInflatingPastItsDeclaredSizeIsRefused)
{
    expectRefused(RawZip()
                      .stored("Package.swift", goodManifest)
                      .deflated("bomb", QByteArray(8'000'000, '\0'), 1000)
                      .bytes(),
                  QStringLiteral("bomb"));
}

TEST_F(SourceFetch, EntryClaimingGigabytesItDoesNotHoldIsRefusedAndLeavesNothingBig)
{
    // 2.5 GiB claimed by an entry of 10 bytes; then 1 GiB, within the limit, where only the data tells.
    const QList<QPair<quint32, QString>> claims = {
        {0xA0000000u, QStringLiteral("the archive unpacks to more than 2147 MB")},
        {1u << 30, QStringLiteral("the entry \"big\" unpacks to less than its header says")},
    };
    for (const auto& [claim, because] : claims) {
        const QByteArray archive = RawZip()
                                       .stored("Package.swift", goodManifest)
                                       .stored("Sources/App/App.swift", "print(1)\n")
                                       .deflated("big", "0123456789", claim)
                                       .bytes();
        ASSERT_LT(archive.size(), 1000);
        expectRefused(archive, because);
        EXPECT_EQ(snapshot(jobFolder(), QString()), QStringList()) << "nothing of the source is left";
    }
}

TEST_F(SourceFetch, EntriesSharingTheirDataAreRefused)
{
    QList<QByteArray> names;
    for (int i = 0; i < 50; ++i)
        names.append("copy" + QByteArray::number(i));
    expectRefused(RawZip()
                      .stored("Package.swift", goodManifest)
                      .deflated("big", QByteArray(1'000'000, 'z'))
                      .sharing(1, names)
                      .bytes(),
                  QStringLiteral("the archive's entries overlap"));
}

TEST_F(SourceFetch, TwoHundredThousandEntriesAreRefusedQuickly)
{
    RawZip many;
    many.stored("Package.swift", goodManifest);
    for (int i = 0; i < 200'000; ++i)
        many.stored("f/" + QByteArray::number(i), "x");
    QElapsedTimer clock;
    clock.start();
    expectRefused(many.bytes(), QStringLiteral("the archive holds more than 100000 entries"));
    EXPECT_LT(clock.elapsed(), 10'000);
}

TEST_F(SourceFetch, BadlyNamedEntriesAreRefused)
{
    expectRefused(RawZip().stored("Package.swift", goodManifest).stored("bad\xff\xfe", "x").bytes(),
                  QStringLiteral("not valid UTF-8"));
    expectRefused(
        RawZip().stored("Package.swift", goodManifest).stored(QByteArray("a\0/../../x", 10), "x").bytes(),
        QStringLiteral("NUL"));
    expectRefused(project().file(QString(4096, QLatin1Char('n')), "x").zip(), QStringLiteral("too long"));
}

TEST_F(SourceFetch, EncryptedEntryIsRefused)
{
    expectRefused(project().file(QStringLiteral("secret"), "x").encryptedZip("pw"),
                  QStringLiteral("encrypted"));
}

TEST_F(SourceFetch, TarOrSevenZipNamedZipIsRefused)
{
    expectRefused(project().tar(), QString());
    expectRefused(project().sevenZip(), QString());
}

TEST_F(SourceFetch, ArchiveCutShortAtRandomOffsetsIsRefused)
{
    const QByteArray whole =
        project().file(QStringLiteral("Sources/App/Big.swift"), QByteArray(20'000, 'q')).zip();
    QRandomGenerator random(20261123);
    for (int i = 0; i < 12; ++i) {
        const qsizetype cut = qsizetype(random.bounded(quint32(whole.size() - 1)));
        SCOPED_TRACE(cut);
        expectRefused(whole.left(cut), QString());
    }
}
