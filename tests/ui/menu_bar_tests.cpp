#include "platform/version.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "scripted_dialogs.h"
#include "service/api.h"
#include "shell/main_view.h"
#include "shell/settings_view.h"
#include "signed_in_client.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/app/about_dialog.h"
#include "ui/app/app_menus.h"
#include "ui/app/brightloom_app.h"
#include "ui/app/main_view_widget.h"
#include "ui/app/root_view_widget.h"
#include "ui/app/settings_window.h"
#include "ui/conversation/composer.h"
#include "ui/conversation/growing_text_view.h"
#include "ui/conversation/location_picker.h"
#include "ui/conversation/new_project_view_widget.h"
#include "ui/desktop/single_instance.h"

#include <QClipboard>
#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <gtest/gtest.h>
#include <optional>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

QStringList textsOf(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* action : menu->actions())
        texts.append(action->isSeparator() ? QStringLiteral("-") : action->text());
    return texts;
}

QAction* actionNamed(const QMenu* menu, const QString& text)
{
    for (QAction* action : menu->actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

// The whole program over a recording service whose session holds: its window shows the main screen.
struct MenuBarTest : ::testing::Test
{
    TempHome home;
    RecordingServer server;
    QTemporaryDir runtime;
    std::unique_ptr<SingleInstance> instance;
    std::unique_ptr<BrightloomApp> app;

    void SetUp() override
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        server.on(QStringLiteral("GET /api/auth/get-session"),
                  ScriptedReply::json(200, R"({"user":{"id":"u"}})"));
        server.on(QStringLiteral("GET /api/projects"),
                  ScriptedReply::json(
                      200, R"({"projects":[{"id":"p1","name":"Notes"},{"id":"p2","name":"R&D"}]})"));
        server.on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(200, "{}"));
        instance = std::make_unique<SingleInstance>(runtime.filePath(QStringLiteral("socket")));
        app = std::make_unique<BrightloomApp>(*instance);
        app->window().show();
        app->window().activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&app->window()));
        ASSERT_TRUE(spinUntil([&] { return main() && !main()->model().projects().isEmpty(); }));
    }

    void TearDown() override
    {
        app.reset();
        instance.reset();
    }

    MainViewWidget* main() const { return app->root().mainView(); }
    AppMenus& menus() const { return app->menus(); }
};

} // namespace

TEST_F(MenuBarTest, WindowHasFileEditWindowAndHelpMenusWithTheStandardCommands)
{
    QStringList titles;
    for (const QAction* menu : menus().menuBar()->actions())
        titles.append(menu->text());
    EXPECT_EQ(titles, QStringList({QStringLiteral("&File"), QStringLiteral("&Edit"),
                                   QStringLiteral("&Window"), QStringLiteral("&Help")}));
    EXPECT_EQ(
        textsOf(menus().fileMenu()),
        QStringList({QStringLiteral("New App"), QStringLiteral("Close Window"), QStringLiteral("-"),
                     QStringLiteral("Settings…"), QStringLiteral("-"), QStringLiteral("Quit Brightloom")}));
    EXPECT_EQ(textsOf(menus().editMenu()),
              QStringList({QStringLiteral("Undo"), QStringLiteral("Redo"), QStringLiteral("-"),
                           QStringLiteral("Cut"), QStringLiteral("Copy"), QStringLiteral("Paste"),
                           QStringLiteral("-"), QStringLiteral("Select All")}));
    // Projects are named as the service names them: an "&" is a letter, not a mnemonic.
    const QStringList window = textsOf(menus().windowMenu());
    EXPECT_EQ(window.mid(0, 5),
              QStringList({QStringLiteral("Minimize"), QStringLiteral("-"), QStringLiteral("My Apps"),
                           QStringLiteral("Notes"), QStringLiteral("R&&D")}));
    EXPECT_EQ(textsOf(menus().helpMenu()), QStringList(QStringLiteral("About Brightloom")));

    // The platform's own keys from the same code: Ctrl+Q, Ctrl+W, Ctrl+N here, Cmd on a Mac.
    const QMenu* file = menus().fileMenu();
    EXPECT_TRUE(actionNamed(file, QStringLiteral("Quit Brightloom"))
                    ->shortcuts()
                    .contains(QKeySequence(QStringLiteral("Ctrl+Q"))));
    EXPECT_TRUE(actionNamed(file, QStringLiteral("Close Window"))
                    ->shortcuts()
                    .contains(QKeySequence(QStringLiteral("Ctrl+W"))));
    EXPECT_EQ(actionNamed(file, QStringLiteral("New App"))->shortcut(), QKeySequence(QKeySequence::New));
    EXPECT_EQ(actionNamed(file, QStringLiteral("Quit Brightloom"))->menuRole(), QAction::QuitRole);
    EXPECT_EQ(actionNamed(file, QStringLiteral("Settings…"))->menuRole(), QAction::PreferencesRole);
    EXPECT_EQ(actionNamed(menus().helpMenu(), QStringLiteral("About Brightloom"))->menuRole(),
              QAction::AboutRole);
    EXPECT_EQ(actionNamed(menus().editMenu(), QStringLiteral("Copy"))->shortcut(),
              QKeySequence(QKeySequence::Copy));
}

TEST_F(MenuBarTest, ShortcutsOfTheMenusNavigateQuitCloseAndMinimize)
{
    QWidget& window = app->window();
    QTest::keyClick(&window, Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(main()->model().selection(), MainView::librarySelection);
    QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);
    EXPECT_EQ(main()->model().selection(), QStringLiteral("p2"));
    QTest::keySequence(&window, QKeySequence(QKeySequence::New));
    EXPECT_EQ(main()->model().selection(), MainView::newSelection);

    QSignalSpy quit(&menus(), &AppMenus::quitRequested);
    QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quit.size(), 1);

    QTest::keyClick(&window, Qt::Key_M, Qt::ControlModifier);
    EXPECT_TRUE(window.windowState() & Qt::WindowMinimized);
    window.showNormal();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(MenuBarTest, NavigationLeavesTheMenusWithTheMainScreenOnSignOut)
{
    ASSERT_TRUE(run(app->api().signOut()).ok());
    drainPostedEvents(); // the main screen goes once the call that dropped it has returned
    EXPECT_EQ(actionNamed(menus().fileMenu(), QStringLiteral("New App")), nullptr);
    EXPECT_EQ(actionNamed(menus().windowMenu(), QStringLiteral("My Apps")), nullptr);
}

TEST_F(MenuBarTest, EditMenuActsOnTheTextThatHasTheFocus)
{
    auto* screen = qobject_cast<NewProjectViewWidget*>(main()->detail());
    ASSERT_NE(screen, nullptr);
    GrowingTextView* field = screen->composer()->textView();
    screen->composer()->setText(QStringLiteral("A menu bar timer"));
    field->setFocus();
    ASSERT_TRUE(spinUntil([&] { return field->hasFocus(); }));
    QGuiApplication::clipboard()->clear();
    actionNamed(menus().editMenu(), QStringLiteral("Select All"))->trigger();
    actionNamed(menus().editMenu(), QStringLiteral("Copy"))->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("A menu bar timer"));
    actionNamed(menus().editMenu(), QStringLiteral("Cut"))->trigger();
    EXPECT_EQ(screen->composer()->text(), QString());
    actionNamed(menus().editMenu(), QStringLiteral("Undo"))->trigger();
    EXPECT_EQ(screen->composer()->text(), QStringLiteral("A menu bar timer"));
}

TEST_F(MenuBarTest, SettingsShowsTheBuildLocationThatTheNewAppScreenShows)
{
    actionNamed(menus().fileMenu(), QStringLiteral("Settings…"))->trigger();
    const auto opened = app->window().findChildren<SettingsWindow*>();
    ASSERT_EQ(opened.size(), 1);
    SettingsWindow& settings = *opened.front();
    ASSERT_TRUE(settings.isVisible());
    EXPECT_EQ(settings.windowTitle(), QStringLiteral("Settings"));
    EXPECT_TRUE(settings.picker()->cloudButton()->isChecked());
    EXPECT_TRUE(settings.signOutButton()->isEnabled());
    QTest::mouseClick(settings.picker()->localButton(), Qt::LeftButton);
    auto* screen = qobject_cast<NewProjectViewWidget*>(main()->detail());
    ASSERT_NE(screen, nullptr);
    EXPECT_TRUE(screen->picker()->localButton()->isChecked());
    QTest::mouseClick(screen->picker()->cloudButton(), Qt::LeftButton);
    EXPECT_TRUE(settings.picker()->cloudButton()->isChecked());
    // Asked again, the same window comes back.
    EXPECT_EQ(&app->showSettings(), &settings);
}

TEST_F(MenuBarTest, AboutShowsTheVersionAndTheLicencesOfTheShippedLibraries)
{
    actionNamed(menus().helpMenu(), QStringLiteral("About Brightloom"))->trigger();
    const auto opened = app->window().findChildren<AboutDialog*>();
    ASSERT_EQ(opened.size(), 1);
    AboutDialog& about = *opened.front();
    ASSERT_TRUE(about.isVisible());
    EXPECT_EQ(&app->showAbout(), &about);
    bool version = false;
    for (const QLabel* label : about.findChildren<QLabel*>())
        version = version || label->text() == QStringLiteral("Version " BRIGHTLOOM_VERSION);
    EXPECT_TRUE(version);
    const QString notices = about.notices()->toPlainText();
    for (const char* library : {"Qt", "QCoro", "JSON for Modern C++", "libarchive", "zlib"})
        EXPECT_TRUE(notices.contains(QLatin1String(library))) << library;
    EXPECT_TRUE(notices.contains(QStringLiteral("GNU LGPL version 3")));
}

// The Settings window alone, over scripted answers.
struct SettingsWindowTest : ::testing::Test
{
    SignedInClient client;
    API& api = *client.api;
    RecordingServer& server = client.server;
    ScriptedDialogs dialogs;

    void SetUp() override { ASSERT_TRUE(client.signedIn()); }
};

TEST_F(SettingsWindowTest, SignOutAsksFirstAndOnlyAYesEndsTheSessionAndClosesTheWindow)
{
    SettingsView model(api, dialogs);
    SettingsWindow window(model);
    window.show();
    dialogs.pressNext(QStringLiteral("Cancel"));
    QTest::mouseClick(window.signOutButton(), Qt::LeftButton);
    EXPECT_EQ(dialogs.shown().size(), 1);
    // A call made after the click reaches the service after anything the click sent.
    ASSERT_TRUE(run(api.loadProjects()).ok());
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/api/auth/sign-out")).isEmpty());
    EXPECT_TRUE(api.signedIn());
    EXPECT_TRUE(window.isVisible());
    dialogs.pressNext(QStringLiteral("Sign Out"));
    QTest::mouseClick(window.signOutButton(), Qt::LeftButton);
    EXPECT_FALSE(window.isVisible());
    ASSERT_TRUE(spinUntil([&] { return !api.signedIn(); }));
    EXPECT_FALSE(window.signOutButton()->isEnabled());
}

namespace {

// Notes whether the application had its icon when the spinner was first painted.
class IconAtFirstPaint final : public QObject
{
public:
    explicit IconAtFirstPaint(QWidget& spinner) { spinner.installEventFilter(this); }
    std::optional<bool> hadIcon;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && !hadIcon)
            hadIcon = !QGuiApplication::windowIcon().isNull();
        return false;
    }
};

} // namespace

TEST(AppIconTest, ApplicationIconIsDrawnOnceTheFirstFrameIsOnTheScreen)
{
    TempHome home;
    RecordingServer server;
    home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
    server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
    QTemporaryDir runtime;
    SingleInstance instance(runtime.filePath(QStringLiteral("socket")));
    QGuiApplication::setWindowIcon(QIcon());
    BrightloomApp app(instance);
    app.root().setFirstFrameAtTheLatest(std::chrono::seconds(30));
    EXPECT_TRUE(QGuiApplication::windowIcon().isNull()) << "not drawn before the window is";
    IconAtFirstPaint witness(*app.root().spinnerPage());
    app.window().show();
    ASSERT_TRUE(spinUntil([] { return !QGuiApplication::windowIcon().isNull(); }));
    ASSERT_TRUE(witness.hadIcon.has_value());
    EXPECT_FALSE(*witness.hadIcon);
    EXPECT_TRUE(QGuiApplication::windowIcon().availableSizes().contains(QSize(256, 256)));
}
