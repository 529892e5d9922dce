#include "archive/zip_extraction.h"
#include "raw_zip.h"
#include "task_runner.h"
#include "tick_watch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// `megabytes` stored files of 1 MB each, each different so no file system can share their blocks.
QString writeLargeArchive(const QString& path, int megabytes)
{
    QRandomGenerator random(150);
    QByteArray block(1 << 20, Qt::Uninitialized);
    random.fillRange(reinterpret_cast<quint32*>(block.data()), block.size() / 4);
    RawZip zip;
    for (int i = 0; i < megabytes; ++i) {
        block[0] = char(i);
        zip.stored("data/part" + QByteArray::number(i), block);
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(zip.bytes()) < qint64(megabytes) * (1 << 20))
        return {};
    return path;
}

} // namespace

TEST(LargeUnpack, MainThreadKeepsTickingWhileOneHundredFiftyMegabytesUnpack)
{
    QTemporaryDir dir;
    const QString archive = writeLargeArchive(dir.filePath(QStringLiteral("big.zip")), 150);
    ASSERT_FALSE(archive.isEmpty());
    const QString target = dir.filePath(QStringLiteral("out"));
    ASSERT_TRUE(QDir().mkpath(target));

    TickWatch ticks;
    const auto outcome = run(zip::extractInBackground(archive, target), std::chrono::seconds(60));
    ticks.stop();
    ASSERT_TRUE(outcome.ok());
    EXPECT_TRUE(outcome.value->ok) << outcome.value->error.toStdString();
    EXPECT_EQ(outcome.value->bytes, 150 * (1 << 20));
    EXPECT_EQ(QFileInfo(target + QStringLiteral("/data/part149")).size(), 1 << 20);
    EXPECT_LT(ticks.longestMs(), 50.0);
    std::printf("longest gap between 5 ms ticks: %.1f ms\n", ticks.longestMs());
}

TEST(LargeUnpack, StopsAtTheTimeLimit)
{
    QTemporaryDir dir;
    const QString archive = writeLargeArchive(dir.filePath(QStringLiteral("big.zip")), 20);
    ASSERT_FALSE(archive.isEmpty());
    const QString target = dir.filePath(QStringLiteral("out"));
    ASSERT_TRUE(QDir().mkpath(target));
    zip::Limits limits;
    limits.maxMilliseconds = 1;
    const zip::Result result = zip::extract(archive, target, limits);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, QStringLiteral("unpacking took longer than 0.001 seconds"));
}
