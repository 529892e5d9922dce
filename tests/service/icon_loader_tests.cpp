#include "recording_server.h"
#include "service/icon_loader.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QBuffer>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// The CRC-32 that closes a PNG chunk, over its type and data.
quint32 chunkCrc(const QByteArray& typeAndData)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char byte : typeAndData) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return crc ^ 0xFFFFFFFFu;
}

QByteArray png(int width, int height, QColor colour = Qt::red)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

ScriptedReply image(const QByteArray& bytes)
{
    ScriptedReply reply;
    reply.body = bytes;
    reply.contentType = "image/png";
    return reply;
}

bool waitFor(IconLoader& loader, const QUrl& url)
{
    return spinUntil([&] {
        const auto state = loader.state(url);
        return state == IconLoader::State::ready || state == IconLoader::State::failed;
    });
}

struct IconLoaderTest : ::testing::Test
{
    RecordingServer server;
    QTemporaryDir cache;

    QUrl address(const QString& path) const { return server.baseUrl().resolved(QUrl(path)); }
};

} // namespace

TEST_F(IconLoaderTest, IconIsFetchedOnceAndThenServedFromMemory)
{
    server.on(QStringLiteral("/icons/a.png"), image(png(64, 64)));
    IconLoader loader(cache.path());
    const QUrl url = address(QStringLiteral("icons/a.png"));
    loader.load(url);
    EXPECT_EQ(loader.state(url), IconLoader::State::loading);
    loader.load(url); // a second ask while loading starts nothing
    ASSERT_TRUE(waitFor(loader, url));
    EXPECT_EQ(loader.state(url), IconLoader::State::ready);
    EXPECT_EQ(loader.image(url).size(), QSize(64, 64));
    loader.load(url);
    EXPECT_EQ(server.requestsTo(QStringLiteral("/icons/a.png")).size(), 1);
    EXPECT_EQ(loader.loadsStarted(), 1);
}

TEST_F(IconLoaderTest, FailedIconIsRememberedAndNotAskedForAgain)
{
    server.on(QStringLiteral("/icons/gone.png"), ScriptedReply::json(404, R"({"message":"Not found"})"));
    IconLoader loader(cache.path());
    const QUrl url = address(QStringLiteral("icons/gone.png"));
    QSignalSpy finished(&loader, &IconLoader::finished);
    loader.load(url);
    ASSERT_TRUE(waitFor(loader, url));
    EXPECT_EQ(loader.state(url), IconLoader::State::failed);
    EXPECT_TRUE(loader.image(url).isNull());
    loader.load(url);
    EXPECT_EQ(server.requestsTo(QStringLiteral("/icons/gone.png")).size(), 1);
    EXPECT_EQ(finished.count(), 1);
}

TEST_F(IconLoaderTest, BodyThatIsNotAPictureFails)
{
    server.on(QStringLiteral("/icons/text.png"), image("this is not a picture"));
    IconLoader loader(cache.path());
    const QUrl url = address(QStringLiteral("icons/text.png"));
    loader.load(url);
    ASSERT_TRUE(waitFor(loader, url));
    EXPECT_EQ(loader.state(url), IconLoader::State::failed);
}

TEST_F(IconLoaderTest, IconLargerThanTheLimitIsRefusedWithoutReadingItAll)
{
    ScriptedReply huge;
    huge.contentType = "image/png";
    huge.streamedSize = 64LL * 1024 * 1024;
    server.on(QStringLiteral("/icons/huge.png"), huge);
    IconLoader loader(cache.path());
    const QUrl url = address(QStringLiteral("icons/huge.png"));
    loader.load(url);
    ASSERT_TRUE(waitFor(loader, url));
    EXPECT_EQ(loader.state(url), IconLoader::State::failed);
}

TEST_F(IconLoaderTest, PictureDeclaringAbsurdDimensionsFailsBeforeAnyPixelIsMade)
{
    // A valid PNG header that claims 100,000 by 100,000 pixels.
    QByteArray bytes = png(1, 1);
    const QByteArray side = QByteArray::fromHex("000186a0");
    bytes.replace(16, 4, side);
    bytes.replace(20, 4, side);
    const quint32 crc = chunkCrc(bytes.mid(12, 17)); // "IHDR" and its 13 bytes
    const char crcBytes[4] = {char(crc >> 24), char(crc >> 16), char(crc >> 8), char(crc)};
    bytes.replace(29, 4, QByteArray(crcBytes, 4));
    server.on(QStringLiteral("/icons/wide.png"), image(bytes));
    IconLoader loader(cache.path());
    const QUrl url = address(QStringLiteral("icons/wide.png"));
    loader.load(url);
    ASSERT_TRUE(waitFor(loader, url));
    EXPECT_EQ(loader.state(url), IconLoader::State::failed);
}

TEST_F(IconLoaderTest, LargePictureIsKeptScaledDownToWhatATileShows)
{
    server.on(QStringLiteral("/icons/big.png"), image(png(1024, 512)));
    IconLoader loader(cache.path());
    const QUrl url = address(QStringLiteral("icons/big.png"));
    loader.load(url);
    ASSERT_TRUE(waitFor(loader, url));
    EXPECT_EQ(loader.image(url).size(), QSize(IconLoader::maxSide, IconLoader::maxSide / 2));
}

TEST_F(IconLoaderTest, NextRunShowsTheIconFromTheDiskCacheWithoutTheNetwork)
{
    ScriptedReply kept = image(png(32, 32, Qt::blue));
    kept.headers.append(qMakePair(QByteArray("Cache-Control"), QByteArray("max-age=3600")));
    server.on(QStringLiteral("/icons/kept.png"), kept);
    const QUrl url = address(QStringLiteral("icons/kept.png"));
    {
        IconLoader first(cache.path());
        first.load(url);
        ASSERT_TRUE(waitFor(first, url));
        ASSERT_EQ(first.state(url), IconLoader::State::ready);
    }
    IconLoader second(cache.path());
    second.load(url);
    ASSERT_TRUE(waitFor(second, url));
    EXPECT_EQ(second.state(url), IconLoader::State::ready);
    EXPECT_EQ(second.image(url).pixelColor(0, 0), QColor(Qt::blue));
    EXPECT_EQ(server.requestsTo(QStringLiteral("/icons/kept.png")).size(), 1);
}

TEST_F(IconLoaderTest, CacheLivesInTheBrightloomFolderOfTheUsersCacheAndTakesOverTheFormerOne)
{
    TempHome home;
    EXPECT_EQ(IconLoader::defaultCacheFolder(), home.path() + QStringLiteral("/.cache/Brightloom/icons"));
    EXPECT_EQ(IconLoader::formerCacheFolder(),
              home.path() + QStringLiteral("/.cache/Brightloom/Brightloom/icons"));

    ScriptedReply kept = image(png(32, 32, Qt::green));
    kept.headers.append(qMakePair(QByteArray("Cache-Control"), QByteArray("max-age=3600")));
    server.on(QStringLiteral("/icons/kept.png"), kept);
    const QUrl url = address(QStringLiteral("icons/kept.png"));
    {
        IconLoader former(IconLoader::formerCacheFolder()); // as an earlier version kept it
        former.load(url);
        ASSERT_TRUE(waitFor(former, url));
        ASSERT_EQ(former.state(url), IconLoader::State::ready);
    }
    IconLoader loader;
    loader.load(url);
    ASSERT_TRUE(waitFor(loader, url));
    EXPECT_EQ(loader.image(url).pixelColor(0, 0), QColor(Qt::green));
    EXPECT_EQ(server.requestsTo(QStringLiteral("/icons/kept.png")).size(), 1) << "not fetched again";
    EXPECT_TRUE(QFileInfo(IconLoader::defaultCacheFolder()).isDir());
    EXPECT_FALSE(QFileInfo::exists(home.path() + QStringLiteral("/.cache/Brightloom/Brightloom")));
}

TEST_F(IconLoaderTest, AddressThatIsNotAWebAddressFailsAtOnce)
{
    IconLoader loader(cache.path());
    const QUrl url(QStringLiteral("file:///etc/passwd"));
    loader.load(url);
    EXPECT_EQ(loader.state(url), IconLoader::State::failed);
    EXPECT_EQ(loader.loadsStarted(), 0);
}
