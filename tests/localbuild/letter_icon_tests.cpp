#include "localbuild/app_icon.h"
#include "pipeline_fixture.h"
#include "service/api_error.h"
#include "task_runner.h"
#include "text/characters.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

class LetterIcon : public PipelineTest
{
protected:
    // Draws the icon of `name` and reads it back.
    QImage draw(const QString& name)
    {
        const QString path = work(QStringLiteral("icon-%1.png").arg(++m_drawn));
        LocalBuild::drawLetterIcon(name, path);
        return QImage(path).convertToFormat(QImage::Format_ARGB32);
    }

    // The white pixels of an icon: the letter, whatever the gradient behind it.
    static QImage letterMask(const QImage& icon)
    {
        QImage mask(icon.size(), QImage::Format_Grayscale8);
        for (int y = 0; y < icon.height(); ++y) {
            for (int x = 0; x < icon.width(); ++x) {
                const QColor c = icon.pixelColor(x, y);
                mask.setPixel(x, y,
                              c.red() > 245 && c.green() > 245 && c.blue() > 245 ? 0xffffffff : 0xff000000);
            }
        }
        return mask;
    }

    // How many pixels of two masks differ.
    static int differences(const QImage& a, const QImage& b)
    {
        int count = 0;
        for (int y = 0; y < a.height(); ++y) {
            for (int x = 0; x < a.width(); ++x)
                count += a.pixel(x, y) != b.pixel(x, y);
        }
        return count;
    }

    // The columns that hold white pixels, from the leftmost to the rightmost.
    static int letterWidth(const QImage& mask)
    {
        int left = mask.width();
        int right = -1;
        for (int y = 0; y < mask.height(); ++y) {
            for (int x = 0; x < mask.width(); ++x) {
                if (qGray(mask.pixel(x, y)) > 128) {
                    left = std::min(left, x);
                    right = std::max(right, x);
                }
            }
        }
        return right - left + 1;
    }

    static bool near(const QColor& a, const QColor& b)
    {
        return std::abs(a.red() - b.red()) <= 3 && std::abs(a.green() - b.green()) <= 3 &&
               std::abs(a.blue() - b.blue()) <= 3;
    }

    // A name with the given palette entry, found by trying "Name0", "Name1", ...
    static QString nameWithPalette(int index, const QString& stem)
    {
        for (int i = 0;; ++i) {
            const QString name = stem + QString::number(i);
            if (LocalBuild::letterIconPalette(name) == index)
                return name;
        }
    }

    int m_drawn = 0;
};

TEST_F(LetterIcon, IsATransparentSquareOf1024WithARoundedTile)
{
    const QImage icon = draw(QStringLiteral("Weather"));
    ASSERT_EQ(icon.size(), QSize(1024, 1024));
    EXPECT_EQ(qAlpha(icon.pixel(0, 0)), 0);
    EXPECT_EQ(qAlpha(icon.pixel(99, 512)), 0);
    EXPECT_EQ(qAlpha(icon.pixel(130, 130)), 0) << "the tile's corners are rounded";
    EXPECT_EQ(qAlpha(icon.pixel(110, 512)), 255);
    EXPECT_EQ(qAlpha(icon.pixel(1000, 1000)), 0);
}

TEST_F(LetterIcon, SameNameAlwaysGivesTheSameGradient)
{
    const QString name = QStringLiteral("Weather Station");
    const QImage first = draw(name);
    const QImage second = draw(name);
    const auto [top, bottom] = LocalBuild::letterIconGradient(LocalBuild::letterIconPalette(name));
    EXPECT_EQ(first.pixelColor(512, 101), second.pixelColor(512, 101));
    EXPECT_EQ(first.pixelColor(512, 922), second.pixelColor(512, 922));
    EXPECT_TRUE(near(first.pixelColor(512, 101), top)) << first.pixelColor(512, 101).name().toStdString();
    EXPECT_TRUE(near(first.pixelColor(512, 922), bottom)) << first.pixelColor(512, 922).name().toStdString();
}

TEST_F(LetterIcon, PaletteEntryFollowsTheNameHash)
{
    // hash = 7 * 31 + 'A' (65) = 282, and 282 mod 4 = 2.
    EXPECT_EQ(LocalBuild::letterIconPalette(QStringLiteral("A")), 2);
    // Each entry's colours are drawn at the top and the bottom of the tile.
    for (int index = 0; index < 4; ++index) {
        const QImage icon = draw(nameWithPalette(index, QStringLiteral("Name")));
        const auto [top, bottom] = LocalBuild::letterIconGradient(index);
        EXPECT_TRUE(near(icon.pixelColor(512, 101), top)) << index;
        EXPECT_TRUE(near(icon.pixelColor(512, 922), bottom)) << index;
    }
}

TEST_F(LetterIcon, NameWithoutLettersOrDigitsIsDrawnWithA)
{
    EXPECT_EQ(LocalBuild::letterIconText(QStringLiteral("...")), QStringLiteral("A"));
    EXPECT_LT(differences(letterMask(draw(QStringLiteral("..."))), letterMask(draw(QStringLiteral("A")))),
              200);
}

TEST_F(LetterIcon, NameStartingWithADigitShowsTheDigit)
{
    EXPECT_EQ(LocalBuild::letterIconText(QStringLiteral("2048 Game")), QStringLiteral("2"));
    const QImage game = letterMask(draw(QStringLiteral("2048 Game")));
    EXPECT_LT(differences(game, letterMask(draw(QStringLiteral("2")))), 200);
    EXPECT_GT(differences(game, letterMask(draw(QStringLiteral("G")))), 2000);
}

TEST_F(LetterIcon, LowerCaseFirstLetterIsShownUpperCased)
{
    EXPECT_EQ(LocalBuild::letterIconText(QStringLiteral("  zebra crossing")), QStringLiteral("Z"));
    const QImage zebra = letterMask(draw(QStringLiteral("zebra")));
    EXPECT_LT(differences(zebra, letterMask(draw(QStringLiteral("Z")))), 200);
    EXPECT_GT(differences(zebra, letterMask(draw(QStringLiteral("X")))), 2000)
        << "a different letter differs";
}

TEST_F(LetterIcon, GermanSharpSIsShownAsTwoCapitalLetters)
{
    EXPECT_EQ(LocalBuild::letterIconText(QString::fromUtf8("ßpiel")), QStringLiteral("SS"));
    const int twoLetters = letterWidth(letterMask(draw(QString::fromUtf8("ßpiel"))));
    const int oneLetter = letterWidth(letterMask(draw(QStringLiteral("S"))));
    EXPECT_GT(twoLetters, oneLetter * 18 / 10);
}

TEST_F(LetterIcon, TinySourceImageStillGivesEveryIconSize)
{
    QImage pixel(1, 1, QImage::Format_ARGB32);
    pixel.fill(QColor(200, 30, 30));
    ASSERT_TRUE(pixel.save(work(QStringLiteral("one.png"))));
    QDir().mkpath(work(QStringLiteral("scratch")));

    const auto made = run(LocalBuild::makeIcns(
        work(QStringLiteral("one.png")), work(QStringLiteral("App.icns")), work(QStringLiteral("scratch"))));
    ASSERT_TRUE(made.ok()) << made.errorText().toStdString();

    const QList<IcnsImage> images = readIcns(work(QStringLiteral("App.icns")));
    const int expected[] = {16, 32, 32, 64, 128, 256, 256, 512, 512, 1024};
    ASSERT_EQ(images.size(), 10);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(images[i].image.size(), QSize(expected[i], expected[i])) << images[i].type.constData();
        EXPECT_EQ(images[i].image.pixelColor(expected[i] / 2, expected[i] / 2), QColor(200, 30, 30));
    }
    EXPECT_TRUE(QFileInfo::exists(work(QStringLiteral("scratch/AppIcon.iconset/icon_512x512@2x.png"))));
}

TEST_F(LetterIcon, MakingTheIconTwiceRebuildsTheIconSet)
{
    QDir().mkpath(work(QStringLiteral("scratch")));
    QImage blue(64, 64, QImage::Format_ARGB32);
    blue.fill(QColor(0, 0, 255));
    ASSERT_TRUE(blue.save(work(QStringLiteral("blue.png"))));
    QImage green(64, 64, QImage::Format_ARGB32);
    green.fill(QColor(0, 255, 0));
    ASSERT_TRUE(green.save(work(QStringLiteral("green.png"))));
    const QString icns = work(QStringLiteral("App.icns"));
    const QString scratch = work(QStringLiteral("scratch"));

    ASSERT_TRUE(run(LocalBuild::makeIcns(work(QStringLiteral("blue.png")), icns, scratch)).ok());
    writeFile(scratch + QStringLiteral("/AppIcon.iconset/stray.png"), "left over");
    const auto again = run(LocalBuild::makeIcns(work(QStringLiteral("green.png")), icns, scratch));
    ASSERT_TRUE(again.ok()) << again.errorText().toStdString();

    EXPECT_FALSE(QFileInfo::exists(scratch + QStringLiteral("/AppIcon.iconset/stray.png")));
    EXPECT_EQ(QDir(scratch + QStringLiteral("/AppIcon.iconset")).entryList(QDir::Files).size(), 10);
    const QList<IcnsImage> images = readIcns(icns);
    ASSERT_EQ(images.size(), 10);
    EXPECT_EQ(images[0].image.pixelColor(8, 8), QColor(0, 255, 0));
}

TEST_F(LetterIcon, PackerFailureIsReportedWithTheEndOfItsOutput)
{
    writeFile(work(QStringLiteral("not-a-picture.png")), "plain text");
    QDir().mkpath(work(QStringLiteral("scratch")));
    const auto made =
        run(LocalBuild::makeIcns(work(QStringLiteral("not-a-picture.png")), work(QStringLiteral("App.icns")),
                                 work(QStringLiteral("scratch"))));
    ASSERT_TRUE(made.finished);
    const QString text = made.errorText();
    EXPECT_TRUE(text.startsWith(QStringLiteral("Could not make the app icon: "))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("icon_16x16.png is missing"))) << text.toStdString();
    EXPECT_LE(text.size(), QStringLiteral("Could not make the app icon: ").size() + 200);
}

TEST_F(LetterIcon, PackerFailureQuotesItsLastTwoHundredCharactersWhole)
{
    // The packer names the icon set's folder, whose path here is mostly emoji and combining accents.
    QString part;
    for (int i = 0; i < 30; ++i)
        part += QStringLiteral("\U0001F600e\u0301");
    const QString scratch = work(part + QLatin1Char('/') + part);
    QDir().mkpath(scratch);
    writeFile(work(QStringLiteral("not-a-picture.png")), "plain text");
    const auto made = run(LocalBuild::makeIcns(work(QStringLiteral("not-a-picture.png")),
                                               work(QStringLiteral("App.icns")), scratch));
    ASSERT_TRUE(made.finished);
    const QString start = QStringLiteral("Could not make the app icon: ");
    const QString text = made.errorText();
    ASSERT_TRUE(text.startsWith(start)) << text.toStdString();
    const QString output =
        scratch + QStringLiteral("/AppIcon.iconset:error: Failed to generate ICNS: icon_16x16.png is "
                                 "missing.\n");
    const QString quoted = text.mid(start.size());
    EXPECT_EQ(text::characterCount(quoted), 200);
    EXPECT_GT(quoted.size(), 200);
    EXPECT_TRUE(output.endsWith(quoted)) << quoted.toStdString();
}

} // namespace
