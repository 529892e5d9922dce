#include "accessible_walk.h"
#include "conversation/chat_view.h"
#include "conversation/new_project_view.h"
#include "gallery_service.h"
#include "library/gallery_view.h"
#include "localbuild/local_builds.h"
#include "platform/notifier.h"
#include "platform/settings.h"
#include "platform/version.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "recording_server.h"
#include "scripted_dialogs.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "shell/auth_view.h"
#include "shell/main_view.h"
#include "shell/root_view.h"
#include "shell/worker_status_banner.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/app/auth_view_widget.h"
#include "ui/app/main_view_widget.h"
#include "ui/app/root_view_widget.h"
#include "ui/app/sidebar.h"
#include "ui/app/sidebar_model.h"
#include "ui/app/window_screens.h"
#include "ui/app/worker_status_banner_widget.h"
#include "ui/conversation/chat_view_widget.h"
#include "ui/conversation/new_project_view_widget.h"
#include "ui/library/gallery_grid.h"
#include "ui/library/gallery_tile.h"
#include "ui/library/gallery_view_widget.h"
#include "ui/shared/error_label.h"
#include "ui/shared/link_button.h"
#include "widget_lookup.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;
using namespace std::chrono_literals;

namespace {

const QByteArray twoProjects =
    R"({"projects":[{"id":"p1","name":"Notes"},{"id":"p2","name":"Timer","unsafe":true}]})";

class RecordingNotifier final : public Notifier
{
public:
    void notify(const QString& title, const QString& body) override
    {
        shown.append(title + QLatin1Char('|') + body);
    }
    QStringList shown;
};

// A window's content over a recording service, in a home of its own.
struct ShellWidgetTest : ::testing::Test
{
    TempHome home;
    RecordingServer server;
    std::unique_ptr<API> api;
    std::unique_ptr<LocalBuilds> local;
    QWidget window;

    void SetUp() override
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, twoProjects));
        server.on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(200, "{}"));
        server.on(QStringLiteral("GET /api/worker-status"),
                  ScriptedReply::json(200, R"({"online":true,"delayed":false})"));
        api = std::make_unique<API>();
        local = std::make_unique<LocalBuilds>();
        window.resize(1000, 640);
    }

    void show(QWidget* content)
    {
        content->setParent(&window);
        content->resize(window.size());
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    QJsonObject lastBody(const QString& path) const
    {
        const auto requests = server.requestsTo(path);
        return requests.isEmpty() ? QJsonObject() : QJsonDocument::fromJson(requests.back().body).object();
    }

    // The sign-in screen after a sign-in the service refused with "Invalid email or password".
    AuthViewWidget* refusedSignIn()
    {
        server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
        server.on(QStringLiteral("POST /api/auth/sign-in/email"),
                  ScriptedReply::json(401, R"({"message":"Invalid email or password"})"));
        auto* root = shellRoot();
        show(root);
        if (!spinUntil([&] { return root->authView() != nullptr; }))
            return nullptr;
        AuthViewWidget* auth = root->authView();
        QTest::keyClicks(email(auth), QStringLiteral("ada@example.com"));
        QTest::keyClicks(password(auth), QStringLiteral("wrong"));
        QTest::mouseClick(button(auth, signIn), Qt::LeftButton);
        return spinUntil([&] { return signInError(auth)->isVisible(); }) ? auth : nullptr;
    }

    // The sign-in form's controls, as a screen reader names them.
    static QLineEdit* field(const QWidget* auth, const QString& name)
    {
        return controlNamed<QLineEdit>(auth, name);
    }
    static QLineEdit* email(const QWidget* auth) { return field(auth, QStringLiteral("Email")); }
    static QLineEdit* password(const QWidget* auth) { return field(auth, QStringLiteral("Password")); }
    static QPushButton* button(const QWidget* auth, const QString& name)
    {
        return controlNamed<QPushButton>(auth, name);
    }
    static QLabel* signInError(const QWidget* auth)
    {
        return anyLabelDescribed(auth, QStringLiteral("Sign-in error"));
    }
    static const QString signIn;
    static const QString createAccount;

    // The sign-in and main screens over blank detail panes.
    RootViewWidget* shellRoot() { return rootScreen(*api, shellScreens(*api, *local, nullptr)); }

    static QStringList sidebarRows(const Sidebar& sidebar)
    {
        QStringList rows;
        const SidebarModel* model = sidebar.model();
        for (int row = 0; row < model->rowCount(); ++row)
            rows << model->index(row).data().toString();
        return rows;
    }
};

const QString ShellWidgetTest::signIn = QStringLiteral("Sign in");
const QString ShellWidgetTest::createAccount = QStringLiteral("Create account");

} // namespace

TEST_F(ShellWidgetTest, RootShowsACentredSpinnerWhileCheckingThenTheSignInScreen)
{
    ScriptedReply session = ScriptedReply::json(200, "null");
    session.held = true;
    server.on(QStringLiteral("GET /api/auth/get-session"), session);
    auto* root = shellRoot();
    show(root);
    EXPECT_TRUE(root->spinnerPage()->isVisible());
    EXPECT_EQ(root->authView(), nullptr);
    ASSERT_TRUE(
        spinUntil([&] { return server.requestsTo(QStringLiteral("/api/auth/get-session")).size() == 1; }));
    EXPECT_TRUE(root->spinnerPage()->isVisible()) << "the session is still being checked";
    EXPECT_EQ(root->authView(), nullptr);
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return root->authView() && root->authView()->isVisible(); }));
    EXPECT_FALSE(root->spinnerPage()->isVisible());
}

TEST_F(ShellWidgetTest, WrongPasswordShowsTheServicesMessageInRedAndKeepsTheFields)
{
    AuthViewWidget* auth = refusedSignIn();
    ASSERT_NE(auth, nullptr);
    EXPECT_EQ(signInError(auth)->text(), QStringLiteral("Invalid email or password"));
    // The shared error red: (192, 28, 40) on a light window, lighter on a dark one.
    const QPalette shown = signInError(auth)->palette();
    EXPECT_EQ(shown.color(QPalette::WindowText), ErrorLabel::colourOn(shown.color(QPalette::Window)));
    EXPECT_EQ(ErrorLabel::colourOn(QColor(Qt::white)), QColor(192, 28, 40));
    EXPECT_EQ(email(auth)->text(), QStringLiteral("ada@example.com"));
    EXPECT_EQ(password(auth)->text(), QStringLiteral("wrong"));
    EXPECT_EQ(password(auth)->echoMode(), QLineEdit::Password);
}

TEST_F(ShellWidgetTest, SwitchingModesHidesTheErrorAndKeepsTheFields)
{
    AuthViewWidget* auth = refusedSignIn();
    ASSERT_NE(auth, nullptr);

    QTest::mouseClick(button(auth, QStringLiteral("Create an account")), Qt::LeftButton);
    EXPECT_FALSE(signInError(auth)->isVisible());
    EXPECT_TRUE(field(auth, QStringLiteral("Name"))->isVisible());
    EXPECT_TRUE(button(auth, createAccount) && !button(auth, signIn));
    EXPECT_EQ(email(auth)->text(), QStringLiteral("ada@example.com"));
    EXPECT_EQ(password(auth)->text(), QStringLiteral("wrong"));

    QTest::mouseClick(button(auth, QStringLiteral("I already have an account")), Qt::LeftButton);
    EXPECT_FALSE(signInError(auth)->isVisible()) << "the error does not come back with the old mode";
    EXPECT_TRUE(button(auth, signIn) && !button(auth, createAccount));
    EXPECT_EQ(email(auth)->text(), QStringLiteral("ada@example.com"));
    EXPECT_EQ(password(auth)->text(), QStringLiteral("wrong"));
    EXPECT_EQ(server.requestsTo(QStringLiteral("/api/auth/sign-in/email")).size(), 1);
}

TEST_F(ShellWidgetTest, SignUpWithoutANameSendsTheEmailAsNameAndOpensTheMainScreen)
{
    server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
    server.on(QStringLiteral("POST /api/auth/sign-up/email"), ScriptedReply::json(200, R"({"user":{}})"));
    auto* root = shellRoot();
    show(root);
    ASSERT_TRUE(spinUntil([&] { return root->authView() != nullptr; }));
    AuthViewWidget* auth = root->authView();
    EXPECT_FALSE(field(auth, QStringLiteral("Name"))->isVisible());
    QTest::mouseClick(button(auth, QStringLiteral("Create an account")), Qt::LeftButton);
    EXPECT_TRUE(field(auth, QStringLiteral("Name"))->isVisible());
    EXPECT_TRUE(button(auth, createAccount) && !button(auth, signIn));
    EXPECT_TRUE(button(auth, QStringLiteral("I already have an account")));
    QTest::keyClicks(email(auth), QStringLiteral("ada@example.com"));
    QTest::keyClicks(password(auth), QStringLiteral("secret"));
    QTest::keyClick(password(auth), Qt::Key_Return); // Return anywhere in the form submits
    ASSERT_TRUE(spinUntil([&] { return root->mainView() != nullptr; }));
    EXPECT_EQ(lastBody(QStringLiteral("/api/auth/sign-up/email")).value(QStringLiteral("name")).toString(),
              QStringLiteral("ada@example.com"));
}

TEST_F(ShellWidgetTest, PrimaryButtonIsDisabledUntilEmailAndPasswordHoldSomething)
{
    auto* auth = signInScreen(*api);
    show(auth);
    ASSERT_TRUE(button(auth, signIn));
    EXPECT_FALSE(button(auth, signIn)->isEnabled());
    QTest::keyClicks(email(auth), QStringLiteral("a"));
    EXPECT_FALSE(button(auth, signIn)->isEnabled());
    QTest::keyClicks(password(auth), QStringLiteral("b"));
    EXPECT_TRUE(button(auth, signIn)->isEnabled());
    EXPECT_TRUE(button(auth, QStringLiteral("Continue with Google"))->isEnabled());
    EXPECT_EQ(button(auth, QStringLiteral("Continue with Google"))->text(),
              QStringLiteral("Continue with Google"));
    EXPECT_EQ(email(auth)->accessibleName(), QStringLiteral("Email"));
    EXPECT_EQ(password(auth)->accessibleName(), QStringLiteral("Password"));
}

TEST_F(ShellWidgetTest, SignInWidgetDrawsTheModelItIsGivenInWhateverStateItIsIn)
{
    // A model switched to signing up and filled before its widget exists: no service is asked.
    AuthView model(*api);
    model.toggle();
    model.setEmail(QStringLiteral("ada@example.com"));
    model.setPassword(QStringLiteral("secret"));
    AuthViewWidget auth(model);
    auth.resize(600, 500);
    auth.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&auth));
    EXPECT_TRUE(field(&auth, QStringLiteral("Name"))->isVisible());
    ASSERT_TRUE(button(&auth, createAccount)); // the model signs up
    EXPECT_TRUE(button(&auth, createAccount)->isEnabled());
    EXPECT_TRUE(button(&auth, QStringLiteral("I already have an account")));
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(ShellWidgetTest, FieldsFilledByAssistiveToolsReachTheForm)
{
    // Screen readers and input tools set a field's text without key presses.
    auto* auth = signInScreen(*api);
    show(auth);
    email(auth)->setText(QStringLiteral("ada@example.com"));
    password(auth)->setText(QStringLiteral("secret"));
    EXPECT_EQ(auth->model().email(), QStringLiteral("ada@example.com"));
    EXPECT_EQ(auth->model().password(), QStringLiteral("secret"));
    EXPECT_TRUE(button(auth, signIn)->isEnabled());
}

TEST_F(ShellWidgetTest, SidebarListsTheProjectsInTheServicesOrderUnderTheFixedEntries)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    auto* main = mainScreen(*api, *local, {}, nullptr);
    show(main);
    EXPECT_EQ(sidebarRows(*main->sidebar()),
              (QStringList{QStringLiteral("New app"), QStringLiteral("My apps"), QStringLiteral("Your apps"),
                           QStringLiteral("Notes"), QStringLiteral("Timer")}));
    const SidebarModel* model = main->sidebar()->model();
    EXPECT_TRUE(model->index(4).data(Qt::DecorationRole).value<QIcon>().isNull() == false);
    EXPECT_EQ(model->index(4).data(SidebarModel::SymbolHelpRole).toString(),
              QStringLiteral("Made from an imported GitHub repo (unsafe mode)"));
    EXPECT_FALSE(model->index(3).data(SidebarModel::SymbolHelpRole).isValid());
    EXPECT_EQ(main->sidebar()->versionLabel()->text(),
              QStringLiteral("Version ") + QStringLiteral(BRIGHTLOOM_VERSION));
    EXPECT_EQ(main->sidebar()->signOutButton()->text(), QStringLiteral("Sign out"));
}

TEST_F(ShellWidgetTest, SidebarFollowsTheProjectListAfterACreateAndAFork)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    auto* main = mainScreen(*api, *local, {}, nullptr);
    show(main);
    main->model().select(QStringLiteral("p1"));
    server.on(QStringLiteral("POST /api/projects"), ScriptedReply::json(200, R"({"id":"p3"})"));
    server.on(QStringLiteral("GET /api/projects"),
              ScriptedReply::json(200,
                                  R"({"projects":[{"id":"p3","name":"Clock"},{"id":"p1","name":"Notes"},)"
                                  R"({"id":"p2","name":"Timer","unsafe":true}]})"));
    ASSERT_TRUE(run(api->createProject(QStringLiteral("a clock"), false, std::nullopt, std::nullopt)).ok());
    EXPECT_EQ(sidebarRows(*main->sidebar()).mid(3),
              (QStringList{QStringLiteral("Clock"), QStringLiteral("Notes"), QStringLiteral("Timer")}));
    // The selected project keeps its row selected while rows are added before it.
    EXPECT_EQ(main->sidebar()->list()->currentIndex().data(SidebarModel::SelectionRole).toString(),
              QStringLiteral("p1"));
    server.on(QStringLiteral("POST /api/templates/fork"), ScriptedReply::json(200, R"({"projectId":"p4"})"));
    server.on(
        QStringLiteral("GET /api/projects"),
        ScriptedReply::json(200, R"({"projects":[{"id":"p4","name":"Clock copy"},{"id":"p3","name":"Clock"},)"
                                 R"({"id":"p1","name":"Notes"}]})"));
    ASSERT_TRUE(run(api->forkTemplate(QStringLiteral("job-1"))).ok());
    EXPECT_EQ(sidebarRows(*main->sidebar()).mid(3),
              (QStringList{QStringLiteral("Clock copy"), QStringLiteral("Clock"), QStringLiteral("Notes")}));
}

TEST_F(ShellWidgetTest, TemplateFromTheGalleryOpensTheNewProjectsConversation)
{
    GalleryService service(server); // copying "recipes" makes the project "p-fork"
    GalleryEntry recipes;
    recipes.slug = QStringLiteral("recipes");
    recipes.name = QStringLiteral("Recipes");
    recipes.tagline = QStringLiteral("Every recipe in one place");
    service.apps = {recipes};
    QTemporaryDir cache;
    IconLoader icons(cache.path());
    RecordingDesktop desktop;
    ScriptedDialogs dialogs;
    auto* main = mainScreen(*api, *local, windowScreens(*api, *local, icons, desktop, dialogs), nullptr);
    window.resize(1200, 900); // the gallery's first row in view below the form
    show(main);
    auto* start = qobject_cast<NewProjectViewWidget*>(main->detail());
    ASSERT_NE(start, nullptr) << "a new window opens on the new project screen";
    GalleryViewWidget* gallery = start->gallery();
    ASSERT_TRUE(spinUntil([&] { return gallery->model().loaded(); }));
    QCoreApplication::processEvents();
    GalleryTile* tile = gallery->grid()->tileFor(QStringLiteral("recipes"));
    ASSERT_NE(tile, nullptr);
    QAbstractButton* use = buttonNamed(tile, QStringLiteral("Use as template"));
    ASSERT_NE(use, nullptr);
    QTest::mouseClick(use, Qt::LeftButton);

    ASSERT_TRUE(spinUntil([&] { return main->model().selection() == QLatin1String("p-fork"); }));
    EXPECT_EQ(service.forkRequests().size(), 1);
    EXPECT_EQ(sidebarRows(*main->sidebar()).mid(3), QStringList{QStringLiteral("Copy")});
    EXPECT_EQ(main->sidebar()->list()->currentIndex().data(SidebarModel::SelectionRole).toString(),
              QStringLiteral("p-fork"));
    EXPECT_EQ(main->model().detail().screen, MainView::Screen::conversation);
    auto* conversation = qobject_cast<ChatViewWidget*>(main->detail());
    ASSERT_NE(conversation, nullptr);
    EXPECT_EQ(conversation->chatView()->project().id, QStringLiteral("p-fork"));
    EXPECT_TRUE(conversation->isVisible());
}

TEST_F(ShellWidgetTest, ProjectMissingFromAReloadedListKeepsItsSelectionAndComesBackWhenListedAgain)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    auto* main = mainScreen(*api, *local, {}, nullptr);
    show(main);
    main->model().select(QStringLiteral("p2"));
    EXPECT_EQ(main->model().detail().screen, MainView::Screen::conversation);

    server.on(QStringLiteral("GET /api/projects"),
              ScriptedReply::json(200, R"({"projects":[{"id":"p1","name":"Notes"}]})"));
    ASSERT_TRUE(run(api->loadProjects()).ok());
    EXPECT_EQ(main->model().selection(), QStringLiteral("p2"));
    EXPECT_EQ(main->model().detail().screen, MainView::Screen::newProject);
    EXPECT_FALSE(main->sidebar()->list()->currentIndex().isValid()) << "no row stands for the screen";

    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, twoProjects));
    ASSERT_TRUE(run(api->loadProjects()).ok());
    EXPECT_EQ(main->model().detail().screen, MainView::Screen::conversation);
    EXPECT_EQ(main->model().detail().project->id, QStringLiteral("p2"));
    EXPECT_EQ(main->sidebar()->list()->currentIndex().data(SidebarModel::SelectionRole).toString(),
              QStringLiteral("p2"));

    // Meanwhile "New app" is a choice like any other.
    server.on(QStringLiteral("GET /api/projects"),
              ScriptedReply::json(200, R"({"projects":[{"id":"p1","name":"Notes"}]})"));
    ASSERT_TRUE(run(api->loadProjects()).ok());
    QListView* list = main->sidebar()->list();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(list->model()->index(0, 0)).center());
    EXPECT_EQ(main->model().selection(), MainView::newSelection);
}

TEST_F(ShellWidgetTest, ChoosingSidebarRowsSelectsTheirScreens)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    auto* main = mainScreen(*api, *local, {}, nullptr);
    show(main);
    EXPECT_EQ(main->model().detail().screen, MainView::Screen::newProject);
    QListView* list = main->sidebar()->list();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(list->model()->index(1, 0)).center());
    EXPECT_EQ(main->model().detail().screen, MainView::Screen::library);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(list->model()->index(3, 0)).center());
    EXPECT_EQ(main->model().detail().project->id, QStringLiteral("p1"));
    // The heading is not a destination.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(list->model()->index(2, 0)).center());
    EXPECT_EQ(main->model().selection(), QStringLiteral("p1"));
}

TEST_F(ShellWidgetTest, KeyboardShortcutsOpenNewAppMyAppsAndTheFirstNineProjects)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    auto* main = mainScreen(*api, *local, {}, nullptr);
    show(main);
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);
    EXPECT_EQ(main->model().selection(), QStringLiteral("p2"));
    QTest::keyClick(&window, Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(main->model().selection(), MainView::librarySelection);
    QTest::keyClick(&window, Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(main->model().selection(), MainView::newSelection);
    QTest::keyClick(&window, Qt::Key_9, Qt::ControlModifier); // no ninth project: nothing changes
    EXPECT_EQ(main->model().selection(), MainView::newSelection);
    EXPECT_EQ(main->sidebar()->model()->index(0).data(Qt::ToolTipRole).toString(),
              QStringLiteral("New app (Ctrl+N)"));
    EXPECT_EQ(main->sidebar()->model()->index(3).data(Qt::ToolTipRole).toString(),
              QStringLiteral("Notes (Ctrl+1)"));
}

TEST_F(ShellWidgetTest, EachSelectionBuildsAFreshScreen)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    int made = 0;
    Screens screens;
    screens.conversation = [&made](const Project& project) {
        ++made;
        return Screens::Conversation{new QLabel(project.name), nullptr};
    };
    auto* main = mainScreen(*api, *local, screens, nullptr);
    show(main);
    main->model().select(QStringLiteral("p1"));
    QPointer<QWidget> first = main->detail();
    main->model().select(QStringLiteral("p2"));
    EXPECT_EQ(made, 2);
    EXPECT_TRUE(first->isHidden());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(first.isNull());
    EXPECT_EQ(qobject_cast<QLabel*>(main->detail())->text(), QStringLiteral("Timer"));
}

TEST_F(ShellWidgetTest, SigningOutReturnsToAnEmptySignInScreenAndDropsTheMainScreen)
{
    server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, R"({"user":{}})"));
    auto* root = shellRoot();
    show(root);
    ASSERT_TRUE(spinUntil([&] { return root->mainView() != nullptr; }));
    QPointer<MainViewWidget> main = root->mainView();
    main->model().select(QStringLiteral("library"));
    QTest::mouseClick(main->sidebar()->signOutButton(), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return root->authView() != nullptr; }));
    ASSERT_TRUE(spinUntil([&] { return main.isNull(); }));
    EXPECT_TRUE(email(root->authView())->text().isEmpty());
    EXPECT_FALSE(root->authView()->model().creating());
    EXPECT_EQ(server.requestsTo(QStringLiteral("/api/auth/sign-out")).size(), 1);
}

TEST_F(ShellWidgetTest, WorkerBannerShowsOneRowWhileDelayedAndTakesNoSpaceOtherwise)
{
    server.on(QStringLiteral("GET /api/worker-status"),
              ScriptedReply::json(200, R"({"online":false,"delayed":true,"reason":"offline"})"));
    WorkerStatusBanner model(*api);
    auto* banner = new WorkerStatusBannerWidget(model);
    banner->model().setInterval(20ms);
    show(banner);
    ASSERT_TRUE(spinUntil([&] { return banner->row()->isVisible(); }));
    EXPECT_EQ(banner->row()->text(),
              QStringLiteral("<b>Builds are delayed right now.</b> Our build machine is offline. Your "
                             "build will stay queued and start automatically when it is back."));
    EXPECT_TRUE(banner->row()->findChildren<QWidget*>().isEmpty()); // read as one element
    server.on(QStringLiteral("GET /api/worker-status"),
              ScriptedReply::json(200, R"({"online":true,"delayed":false})"));
    ASSERT_TRUE(spinUntil([&] { return !banner->row()->isVisible(); }));
    EXPECT_EQ(banner->sizeHint().height(), 0);
    window.hide();
    EXPECT_FALSE(banner->model().polling());
}

TEST_F(ShellWidgetTest, BuildThatEndsWhileTheWindowIsElsewhereIsAnnouncedOnTheDesktop)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    server.on(QStringLiteral("GET /api/projects/p1"),
              ScriptedReply::json(200, R"({"project":{"id":"p1","name":"Notes"},"messages":[],)"
                                       R"("jobs":[{"id":"j1","status":"building","stage":"compiling"}]})"));
    RecordingNotifier notifier;
    ChatView* chat = nullptr;
    Screens screens;
    screens.conversation = [&](const Project& project) {
        auto* label = new QLabel(project.name);
        chat = new ChatView(*api, *local, project, nullptr, label);
        return Screens::Conversation{label, chat};
    };
    auto* main = mainScreen(*api, *local, screens, &notifier);
    show(main);
    main->model().select(QStringLiteral("p1"));
    ASSERT_NE(chat, nullptr);
    ASSERT_TRUE(run(chat->refresh()).ok());
    EXPECT_TRUE(notifier.shown.isEmpty());
    // The user looks at another window.
    QWidget elsewhere;
    elsewhere.show();
    elsewhere.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&elsewhere));
    ASSERT_FALSE(window.isActiveWindow());
    server.on(QStringLiteral("GET /api/projects/p1"),
              ScriptedReply::json(200, R"({"project":{"id":"p1","name":"Notes"},"messages":[],)"
                                       R"("jobs":[{"id":"j1","status":"ready"}]})"));
    ASSERT_TRUE(run(chat->refresh()).ok());
    EXPECT_EQ(notifier.shown, QStringList{QStringLiteral("Notes|Your app is ready to download.")});
}

TEST_F(ShellWidgetTest, BuildThatEndsWhileTheWindowIsInFrontIsNotAnnounced)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    server.on(QStringLiteral("GET /api/projects/p1"),
              ScriptedReply::json(200, R"({"project":{"id":"p1","name":"Notes"},"messages":[],)"
                                       R"("jobs":[{"id":"j1","status":"queued"}]})"));
    RecordingNotifier notifier;
    ChatView* chat = nullptr;
    Screens screens;
    screens.conversation = [&](const Project& project) {
        auto* label = new QLabel(project.name);
        chat = new ChatView(*api, *local, project, nullptr, label);
        return Screens::Conversation{label, chat};
    };
    auto* main = mainScreen(*api, *local, screens, &notifier);
    show(main);
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    main->model().select(QStringLiteral("p1"));
    ASSERT_TRUE(run(chat->refresh()).ok());
    server.on(QStringLiteral("GET /api/projects/p1"),
              ScriptedReply::json(200, R"({"project":{"id":"p1","name":"Notes"},"messages":[],)"
                                       R"("jobs":[{"id":"j1","status":"failed"}]})"));
    ASSERT_TRUE(run(chat->refresh()).ok());
    EXPECT_TRUE(notifier.shown.isEmpty());
}

TEST_F(ShellWidgetTest, EverySignInControlIsNamedAndItsAccessibleActionDoesWhatAClickDoes)
{
    server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
    server.on(QStringLiteral("POST /api/auth/sign-in/email"),
              ScriptedReply::json(401, R"({"message":"Invalid email or password"})"));
    std::unique_ptr<RootViewWidget> root;
    expectActionsDoWhatClicksDo(
        [&]() -> QWidget* {
            root.reset();
            root = std::unique_ptr<RootViewWidget>(shellRoot());
            root->resize(1000, 640);
            root->show();
            spinUntil([&] { return root->authView() != nullptr; });
            // Filled in, so that the primary button is enabled.
            QTest::keyClicks(email(root->authView()), QStringLiteral("ada@example.com"));
            QTest::keyClicks(password(root->authView()), QStringLiteral("secret"));
            return root.get();
        },
        3);
    root.reset();
}

TEST_F(ShellWidgetTest, EveryMainScreenControlIsNamedAndItsAccessibleActionDoesWhatAClickDoes)
{
    ASSERT_TRUE(run(api->loadProjects()).ok());
    server.on(QStringLiteral("GET /api/worker-status"),
              ScriptedReply::json(200, R"({"online":false,"delayed":true})"));
    IconLoader icons{QString()};
    RecordingDesktop desktop;
    ScriptedDialogs dialogs;
    std::unique_ptr<MainViewWidget> main;
    expectActionsDoWhatClicksDo(
        [&]() -> QWidget* {
            main.reset();
            Settings::store()->remove(Settings::buildLocationKey);
            main = std::unique_ptr<MainViewWidget>(
                mainScreen(*api, *local, windowScreens(*api, *local, icons, desktop, dialogs), nullptr));
            main->resize(1000, 640);
            main->show();
            spinUntil([&] { return main->detail() != nullptr; });
            return main.get();
        },
        2);
    main.reset();
}
