#include "archive/zip_extraction.h"
#include "qt_printers.h"
#include "raw_zip.h"
#include "task_runner.h"
#include "zip_maker.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// Rewrites the Unix mode of every entry in the central directory, to make entry types no zip tool
// writes (pipes, devices).
QByteArray withMode(QByteArray zip, quint32 mode)
{
    for (qsizetype at = zip.indexOf("PK\x01\x02"); at >= 0; at = zip.indexOf("PK\x01\x02", at + 4)) {
        const quint32 attributes = mode << 16;
        for (int i = 0; i < 4; ++i)
            zip[at + 38 + i] = char((attributes >> (8 * i)) & 0xff);
        zip[at + 5] = 3; // made on Unix, so the mode is read
    }
    return zip;
}

// A job folder with a sentinel folder beside it; nothing may ever appear outside the job folder.
class Unpack : public ::testing::Test
{
protected:
    Unpack()
    {
        QDir(dir.path()).mkpath(QStringLiteral("job"));
        QDir(dir.path()).mkpath(QStringLiteral("sentinel"));
    }

    zip::Result unpack(const QByteArray& archive, zip::Limits limits = {})
    {
        const QString path = dir.filePath(QStringLiteral("archive.zip"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(archive);
        file.close();
        const auto result = zip::extract(path, job(), limits);
        QFile::remove(path);
        return result;
    }

    QString job() const { return dir.filePath(QStringLiteral("job")); }

    // Everything in the job folder, with the sizes a reader sees (holes of sparse files included).
    QStringList jobContents() const
    {
        QStringList found;
        QDirIterator it(job(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            found.append(QDir(job()).relativeFilePath(path) + QLatin1Char(' ') +
                         QString::number(it.fileInfo().size()));
        }
        found.sort();
        return found;
    }

    QStringList outsideJob() const
    {
        QStringList found;
        QDirIterator it(dir.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (path != job() && !path.startsWith(job() + QLatin1Char('/')) &&
                !path.endsWith(QLatin1String("/sentinel")) && !allowed.contains(path))
                found.append(path);
        }
        return found;
    }

    void expectRefused(const QByteArray& archive, const QString& because)
    {
        const auto result = unpack(archive);
        EXPECT_FALSE(result.ok);
        EXPECT_TRUE(result.error.contains(because)) << result.error.toStdString();
        EXPECT_TRUE(outsideJob().isEmpty()) << outsideJob().join(QLatin1Char(' ')).toStdString();
    }

    QTemporaryDir dir;
    QStringList allowed; // files the test itself put outside the job folder
};

} // namespace

TEST_F(Unpack, KeepsPathsContentsAndExecutableBits)
{
    const auto result = unpack(ZipMaker()
                                   .directory(QStringLiteral("Sources/App"))
                                   .file(QStringLiteral("Sources/App/App.swift"), "print(1)")
                                   .file(QStringLiteral("run.sh"), "#!/bin/sh", 0755)
                                   .file(QStringLiteral("deep/er/still/x.txt"), "x")
                                   .zip());
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    EXPECT_EQ(result.entries, 4);
    QFile swift(job() + QStringLiteral("/Sources/App/App.swift"));
    ASSERT_TRUE(swift.open(QIODevice::ReadOnly));
    EXPECT_EQ(swift.readAll(), QByteArray("print(1)"));
    EXPECT_TRUE(QFileInfo(job() + QStringLiteral("/run.sh")).isExecutable());
    EXPECT_FALSE(QFileInfo(job() + QStringLiteral("/Sources/App/App.swift")).isExecutable());
    EXPECT_TRUE(QFileInfo::exists(job() + QStringLiteral("/deep/er/still/x.txt")));
}

TEST_F(Unpack, RefusesNamesThatClimbOutOfTheFolder)
{
    expectRefused(ZipMaker().file(QStringLiteral("../x"), "evil").zip(),
                  QStringLiteral("leads outside the folder"));
    expectRefused(ZipMaker().file(QStringLiteral("a/../../x"), "evil").zip(),
                  QStringLiteral("leads outside the folder"));
    expectRefused(ZipMaker().file(QStringLiteral("a/.."), "evil").zip(),
                  QStringLiteral("leads outside the folder"));
}

TEST_F(Unpack, RefusesAbsoluteAndDriveNames)
{
    expectRefused(ZipMaker().file(QStringLiteral("/etc/x"), "evil").zip(),
                  QStringLiteral("has an absolute path"));
    expectRefused(ZipMaker().file(QStringLiteral("//x"), "evil").zip(),
                  QStringLiteral("has an absolute path"));
    expectRefused(ZipMaker().file(QStringLiteral("C:/x"), "evil").zip(),
                  QStringLiteral("has a drive letter"));
    // Depending on who made the archive, the reader turns backslashes into slashes first.
    const auto backslashes = unpack(ZipMaker().file(QStringLiteral("..\\..\\x"), "evil").zip());
    EXPECT_FALSE(backslashes.ok);
    EXPECT_TRUE(backslashes.error.contains(QStringLiteral("backslash")) ||
                backslashes.error.contains(QStringLiteral("leads outside the folder")))
        << backslashes.error.toStdString();
    EXPECT_TRUE(outsideJob().isEmpty());
}

TEST_F(Unpack, KeepsALinkButNeverWritesThroughIt)
{
    const auto inside = unpack(ZipMaker()
                                   .file(QStringLiteral("a.txt"), "a")
                                   .symlink(QStringLiteral("b"), QStringLiteral("a.txt"))
                                   .zip());
    ASSERT_TRUE(inside.ok) << inside.error.toStdString();
    EXPECT_TRUE(QFileInfo(job() + QStringLiteral("/b")).isSymLink());
    QDir(job()).removeRecursively();
    QDir().mkpath(job());

    expectRefused(ZipMaker()
                      .symlink(QStringLiteral("d"), QStringLiteral(".."))
                      .file(QStringLiteral("d/x"), "evil")
                      .zip(),
                  QStringLiteral("would be written through a symbolic link"));
    QDir(job()).removeRecursively();
    QDir().mkpath(job());
    expectRefused(ZipMaker()
                      .symlink(QStringLiteral("out"), dir.filePath(QStringLiteral("sentinel")))
                      .file(QStringLiteral("out/x"), "evil")
                      .zip(),
                  QStringLiteral("would be written through a symbolic link"));
}

TEST_F(Unpack, LinkPointingOutsideIsCreatedAsALinkOnly)
{
    const auto result =
        unpack(ZipMaker().symlink(QStringLiteral("escape"), QStringLiteral("../../..")).zip());
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    EXPECT_TRUE(QFileInfo(job() + QStringLiteral("/escape")).isSymLink());
    EXPECT_TRUE(outsideJob().isEmpty());
}

TEST_F(Unpack, HardLinkToAFileOutsideNeverBecomesALink)
{
    QFile target(dir.filePath(QStringLiteral("sentinel/x")));
    ASSERT_TRUE(target.open(QIODevice::WriteOnly));
    target.write("secret");
    target.close();
    allowed.append(target.fileName());
    // Zip has no hard links: at most an empty file of that name comes out, never a second name for x.
    const auto result =
        unpack(ZipMaker().hardlink(QStringLiteral("h"), QStringLiteral("../sentinel/x")).zip());
    struct stat st
    {};
    ASSERT_EQ(::stat(QFile::encodeName(target.fileName()).constData(), &st), 0);
    EXPECT_EQ(st.st_nlink, 1u);
    if (result.ok) {
        EXPECT_EQ(QFileInfo(job() + QStringLiteral("/h")).size(), 0);
    }
    expectRefused(ZipMaker().hardlink(QStringLiteral("h"), QStringLiteral("../sentinel/x")).tar(), QString());
}

TEST_F(Unpack, EntryMarkedAsAPipeOrDeviceNeverBecomesOne)
{
    // The zip reader turns such entries into plain files; the unpacker would refuse them otherwise.
    for (const quint32 mode : {0010644u, 0020644u, 0060644u}) {
        QDir(job()).removeRecursively();
        QDir().mkpath(job());
        const auto result = unpack(withMode(ZipMaker().file(QStringLiteral("node"), "").zip(), mode));
        struct stat st
        {};
        if (::lstat(QFile::encodeName(job() + QStringLiteral("/node")).constData(), &st) == 0) {
            EXPECT_TRUE(S_ISREG(st.st_mode)) << std::oct << mode;
        } else {
            EXPECT_FALSE(result.ok);
        }
    }
}

TEST_F(Unpack, StripsSetUserIdBits)
{
    const auto result = unpack(ZipMaker().file(QStringLiteral("tool"), "x", 06755).zip());
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    struct stat st
    {};
    ASSERT_EQ(::stat(QFile::encodeName(job() + QStringLiteral("/tool")).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0755u);
}

TEST_F(Unpack, RefusesTheSameNameTwice)
{
    expectRefused(ZipMaker().file(QStringLiteral("a"), "1").file(QStringLiteral("a"), "2").zip(),
                  QStringLiteral("twice"));
    QDir(job()).removeRecursively();
    QDir().mkpath(job());
    expectRefused(ZipMaker().file(QStringLiteral("a"), "1").directory(QStringLiteral("a")).zip(),
                  QStringLiteral("twice"));
    QDir(job()).removeRecursively();
    QDir().mkpath(job());
    expectRefused(ZipMaker().file(QStringLiteral("a"), "1").file(QStringLiteral("a/b"), "2").zip(),
                  QStringLiteral("would be written inside a file"));
}

TEST_F(Unpack, AcceptsAFolderNamedAfterItsFilesWereWritten)
{
    const auto result =
        unpack(ZipMaker().file(QStringLiteral("a/b.txt"), "1").directory(QStringLiteral("a")).zip());
    EXPECT_TRUE(result.ok) << result.error.toStdString();
}

TEST_F(Unpack, StopsAtTheEntryLimit)
{
    ZipMaker many;
    for (int i = 0; i < 60; ++i)
        many.file(QStringLiteral("f%1").arg(i), "x");
    zip::Limits limits;
    limits.maxEntries = 50;
    const auto result = unpack(many.zip(), limits);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, QStringLiteral("the archive holds more than 50 entries"));
}

TEST_F(Unpack, StopsAtTheSizeLimit)
{
    zip::Limits limits;
    limits.maxBytes = 1'000'000;
    const auto result =
        unpack(ZipMaker().file(QStringLiteral("big"), QByteArray(2'000'000, 'a')).zip(), limits);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, QStringLiteral("the archive unpacks to more than 1 MB"));
}

TEST_F(Unpack, RefusesNamesThatAreNotUtf8OrTooLong)
{
    expectRefused(ZipMaker().rawFile(QByteArray("bad\xff\xfe"), "x").zip(), QString());
    expectRefused(ZipMaker().file(QString(4096, QLatin1Char('n')), "x").zip(), QStringLiteral("too long"));
}

TEST_F(Unpack, RefusesNamesHoldingControlCharacters)
{
    for (const QString& name :
         {QStringLiteral("Evil\nApp.app/x"), QStringLiteral("a\rb"), QStringLiteral("t\x1b]0;owned\x07"),
          QString::fromUtf16(u"c1\x9b"
                             u"31m"),
          QString::fromUtf16(u"del\x7f")})
        expectRefused(ZipMaker().file(name, "x").zip(),
                      QStringLiteral("an entry's name holds a control character"));
}

TEST_F(Unpack, RefusesEncryptedEntries)
{
    expectRefused(ZipMaker().file(QStringLiteral("secret"), "x").encryptedZip("pw"),
                  QStringLiteral("encrypted"));
}

TEST_F(Unpack, RefusesOtherArchiveFormatsNamedZip)
{
    expectRefused(ZipMaker().file(QStringLiteral("a"), "x").tar(), QString());
    expectRefused(ZipMaker().file(QStringLiteral("a"), "x").sevenZip(), QString());
    expectRefused("<html>not found</html>", QString());
}

TEST_F(Unpack, ArchiveCutShortAnywhereFailsCleanly)
{
    const QByteArray whole = ZipMaker()
                                 .file(QStringLiteral("a.txt"), QByteArray(5000, 'a'))
                                 .file(QStringLiteral("b/c.txt"), QByteArray(7000, 'c'))
                                 .zip();
    for (qsizetype cut = 0; cut < whole.size(); cut += 97) {
        QDir(job()).removeRecursively();
        QDir().mkpath(job());
        const auto result = unpack(whole.left(cut));
        EXPECT_FALSE(result.ok) << cut;
        EXPECT_FALSE(result.error.isEmpty());
    }
    EXPECT_TRUE(outsideJob().isEmpty());
}

TEST_F(Unpack, MissingTargetFolderIsReported)
{
    QDir(job()).removeRecursively();
    const auto result = unpack(ZipMaker().file(QStringLiteral("a"), "x").zip());
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, QStringLiteral("the folder to unpack into does not exist"));
}

TEST_F(Unpack, RunsOnThePoolAndResumesOnTheCaller)
{
    const QString path = dir.filePath(QStringLiteral("a.zip"));
    ASSERT_TRUE(ZipMaker().file(QStringLiteral("a"), "x").writeZip(path));
    const auto result = run(zip::extractInBackground(path, job()));
    ASSERT_TRUE(result.ok());
    EXPECT_TRUE(result.value->ok);
}

// 2.5 GiB, as the entry of a 608-byte archive claimed that held 10 bytes.
constexpr quint32 twoAndAHalfGiB = 0xA0000000u;

TEST_F(Unpack, EntryClaimingGigabytesPastTheLimitIsRefusedBeforeAnythingIsWritten)
{
    const QByteArray archive = RawZip()
                                   .stored("first.txt", "written first if anything were")
                                   .deflated("big", "0123456789", twoAndAHalfGiB)
                                   .bytes();
    ASSERT_LT(archive.size(), 1000);
    const auto result = unpack(archive);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, QStringLiteral("the archive unpacks to more than 2147 MB"));
    EXPECT_EQ(jobContents(), QStringList());
}

TEST_F(Unpack, EntryHoldingLessThanItClaimsIsRefusedWithoutASparseFile)
{
    // 1 GiB claimed, within the limit: only the data can tell.
    const auto result = unpack(RawZip().deflated("big", "0123456789", 1u << 30).bytes());
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, QStringLiteral("the entry \"big\" unpacks to less than its header says"));
    EXPECT_EQ(jobContents(), QStringList());
}

TEST_F(Unpack, ClaimedSizesAreAddedUpAgainstTheLimitBeforeAnythingIsWritten)
{
    zip::Limits limits;
    limits.maxBytes = 1'000'000;
    const QByteArray part(600'000, 'p');
    const auto result =
        unpack(RawZip().stored("a.txt", "small").deflated("b", part).deflated("c", part).bytes(), limits);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, QStringLiteral("the archive unpacks to more than 1 MB"));
    EXPECT_EQ(jobContents(), QStringList()) << "not even the small file that came first";
}

TEST_F(Unpack, RefusalForSizeTakesBackWhatItWroteAndNothingElse)
{
    QFile before(job() + QStringLiteral("/before.txt"));
    ASSERT_TRUE(before.open(QIODevice::WriteOnly));
    before.write("there before");
    before.close();
    zip::Limits limits;
    limits.maxBytes = 4'000'000;
    const auto result = unpack(RawZip()
                                   .stored("keep/a.txt", QByteArray(500'000, 'a'))
                                   .deflated("bomb", QByteArray(8'000'000, '\0'), 1000)
                                   .bytes(),
                               limits);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, QStringLiteral("the entry \"bomb\" unpacks to more than its header says"));
    EXPECT_EQ(jobContents(), QStringList() << QStringLiteral("before.txt 12"));
}

TEST_F(Unpack, ArchiveWhoseSizesHoldUnpacksWholeAndCountsItsBytes)
{
    const auto result = unpack(
        RawZip().stored("a.txt", QByteArray(1000, 'a')).deflated("b.txt", QByteArray(3000, 'b')).bytes());
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    EXPECT_EQ(result.bytes, 4000);
    EXPECT_EQ(jobContents(), QStringList() << QStringLiteral("a.txt 1000") << QStringLiteral("b.txt 3000"));
}
