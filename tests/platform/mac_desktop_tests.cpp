#include "mac_desktop_log.h"
#include "platform/desktop_road.h"
#include "platform/mac_desktop.h"
#include "qt_printers.h"
#include "temp_home.h"

#include <QDir>
#include <QUrl>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

struct MacDesktopTest : ::testing::Test
{
    TempHome home;
    MacDesktopLog log{home, QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR)};
    MacDesktop desktop;
};

} // namespace

TEST_F(MacDesktopTest, ShowInFinderRunsOpenWithTheSelectFlagAndTheFile)
{
    const QString file = home.downloadsFolder() + QStringLiteral("/Timer 1.0.dmg");
    desktop.reveal(file);
    const auto calls = log.waitForCalls(1);
    ASSERT_EQ(calls.size(), 1);
    EXPECT_EQ(calls[0], QStringList({QStringLiteral("-R"), file}));
}

TEST_F(MacDesktopTest, OpeningAFileRunsOpenWithItsPath)
{
    const QString app = home.path() + QStringLiteral("/Builds/Timer.app");
    desktop.open(QUrl::fromLocalFile(app));
    const auto calls = log.waitForCalls(1);
    ASSERT_EQ(calls.size(), 1);
    EXPECT_EQ(calls[0], QStringList(app));
}

TEST_F(MacDesktopTest, OpeningAWebPagePassesTheWholeEncodedAddress)
{
    desktop.open(QUrl(QStringLiteral("https://github.com/o/r?x=a b")));
    const auto calls = log.waitForCalls(1);
    ASSERT_EQ(calls.size(), 1);
    EXPECT_EQ(calls[0], QStringList(QStringLiteral("https://github.com/o/r?x=a%20b")));
}

namespace {

// What the desktop would run, recorded as it is asked, without a tool.
struct RecordedLaunches
{
    QList<QStringList> calls;
    MacDesktop desktop{[this](const QStringList& arguments) { calls.append(arguments); }};
};

} // namespace

TEST(MacDesktopArgumentsTest, FileNamedLikeAnOptionGoesToOpenAsAnAbsolutePath)
{
    TempHome home;
    RecordedLaunches recorded;
    const QString current = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(home.path()));
    recorded.desktop.reveal(QStringLiteral("-a Terminal"));
    recorded.desktop.open(QUrl::fromLocalFile(QStringLiteral("-n")));
    QDir::setCurrent(current);
    EXPECT_EQ(recorded.calls,
              QList<QStringList>({{QStringLiteral("-R"), home.path() + QStringLiteral("/-a Terminal")},
                                  {home.path() + QStringLiteral("/-n")}}));
}

TEST(MacDesktopArgumentsTest, AddressWithoutASchemeOrAnEmptyPathIsNotOpened)
{
    RecordedLaunches recorded;
    recorded.desktop.open(QUrl(QStringLiteral("-a")));
    recorded.desktop.open(QUrl());
    recorded.desktop.reveal(QString());
    EXPECT_TRUE(recorded.calls.isEmpty());
}

TEST(DesktopRoadTest, EnvironmentChoosesTheRoadAndTheBuildSystemIsTheDefault)
{
    TempHome home;
    home.setEnv("BRIGHTLOOM_DESKTOP", "mac");
    EXPECT_EQ(desktopRoad(), DesktopRoad::mac);
    home.setEnv("BRIGHTLOOM_DESKTOP", "freedesktop");
    EXPECT_EQ(desktopRoad(), DesktopRoad::freedesktop);
    home.setEnv("BRIGHTLOOM_DESKTOP", "");
#ifdef Q_OS_MACOS
    EXPECT_EQ(desktopRoad(), DesktopRoad::mac);
#else
    EXPECT_EQ(desktopRoad(), DesktopRoad::freedesktop);
#endif
}
