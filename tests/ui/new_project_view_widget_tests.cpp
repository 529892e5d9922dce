#include "accessible_walk.h"
#include "conversation/new_project_view.h"
#include "gallery_service.h"
#include "library/gallery_view.h"
#include "localbuild/local_builds.h"
#include "platform/settings.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "recording_server.h"
#include "scripted_dialogs.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/app/window_screens.h"
#include "ui/conversation/composer.h"
#include "ui/conversation/flow_chips.h"
#include "ui/conversation/growing_text_view.h"
#include "ui/conversation/link_notice_view.h"
#include "ui/conversation/location_picker.h"
#include "ui/conversation/new_project_view_widget.h"
#include "ui/conversation/send_button.h"
#include "ui/library/gallery_grid.h"
#include "ui/library/gallery_tile.h"
#include "ui/library/gallery_view_widget.h"
#include "widget_lookup.h"

#include <QFile>
#include <QJsonObject>
#include <QPushButton>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

const QString missingText = QStringLiteral(
    "Swift was not found. Install Xcode from the App Store, open it once to accept the license, then choose "
    "This Mac again.");
const QString foundText = QStringLiteral(
    "The cloud writes the code. Your Mac compiles and signs it with your own Xcode (swift-driver version: "
    "1.90.11 (stand-in)).");

QString plainText(const QLabel* label)
{
    QTextDocument document;
    document.setHtml(label->text());
    return document.toPlainText();
}

// The new project screen in a window, against a scripted service over HTTP, with the stand-in
// developer tools and alerts answered from a script.
class NewProjectWidgetTest : public ::testing::Test
{
protected:
    NewProjectWidgetTest() : service(server)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        resetSettings();
        GalleryEntry app;
        app.slug = QStringLiteral("recipes");
        app.name = QStringLiteral("Recipes");
        app.tagline = QStringLiteral("Every recipe in one place");
        service.apps = {app};
        api = std::make_unique<API>();
        icons = std::make_unique<IconLoader>(cache.path());
    }
    ~NewProjectWidgetTest() override
    {
        delete screen;
        resetSettings();
    }

    static void resetSettings()
    {
        auto settings = Settings::store();
        settings->remove(Settings::buildLocationKey);
        settings->remove(Settings::localBuildAcknowledgedKey);
    }

    // A fresh screen, as the main screen makes one each time it shows it.
    void open(bool show = true)
    {
        delete screen;
        local = std::make_unique<LocalBuilds>();
        screen = newProjectScreen(*api, *local, *icons, desktop, dialogs,
                                  [this](QString id) { created.append(id); });
        screen->resize(1200, 900);
        if (!show)
            return;
        screen->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(screen));
    }

    void type(const QString& text)
    {
        screen->composer()->setText(QString());
        QTest::keyClicks(screen->composer()->textView(), text);
    }

    void pressReturn() { QTest::keyClick(screen->composer()->textView(), Qt::Key_Return); }

    QString description() const { return screen->picker()->description()->text(); }

    TempHome home;
    RecordingServer server;
    GalleryService service;
    QTemporaryDir cache;
    QTemporaryDir emptyTools;
    RecordingDesktop desktop;
    ScriptedDialogs dialogs;
    std::unique_ptr<API> api;
    std::unique_ptr<IconLoader> icons;
    std::unique_ptr<LocalBuilds> local;
    QStringList created;
    NewProjectViewWidget* screen = nullptr;
};

} // namespace

TEST_F(NewProjectWidgetTest, ShowsTitleSubtitleAndTheComposerWithIdeasInAColumnAtMost900Wide)
{
    open();
    QStringList texts;
    for (QLabel* label : screen->findChildren<QLabel*>())
        texts.append(label->text());
    EXPECT_TRUE(texts.contains(QStringLiteral("Describe it. Get a Mac app.")));
    EXPECT_TRUE(texts.contains(QStringLiteral(
        "Chat with an AI that writes, builds, and packages a native SwiftUI Mac app for you.")));
    EXPECT_EQ(screen->composer()->textView()->placeholderText(),
              QStringLiteral("Describe the Mac app you want…"));
    EXPECT_EQ(screen->composer()->textView()->height(), 110);
    EXPECT_TRUE(screen->composer()->chips()->isVisible());
    EXPECT_EQ(screen->column()->width(), 900);
    EXPECT_NEAR(screen->column()->mapTo(screen, QPoint(0, 0)).x(),
                (screen->scrollArea()->viewport()->width() - 900) / 2, 1);
    EXPECT_EQ(screen->picker()->findChild<QPushButton*>()->parentWidget()->width(), 380);
    EXPECT_TRUE(screen->composer()->textView()->hasFocus());
}

TEST_F(NewProjectWidgetTest, ReturnWithThisMacShowsTheCompileWarningOnceAndNeverAgainAfterAcceptance)
{
    open();
    QTest::mouseClick(screen->picker()->localButton(), Qt::LeftButton);
    EXPECT_EQ(screen->model().location(), QStringLiteral("local"));
    ASSERT_TRUE(spinUntil([&] { return description() == foundText; }));

    dialogs.pressNext(QStringLiteral("Compile on this Mac"));
    type(QStringLiteral("a pomodoro timer"));
    pressReturn();
    ASSERT_TRUE(spinUntil([&] { return created.size() == 1; }));
    ASSERT_EQ(dialogs.shown().size(), 1);
    EXPECT_EQ(dialogs.shown()[0].message, QStringLiteral("Compile on this Mac?"));

    type(QStringLiteral("a stopwatch"));
    pressReturn();
    ASSERT_TRUE(spinUntil([&] { return created.size() == 2; }));
    EXPECT_EQ(dialogs.shown().size(), 1);

    open(); // the screen is shown anew, with a new model reading the same settings
    EXPECT_TRUE(screen->picker()->localButton()->isChecked());
    type(QStringLiteral("a clock"));
    pressReturn();
    ASSERT_TRUE(spinUntil([&] { return created.size() == 3; }));
    EXPECT_EQ(dialogs.shown().size(), 1);
    const auto bodies = service.createBodies();
    ASSERT_EQ(bodies.size(), 3);
    for (const QJsonObject& body : bodies)
        EXPECT_EQ(body.value(QStringLiteral("mode")).toString(), QStringLiteral("source"));
    EXPECT_EQ(bodies[2].value(QStringLiteral("prompt")).toString(), QStringLiteral("a clock"));
}

TEST_F(NewProjectWidgetTest, CancelledCompileWarningCreatesNothingAndKeepsTheRequest)
{
    Settings::store()->setValue(Settings::buildLocationKey, NewProjectView::local);
    open();
    dialogs.pressNext(QStringLiteral("Cancel"));
    type(QStringLiteral("a timer"));
    pressReturn();
    EXPECT_EQ(dialogs.shown().size(), 1);
    EXPECT_TRUE(service.createBodies().isEmpty());
    EXPECT_EQ(screen->composer()->text(), QStringLiteral("a timer"));
    EXPECT_FALSE(screen->errorLabel()->isVisible());
}

TEST_F(NewProjectWidgetTest, DescriptionTurnsFromLookingForXcodeToTheFoundToolchain)
{
    Settings::store()->setValue(Settings::buildLocationKey, NewProjectView::local);
    open(false);
    EXPECT_EQ(description(), QStringLiteral("Looking for Xcode…"));
    screen->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(screen));
    ASSERT_TRUE(spinUntil([&] { return description() == foundText; }));
    EXPECT_EQ(local->toolchain(), QStringLiteral("swift-driver version: 1.90.11 (stand-in)"));
}

TEST_F(NewProjectWidgetTest, DescriptionTurnsFromLookingForXcodeToSwiftNotFound)
{
    home.setEnv("BRIGHTLOOM_TOOLS_DIR", emptyTools.path().toUtf8());
    Settings::store()->setValue(Settings::buildLocationKey, NewProjectView::local);
    open(false);
    EXPECT_EQ(description(), QStringLiteral("Looking for Xcode…"));
    screen->show();
    ASSERT_TRUE(spinUntil([&] { return description() == missingText; }));
    EXPECT_TRUE(local->toolchainChecked());
}

TEST_F(NewProjectWidgetTest, ChoosingTheCloudSaysTheCloudBuildsAndKeepsTheChoice)
{
    Settings::store()->setValue(Settings::buildLocationKey, NewProjectView::local);
    open();
    QTest::mouseClick(screen->picker()->cloudButton(), Qt::LeftButton);
    EXPECT_EQ(description(),
              QStringLiteral("The cloud writes, compiles and packages the app, and you download it."));
    EXPECT_EQ(Settings::store()->value(Settings::buildLocationKey).toString(), QStringLiteral("cloud"));
    EXPECT_EQ(accessibleName(screen->picker()->cloudButton()), QStringLiteral("Brightloom cloud"));
    EXPECT_EQ(accessibleName(screen->picker()->localButton()), QStringLiteral("This Mac"));
}

TEST_F(NewProjectWidgetTest, CompileOnIsARadioGroupWhoseActionChoosesThroughTheModel)
{
    open();
    QAccessibleInterface* group =
        QAccessible::queryAccessibleInterface(screen->picker()->localButton()->parentWidget());
    ASSERT_TRUE(group);
    EXPECT_EQ(group->role(), QAccessible::Grouping);
    EXPECT_EQ(group->text(QAccessible::Name), QStringLiteral("Compile on"));
    QAccessibleInterface* local = QAccessible::queryAccessibleInterface(screen->picker()->localButton());
    QAccessibleInterface* cloud = QAccessible::queryAccessibleInterface(screen->picker()->cloudButton());
    EXPECT_EQ(local->role(), QAccessible::RadioButton);
    EXPECT_EQ(cloud->role(), QAccessible::RadioButton);
    EXPECT_TRUE(cloud->state().checked);
    EXPECT_FALSE(local->state().checked);

    local->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(screen->model().location(), QStringLiteral("local"));
    EXPECT_TRUE(local->state().checked);
    EXPECT_FALSE(cloud->state().checked);
    ASSERT_TRUE(spinUntil([&] { return description() == foundText; }));

    // Choosing the chosen option again leaves it chosen, as a click does.
    local->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(screen->model().location(), QStringLiteral("local"));
    EXPECT_TRUE(local->state().checked);
    cloud->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(screen->model().location(), QStringLiteral("cloud"));
    EXPECT_EQ(Settings::store()->value(Settings::buildLocationKey).toString(), QStringLiteral("cloud"));
}

TEST_F(NewProjectWidgetTest, EveryControlIsNamedAndItsAccessibleActionDoesWhatAClickDoes)
{
    expectActionsDoWhatClicksDo(
        [this]() -> QWidget* {
            resetSettings();
            open();
            // The gallery below the composer, with its tiles.
            spinUntil([&] { return !screen->findChildren<GalleryTile*>().isEmpty(); });
            return screen;
        },
        10);
}

TEST_F(NewProjectWidgetTest, LinkNoticeNamesTheRepositoryInBoldAndWarnsWhenXcodeIsMissing)
{
    home.setEnv("BRIGHTLOOM_TOOLS_DIR", emptyTools.path().toUtf8());
    open();
    EXPECT_FALSE(screen->notice()->isVisible());
    type(QStringLiteral("like github.com/octo/Pomodoro and github.com/octo/Chimes"));
    ASSERT_TRUE(spinUntil([&] { return screen->notice()->warning()->isVisible(); }));
    EXPECT_TRUE(screen->notice()->isVisible());
    EXPECT_EQ(
        plainText(screen->notice()->found()),
        QStringLiteral("Found the GitHub repo Pomodoro in your request. You named 2 repositories; only the "
                       "first is imported."));
    EXPECT_TRUE(screen->notice()->found()->text().contains(QStringLiteral("<b>Pomodoro</b>")));
    EXPECT_EQ(
        screen->notice()->warningText()->text(),
        QStringLiteral("Importing needs Xcode on this Mac. Install it from the App Store and open it once."));

    pressReturn();
    EXPECT_EQ(
        screen->errorLabel()->text(),
        QStringLiteral("Importing a GitHub repo needs Xcode on this Mac. Install it from the App Store and "
                       "open it once, or remove the link."));
    EXPECT_TRUE(screen->errorLabel()->isVisible());
    EXPECT_TRUE(service.createBodies().isEmpty());

    type(QStringLiteral("no link at all"));
    EXPECT_FALSE(screen->notice()->isVisible());
}

TEST_F(NewProjectWidgetTest, StartingShowsASpinnerWithStartingAndStopsTheSendButton)
{
    service.createReply.held = true;
    open();
    type(QStringLiteral("a timer"));
    pressReturn();
    EXPECT_TRUE(screen->busyRow()->isVisible());
    QStringList texts;
    for (QLabel* label : screen->busyRow()->findChildren<QLabel*>())
        texts.append(label->text());
    EXPECT_EQ(texts, QStringList{QStringLiteral("Starting…")});
    EXPECT_FALSE(screen->composer()->sendButton()->isEnabled());
    ASSERT_TRUE(spinUntil([&] { return service.createBodies().size() == 1; }));
    EXPECT_TRUE(screen->busyRow()->isVisible()) << "still starting while the service has not answered";
    EXPECT_FALSE(screen->composer()->sendButton()->isEnabled());
    EXPECT_TRUE(created.isEmpty());
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return created.size() == 1; }));
    EXPECT_EQ(created, QStringList{QStringLiteral("p-new")});
    EXPECT_EQ(service.createBodies().first(),
              (QJsonObject{{QStringLiteral("prompt"), QStringLiteral("a timer")}}));
}

TEST_F(NewProjectWidgetTest, FailedStartShowsTheServicesMessageUnderTheRequest)
{
    service.createReply = ScriptedReply::json(400, R"({"message":"Describe the app first."})");
    open();
    pressReturn();
    ASSERT_TRUE(spinUntil([&] { return screen->errorLabel()->isVisible(); }));
    EXPECT_EQ(screen->errorLabel()->text(), QStringLiteral("Describe the app first."));
    EXPECT_FALSE(screen->busyRow()->isVisible());
    EXPECT_TRUE(screen->composer()->sendButton()->isEnabled());
}

TEST_F(NewProjectWidgetTest, TemplateUsedInTheGalleryBelowOpensThroughTheSameCallback)
{
    open();
    GalleryViewWidget* gallery = screen->gallery();
    ASSERT_TRUE(spinUntil([&] { return gallery->model().loaded(); }));
    QCoreApplication::processEvents();
    GalleryTile* tile = gallery->grid()->tileFor(QStringLiteral("recipes"));
    ASSERT_NE(tile, nullptr);
    QTest::mouseClick(buttonNamed(tile, QStringLiteral("Use as template")), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return !created.isEmpty(); }));
    EXPECT_EQ(created, QStringList{QStringLiteral("p-fork")});
    EXPECT_TRUE(gallery->geometry().top() > screen->picker()->geometry().bottom())
        << "the gallery is below the form";
}

TEST_F(NewProjectWidgetTest, GalleryBelowTheFormLoadsIconsOnlyForTheTilesInTheScreensView)
{
    service.apps = manyGalleryApps(1000);
    open();
    GalleryViewWidget* gallery = screen->gallery();
    ASSERT_TRUE(
        spinUntil([&] { return gallery->model().loaded() && !gallery->grid()->liveTiles().isEmpty(); }));
    const int live = int(gallery->grid()->liveTiles().size());
    ASSERT_TRUE(spinUntil([&] { return icons->loadsStarted() == live && service.iconRequests() == live; }));
    EXPECT_LE(live, 3 * 4) << "the rows in view below the form and one row beyond";
}
