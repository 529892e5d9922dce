#include "service/move_without_replacing.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace brightloom;

namespace {

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A second folder on another file system when the machine has one (a memory-backed /dev/shm), so
// that the copying way is taken too.
QString otherFileSystem()
{
    return QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm") : QString();
}

} // namespace

TEST(MoveWithoutReplacing, FreeNameTakesTheFileAndLeavesNothingBehind)
{
    QTemporaryDir dir;
    write(dir.filePath(QStringLiteral("part")), "image");
    EXPECT_EQ(
        moveWithoutReplacing(dir.filePath(QStringLiteral("part")), dir.filePath(QStringLiteral("N.dmg"))),
        MoveOutcome::moved);
    EXPECT_EQ(read(dir.filePath(QStringLiteral("N.dmg"))), "image");
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("part"))));
}

TEST(MoveWithoutReplacing, FileAlreadyThereIsNeverReplacedAndTheSourceStays)
{
    QTemporaryDir dir;
    write(dir.filePath(QStringLiteral("part")), "second");
    write(dir.filePath(QStringLiteral("N.dmg")), "first");
    EXPECT_EQ(
        moveWithoutReplacing(dir.filePath(QStringLiteral("part")), dir.filePath(QStringLiteral("N.dmg"))),
        MoveOutcome::taken);
    EXPECT_EQ(read(dir.filePath(QStringLiteral("N.dmg"))), "first");
    EXPECT_EQ(read(dir.filePath(QStringLiteral("part"))), "second");
}

TEST(MoveWithoutReplacing, LinkAtTheNameCountsAsTakenEvenWhenItLeadsNowhere)
{
    QTemporaryDir dir;
    write(dir.filePath(QStringLiteral("part")), "image");
    ASSERT_TRUE(QFile::link(dir.filePath(QStringLiteral("nowhere")), dir.filePath(QStringLiteral("N.dmg"))));
    EXPECT_EQ(
        moveWithoutReplacing(dir.filePath(QStringLiteral("part")), dir.filePath(QStringLiteral("N.dmg"))),
        MoveOutcome::taken);
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("nowhere"))));
}

TEST(MoveWithoutReplacing, AcrossFileSystemsTheCopyNeverReplacesAFileEither)
{
    const QString other = otherFileSystem();
    if (other.isEmpty())
        GTEST_SKIP() << "no second file system here";
    QTemporaryDir dir;
    QTemporaryDir away(other + QStringLiteral("/brightloom-move-XXXXXX"));
    ASSERT_TRUE(away.isValid());
    write(away.filePath(QStringLiteral("part")), QByteArray(3 << 20, 'x'));
    write(dir.filePath(QStringLiteral("N.dmg")), "first");
    EXPECT_EQ(
        moveWithoutReplacing(away.filePath(QStringLiteral("part")), dir.filePath(QStringLiteral("N.dmg"))),
        MoveOutcome::taken);
    EXPECT_EQ(read(dir.filePath(QStringLiteral("N.dmg"))), "first");

    EXPECT_EQ(
        moveWithoutReplacing(away.filePath(QStringLiteral("part")), dir.filePath(QStringLiteral("N 2.dmg"))),
        MoveOutcome::moved);
    EXPECT_EQ(read(dir.filePath(QStringLiteral("N 2.dmg"))), QByteArray(3 << 20, 'x'));
    EXPECT_FALSE(QFile::exists(away.filePath(QStringLiteral("part"))));
}
