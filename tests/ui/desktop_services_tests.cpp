#include "mac_desktop_log.h"
#include "platform/desktop.h"
#include "platform/notifier.h"
#include "qt_printers.h"
#include "temp_home.h"
#include "ui/desktop/desktop_notifier.h"
#include "ui/desktop/desktop_services.h"
#include "ui/desktop/system_desktop.h"
#include "ui/desktop/tray_notifier.h"

#include <QSystemTrayIcon>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

TEST(DesktopServicesTest, MacRoadShowsInFinderAndOpensThroughTheOpenTool)
{
    TempHome home;
    MacDesktopLog log(home, QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR));
    const auto desktop = systemDesktop();
    const QString file = home.downloadsFolder() + QStringLiteral("/Timer.dmg");
    desktop->reveal(file);
    ASSERT_EQ(log.waitForCalls(1).size(), 1);
    desktop->open(QUrl::fromLocalFile(file));
    const auto calls = log.waitForCalls(2);
    ASSERT_EQ(calls.size(), 2);
    EXPECT_EQ(calls[0], QStringList({QStringLiteral("-R"), file}));
    EXPECT_EQ(calls[1], QStringList(file));
}

TEST(DesktopServicesTest, MacRoadNotifiesThroughTheTrayAndWithoutATrayShowsNothing)
{
    TempHome home;
    home.setEnv("BRIGHTLOOM_DESKTOP", "mac");
    const auto notifier = systemNotifier();
    auto* tray = dynamic_cast<TrayNotifier*>(notifier.get());
    ASSERT_NE(tray, nullptr);
    // The offscreen platform has no tray: the notice is dropped without waiting or failing.
    ASSERT_FALSE(QSystemTrayIcon::isSystemTrayAvailable());
    tray->notify(QStringLiteral("Timer is ready"), QStringLiteral("Version 1.0 finished building."));
    EXPECT_FALSE(tray->iconShown());
}

TEST(DesktopServicesTest, FreedesktopRoadAsksTheDBusServices)
{
    TempHome home;
    home.setEnv("BRIGHTLOOM_DESKTOP", "freedesktop");
    EXPECT_NE(dynamic_cast<SystemDesktop*>(systemDesktop().get()), nullptr);
    EXPECT_NE(dynamic_cast<DesktopNotifier*>(systemNotifier().get()), nullptr);
}
