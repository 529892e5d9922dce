#include "temp_home.h"
#include "ui/app/palette.h"
#include "ui/shared/accent.h"

#include <QApplication>
#include <QColor>
#include <QStyle>
#include <QStyleHints>
#include <cmath>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

double luminance(const QColor& colour)
{
    const auto channel = [](double c) {
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(colour.redF()) + 0.7152 * channel(colour.greenF()) +
           0.0722 * channel(colour.blueF());
}

// A colour with transparency as it shows over `background`.
QColor over(const QColor& colour, const QColor& background)
{
    const double a = colour.alphaF();
    return QColor::fromRgbF(float(colour.redF() * a + background.redF() * (1 - a)),
                            float(colour.greenF() * a + background.greenF() * (1 - a)),
                            float(colour.blueF() * a + background.blueF() * (1 - a)));
}

double contrast(const QColor& text, const QColor& background)
{
    const double a = luminance(over(text, background)) + 0.05;
    const double b = luminance(background) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

void expectLegible(const QPalette& palette)
{
    const QColor window = palette.color(QPalette::Window);
    const QColor base = palette.color(QPalette::Base);
    EXPECT_GE(contrast(palette.color(QPalette::WindowText), window), 7.0);
    EXPECT_GE(contrast(palette.color(QPalette::Text), base), 7.0);
    EXPECT_GE(contrast(palette.color(QPalette::Link), window), 4.5);
    EXPECT_GE(contrast(palette.color(QPalette::PlaceholderText), window), 4.5);
    EXPECT_GE(contrast(palette.color(QPalette::HighlightedText), palette.color(QPalette::Highlight)), 3.0);
    // The user's bubbles and the prominent archive button are black on the accent in both palettes.
    EXPECT_GE(contrast(Qt::black, accent()), 7.0);
    // Red error text.
    EXPECT_GE(contrast(QColor(220, 38, 38), window), 3.0);
}

} // namespace

TEST(PaletteTest, LightPaletteKeepsTextLinksAndSecondaryTextLegible)
{
    expectLegible(lightPalette());
}

TEST(PaletteTest, DarkPaletteKeepsTextLinksAndSecondaryTextLegible)
{
    const QPalette dark = darkPalette();
    EXPECT_LT(dark.color(QPalette::Window).lightness(), 80);
    expectLegible(dark);
}

namespace {

// Puts the application's style and palette back after a test that applies the desktop's.
struct AppliedLook : ::testing::Test
{
    QString style = QApplication::style()->name();
    QPalette palette = QApplication::palette();
    TempHome home;

    ~AppliedLook() override
    {
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
        // Each application of the look listens to the style hints; the next test starts afresh.
        QObject::disconnect(QGuiApplication::styleHints(), &QStyleHints::colorSchemeChanged,
                            QCoreApplication::instance(), nullptr);
#endif
        QApplication::setStyle(style);
        QApplication::setPalette(palette);
    }

    static QApplication& app()
    {
        return *static_cast<QApplication*>(QCoreApplication::instance());
    }
};

} // namespace

TEST_F(AppliedLook, MacKeepsThePlatformsOwnStyleAndPalette)
{
    home.setEnv("BRIGHTLOOM_DESKTOP", "mac");
    home.setEnv("BRIGHTLOOM_APPEARANCE", "dark");
    QApplication::setStyle(QStringLiteral("Windows"));
    QPalette platform = QApplication::palette();
    platform.setColor(QPalette::Window, QColor(1, 2, 3));
    QApplication::setPalette(platform);
    applyDesktopPalette(app());
    EXPECT_EQ(QApplication::style()->name(), QStringLiteral("windows"));
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), QColor(1, 2, 3));
}

TEST_F(AppliedLook, ElsewhereTheWindowTakesFusionAndTheChosenPalette)
{
    home.setEnv("BRIGHTLOOM_DESKTOP", "freedesktop");
    home.setEnv("BRIGHTLOOM_APPEARANCE", "dark");
    QApplication::setStyle(QStringLiteral("Windows"));
    applyDesktopPalette(app());
    EXPECT_EQ(QApplication::style()->name(), QStringLiteral("fusion"));
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), darkPalette().color(QPalette::Window));
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
TEST_F(AppliedLook, ColourSchemeChangeOfTheDesktopSwitchesThePalette)
{
    home.setEnv("BRIGHTLOOM_DESKTOP", "freedesktop");
    home.setEnv("BRIGHTLOOM_APPEARANCE", "");
    home.setEnv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    applyDesktopPalette(app());
    Q_EMIT QGuiApplication::styleHints()->colorSchemeChanged(Qt::ColorScheme::Dark);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), darkPalette().color(QPalette::Window));
    Q_EMIT QGuiApplication::styleHints()->colorSchemeChanged(Qt::ColorScheme::Light);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), lightPalette().color(QPalette::Window));
    Q_EMIT QGuiApplication::styleHints()->colorSchemeChanged(Qt::ColorScheme::Dark);
    Q_EMIT QGuiApplication::styleHints()->colorSchemeChanged(Qt::ColorScheme::Unknown);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), darkPalette().color(QPalette::Window));
}
#endif
