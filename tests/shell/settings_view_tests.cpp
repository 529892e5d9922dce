#include "conversation/new_project_view.h"
#include "localbuild/local_builds.h"
#include "platform/settings.h"
#include "qt_printers.h"
#include "scripted_dialogs.h"
#include "service/api.h"
#include "shell/settings_view.h"
#include "signed_in_client.h"
#include "task_runner.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// The Settings window's model over a signed-in client, in a home of its own.
struct SettingsViewTest : ::testing::Test
{
    SignedInClient client;
    API& api = *client.api;
    RecordingServer& server = client.server;
    ScriptedDialogs dialogs;

    void SetUp() override { ASSERT_TRUE(client.signedIn()); }
};

} // namespace

TEST_F(SettingsViewTest, LocationIsTheStoredBuildLocationWithTheCloudByDefault)
{
    SettingsView settings(api, dialogs);
    EXPECT_EQ(settings.location(), NewProjectView::cloud);
    Settings::setBuildLocation(QStringLiteral("somewhere"));
    EXPECT_EQ(settings.location(), NewProjectView::cloud);
    Settings::setBuildLocation(NewProjectView::local);
    EXPECT_EQ(settings.location(), NewProjectView::local);
}

TEST_F(SettingsViewTest, ChoosingALocationKeepsItAndTheOpenNewProjectScreenFollows)
{
    LocalBuilds local;
    NewProjectView screen(api, local, dialogs, [](const QString&) {});
    SettingsView settings(api, dialogs);
    QSignalSpy changed(&settings, &SettingsView::locationChanged);
    settings.setLocation(NewProjectView::local);
    EXPECT_EQ(Settings::buildLocation(), NewProjectView::local);
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(screen.location(), NewProjectView::local);
    // And the other way: the screen's choice shows in the window.
    screen.setLocation(NewProjectView::cloud);
    EXPECT_EQ(settings.location(), NewProjectView::cloud);
    EXPECT_EQ(changed.size(), 2);
    // The same choice again is no change.
    settings.setLocation(NewProjectView::cloud);
    EXPECT_EQ(changed.size(), 2);
}

TEST_F(SettingsViewTest, SignOutAsksFirstAndCancellingKeepsTheSession)
{
    SettingsView settings(api, dialogs);
    dialogs.pressNext(QStringLiteral("Cancel"));
    EXPECT_FALSE(settings.signOut());
    ASSERT_EQ(dialogs.shown().size(), 1);
    EXPECT_EQ(dialogs.shown().front(), SettingsView::signOutQuestion());
    EXPECT_EQ(dialogs.shown().front().message, QStringLiteral("Sign out of Brightloom?"));
    dialogs.closeNext();
    EXPECT_FALSE(settings.signOut());
    // A call made after the answers reaches the service after anything they sent.
    ASSERT_TRUE(run(api.loadProjects()).ok());
    EXPECT_TRUE(api.signedIn());
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/api/auth/sign-out")).isEmpty());
}

TEST_F(SettingsViewTest, SignOutAgreedEndsTheSession)
{
    SettingsView settings(api, dialogs);
    QSignalSpy signedIn(&settings, &SettingsView::signedInChanged);
    dialogs.pressNext(QStringLiteral("Sign Out"));
    EXPECT_TRUE(settings.signOut());
    ASSERT_TRUE(spinUntil([&] { return !settings.signedIn(); }));
    EXPECT_GE(signedIn.size(), 1);
    EXPECT_EQ(server.requestsTo(QStringLiteral("/api/auth/sign-out")).size(), 1);
}

TEST_F(SettingsViewTest, SignOutWhileSignedOutAsksNothing)
{
    ASSERT_TRUE(run(api.signOut()).ok());
    SettingsView settings(api, dialogs);
    EXPECT_FALSE(settings.signedIn());
    EXPECT_FALSE(settings.signOut());
    EXPECT_TRUE(dialogs.shown().isEmpty());
}
