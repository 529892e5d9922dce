#include "platform/system_settings.h"
#include "recording_desktop.h"
#include "recording_server.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/shared/accent.h"
#include "ui/shared/app_header.h"
#include "ui/shared/button_styles.h"
#include "ui/shared/elapsed_seconds_label.h"
#include "ui/shared/first_launch_note.h"
#include "ui/shared/icon_tile.h"
#include "ui/shared/letter_tile.h"
#include "ui/shared/link_button.h"
#include "ui/shared/logo_mark.h"
#include "ui/shared/symbols.h"
#include "ui/shared/unsafe_banner.h"

#include <QAccessible>
#include <QBuffer>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTextDocument>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

QString plainText(const QLabel* label)
{
    QTextDocument document;
    document.setHtml(label->text());
    return document.toPlainText();
}

QByteArray png(QColor colour)
{
    QImage image(48, 48, QImage::Format_ARGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace

TEST(ElapsedSecondsLabelTest, ReadsOneMinuteOneSecondAfterTheClockMovesSixtyOneSeconds)
{
    QDateTime now = QDateTime::fromString(QStringLiteral("2024-05-01T10:00:00Z"), Qt::ISODate);
    ElapsedSecondsLabel label;
    label.setClock([&now] { return now; });
    label.setSince(now);
    EXPECT_EQ(label.text(), QStringLiteral("0s"));
    now = now.addSecs(61);
    label.redraw();
    EXPECT_EQ(label.text(), QStringLiteral("1m 1s"));
}

TEST(ElapsedSecondsLabelTest, RedrawsEverySecondOnlyWhileShown)
{
    QWidget window;
    auto* label = new ElapsedSecondsLabel(&window);
    EXPECT_FALSE(label->ticking());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_TRUE(label->ticking());
    EXPECT_EQ(label->redrawInterval().count(), 1000) << "milliseconds";
    window.hide();
    EXPECT_FALSE(label->ticking());
}

TEST(UnsafeBannerTest, ShowsTheWarningWithItsFirstSentenceInBold)
{
    UnsafeBanner banner;
    EXPECT_EQ(plainText(banner.label()),
              QStringLiteral(
                  "Made from an imported GitHub repo (unsafe mode). The code was adapted from someone else's "
                  "project and compiled on this Mac. Brightloom has not reviewed it. It can't be shared as "
                  "a template or listed in the gallery."));
    EXPECT_TRUE(banner.label()->text().startsWith(
        QStringLiteral("<b>Made from an imported GitHub repo (unsafe mode).</b>")));
}

TEST(FirstLaunchNoteTest, ShowsTheAdviceAndItsButtonOpensThePrivacySettings)
{
    RecordingDesktop desktop;
    FirstLaunchNote note(&desktop);
    const QList<QLabel*> labels = note.findChildren<QLabel*>();
    ASSERT_EQ(labels.size(), 1);
    EXPECT_EQ(labels.front()->text(),
              QStringLiteral(
                  "Open the .dmg and drag the app to Applications. Apps are ad-hoc signed, not notarized. "
                  "If macOS blocks the first launch, use System Settings → Privacy & Security → Open "
                  "Anyway."));
    auto* button = note.findChild<LinkButton*>();
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->text(), QStringLiteral("Open Privacy & Security settings"));
    QTest::mouseClick(button, Qt::LeftButton);
    ASSERT_EQ(desktop.opened.size(), 1);
    EXPECT_EQ(desktop.opened.front(), privacySettingsAddress());
}

struct AppHeaderTest : ::testing::Test
{
    TempHome home;
    RecordingServer server;
    std::unique_ptr<API> api;
    std::unique_ptr<IconLoader> icons;

    void SetUp() override
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        api = std::make_unique<API>();
        icons = std::make_unique<IconLoader>(home.path() + QStringLiteral("/icons"));
    }
};

TEST_F(AppHeaderTest, ShowsNameVersionAndTheIconFromTheServiceAddress)
{
    ScriptedReply icon;
    icon.body = png(Qt::green);
    icon.contentType = "image/png";
    server.on(QStringLiteral("/icons/notes.png"), icon);
    AppHeader header(*icons);
    header.setApp(QStringLiteral("Notes"), QStringLiteral("1.2"),
                  api->iconURL(QStringLiteral("/icons/notes.png")));
    EXPECT_EQ(header.nameLabel()->text(), QStringLiteral("Notes"));
    EXPECT_EQ(header.versionLabel()->text(), QStringLiteral("Version 1.2"));
    EXPECT_FALSE(header.tile()->showsPicture()); // the letter tile while it loads
    ASSERT_TRUE(spinUntil([&] { return header.tile()->showsPicture(); }));
    EXPECT_EQ(server.requestsTo(QStringLiteral("/icons/notes.png")).size(), 1);
    EXPECT_EQ(header.tile()->size(), QSize(96, 96));
}

TEST_F(AppHeaderTest, WithoutAVersionThereIsNoVersionLineAndWithoutAnIconTheLetterTile)
{
    AppHeader header(*icons);
    header.setApp(QStringLiteral("Notes"), std::nullopt, std::nullopt);
    EXPECT_TRUE(header.versionLabel()->isHidden());
    EXPECT_FALSE(header.tile()->showsPicture());
    EXPECT_EQ(icons->loadsStarted(), 0);
}

TEST_F(AppHeaderTest, IconThatFailsLeavesTheLetterTile)
{
    server.on(QStringLiteral("/icons/missing.png"), ScriptedReply::json(404, R"({"message":"Not found"})"));
    AppHeader header(*icons);
    header.setApp(QStringLiteral("Notes"), QStringLiteral("1.0"),
                  api->iconURL(QStringLiteral("icons/missing.png")));
    const QUrl url = server.baseUrl().resolved(QUrl(QStringLiteral("icons/missing.png")));
    ASSERT_TRUE(spinUntil([&] { return icons->state(url) == IconLoader::State::failed; }));
    EXPECT_FALSE(header.tile()->showsPicture());
}

TEST(LetterTileTest, SameNameGivesTheSameColourAndItsFirstLetterOrDigitUpperCased)
{
    EXPECT_EQ(LetterTile::colourFor(QStringLiteral("Notes")), LetterTile::colourFor(QStringLiteral("Notes")));
    EXPECT_EQ(LetterTile::letterFor(QStringLiteral("notes")), QStringLiteral("N"));
    EXPECT_EQ(LetterTile::letterFor(QStringLiteral("  2048 Game")), QStringLiteral("2"));
    EXPECT_EQ(LetterTile::letterFor(QStringLiteral("...")), QStringLiteral("A"));
    EXPECT_EQ(LetterTile::letterFor(QStringLiteral("e\u0301clair")), QStringLiteral("E\u0301"));
}

TEST(LogoMarkTest, DrawsAnOpaqueTileWithAWhiteSparkInTheMiddle)
{
    const QImage image = LogoMark::image(128);
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0); // the rounded corner stays clear
    EXPECT_EQ(image.pixelColor(64, 64), QColor(Qt::white));
    EXPECT_EQ(image.pixelColor(64, 12).alpha(), 255);
}

TEST(SymbolsTest, EveryDrawnSymbolPaintsSomething)
{
    for (Symbol which : {Symbol::warning, Symbol::heart, Symbol::heartFill, Symbol::chevronRight,
                         Symbol::send, Symbol::newApp, Symbol::myApps, Symbol::back}) {
        const QImage image = drawnSymbol(which).pixmap(32, 32).toImage();
        bool painted = false;
        for (int y = 0; y < image.height() && !painted; ++y)
            for (int x = 0; x < image.width() && !painted; ++x)
                painted = image.pixelColor(x, y).alpha() > 0;
        EXPECT_TRUE(painted) << int(which);
    }
}

TEST(ZipButtonStyleTest, ProminentButtonIsFilledWithTheAccentAndLabelledInBlack)
{
    QPushButton button(QStringLiteral(".zip instead"));
    applyZipButtonStyle(&button, true);
    button.resize(140, 32);
    const QImage picture = button.grab().toImage();
    EXPECT_EQ(picture.pixelColor(6, 16).rgb(), accent().rgb());
    bool blackText = false;
    for (int x = 0; x < picture.width() && !blackText; ++x)
        blackText = picture.pixelColor(x, 16).lightness() < 40;
    EXPECT_TRUE(blackText);
}

TEST(LinkButtonTest, AmpersandIsReadAsACharacterAndMakesNoShortcut)
{
    LinkButton button(QStringLiteral("Open Privacy & Security settings"));
    EXPECT_TRUE(button.shortcut().isEmpty());
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(&button);
    ASSERT_NE(face, nullptr);
    EXPECT_EQ(face->text(QAccessible::Name), QStringLiteral("Open Privacy & Security settings"));
}
