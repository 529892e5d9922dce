// Creating a project: the questions of each road and the request that reaches the service.

#include "new_project_fixture.h"

using namespace brightloom;
using namespace brightloom::test;

TEST_F(NewProjectViewTest, LocationDefaultsToTheCloudAndTheWarningToUnacknowledged)
{
    const auto view = makeView();
    EXPECT_EQ(view->location(), QStringLiteral("cloud"));
    EXPECT_FALSE(view->acknowledged());
    EXPECT_EQ(view->locationDescription(),
              QStringLiteral("The cloud writes, compiles and packages the app, and you download it."));
}

TEST_F(NewProjectViewTest, CloudBuildWithoutALinkSendsOnlyTheTrimmedPrompt)
{
    const auto view = makeView();
    view->setPrompt(QStringLiteral(" \n a pomodoro timer\t\n"));
    build(*view);
    ASSERT_EQ(createBodies().size(), 1);
    EXPECT_EQ(createBodies()[0], object({{QStringLiteral("prompt"), QStringLiteral("a pomodoro timer")}}));
    EXPECT_TRUE(dialogs.shown().isEmpty());
    EXPECT_EQ(created, QStringList{QStringLiteral("p-new")});
}

TEST_F(NewProjectViewTest, CreatedProjectIsHandedOnWhileStillBusyAndThenBusyEnds)
{
    createReply.delayMs = 200;
    const auto view = makeView();
    currentView = view.get();
    QSignalSpy busy(view.get(), &NewProjectView::busyChanged);
    view->setPrompt(QStringLiteral("a timer"));
    view->build();
    EXPECT_TRUE(view->busy());
    ASSERT_TRUE(spinUntil([&] { return !view->busy(); }));
    EXPECT_EQ(created, QStringList{QStringLiteral("p-new")});
    EXPECT_TRUE(busyWhenCreated);
    EXPECT_EQ(busy.size(), 2);
    EXPECT_FALSE(view->error());
}

TEST_F(NewProjectViewTest, ReturnPressedAgainWhileCreatingMakesNoSecondProject)
{
    createReply.delayMs = 200;
    const auto view = makeView();
    view->setPrompt(QStringLiteral("a timer"));
    view->build();
    view->build();
    ASSERT_TRUE(spinUntil([&] { return !view->busy(); }));
    EXPECT_EQ(createBodies().size(), 1);
    EXPECT_EQ(created.size(), 1);
}

TEST_F(NewProjectViewTest, FailedCreationShowsTheServiceMessageAndKeepsThePrompt)
{
    createReply = ScriptedReply::json(503, R"({"message":"The build machines are full."})");
    const auto view = makeView();
    view->setPrompt(QStringLiteral("a timer "));
    build(*view);
    EXPECT_EQ(view->error(), QStringLiteral("The build machines are full."));
    EXPECT_EQ(view->prompt(), QStringLiteral("a timer "));
    EXPECT_TRUE(created.isEmpty());

    createReply = ScriptedReply::json(200, R"({"id":"p-new"})");
    view->build();
    EXPECT_FALSE(view->error()) << "a new attempt clears the last error";
    ASSERT_TRUE(spinUntil([&] { return !view->busy(); }));
    EXPECT_EQ(created, QStringList{QStringLiteral("p-new")});
}

TEST_F(NewProjectViewTest, LocalBuildAsksOnceWithTheCompileWarningAndSendsSourceMode)
{
    const auto view = makeView();
    view->setLocation(QStringLiteral("local"));
    view->setPrompt(QStringLiteral("a timer"));
    dialogs.pressNext(QStringLiteral("Compile on this Mac"));
    build(*view);

    ASSERT_EQ(dialogs.shown().size(), 1);
    const Alert& alert = dialogs.shown()[0];
    EXPECT_EQ(alert.style, Alert::Style::warning);
    EXPECT_EQ(alert.message, QStringLiteral("Compile on this Mac?"));
    EXPECT_EQ(alert.informativeText, compileAlertText);
    EXPECT_EQ(alert.buttons, (QStringList{QStringLiteral("Compile on this Mac"), QStringLiteral("Cancel")}));
    ASSERT_EQ(createBodies().size(), 1);
    EXPECT_EQ(createBodies()[0], object({{QStringLiteral("prompt"), QStringLiteral("a timer")},
                                         {QStringLiteral("mode"), QStringLiteral("source")}}));
    EXPECT_TRUE(view->acknowledged());
    EXPECT_EQ(Settings::store()->value(QStringLiteral("localBuildAcknowledged")), QVariant(true));

    build(*view);
    const auto restarted = makeView();
    restarted->setPrompt(QStringLiteral("a clock"));
    build(*restarted);
    EXPECT_EQ(dialogs.shown().size(), 1) << "accepted once, never asked again, in this screen or the next";
    EXPECT_EQ(createBodies().size(), 3);
    EXPECT_EQ(createBodies()[2].value(QStringLiteral("mode")), QJsonValue(QStringLiteral("source")));
}

TEST_F(NewProjectViewTest, LocalBuildAlreadyAcknowledgedStartsWithoutAnyAlert)
{
    Settings::store()->setValue(QStringLiteral("localBuildAcknowledged"), true);
    Settings::store()->setValue(QStringLiteral("buildLocation"), QStringLiteral("local"));
    const auto view = makeView();
    EXPECT_EQ(view->location(), QStringLiteral("local"));
    view->setPrompt(QStringLiteral("a timer"));
    build(*view);
    EXPECT_TRUE(dialogs.shown().isEmpty());
    ASSERT_EQ(createBodies().size(), 1);
    EXPECT_EQ(createBodies()[0].value(QStringLiteral("mode")), QJsonValue(QStringLiteral("source")));
}

TEST_F(NewProjectViewTest, CancellingTheCompileWarningLeavesItUnacknowledgedSoItComesAgain)
{
    const auto view = makeView();
    view->setLocation(QStringLiteral("local"));
    view->setPrompt(QStringLiteral("a timer"));
    dialogs.pressNext(QStringLiteral("Cancel"));
    build(*view);
    EXPECT_FALSE(view->acknowledged());
    EXPECT_TRUE(createBodies().isEmpty());
    EXPECT_FALSE(view->error()) << "a cancelled question shows no text";

    dialogs.closeNext();
    build(*view);
    EXPECT_EQ(dialogs.shown().size(), 2);
    EXPECT_FALSE(view->acknowledged());
    EXPECT_TRUE(createBodies().isEmpty());
}

TEST_F(NewProjectViewTest, ImportChosenFromTheCloudBuildsLocallyWithoutTheCompileWarning)
{
    const auto view = makeView();
    view->setPrompt(linkPrompt);
    waitForCheck(*view);
    dialogs.pressNext(QStringLiteral("Import and build"));
    build(*view);
    ASSERT_EQ(dialogs.shown().size(), 1);
    EXPECT_EQ(dialogs.shown()[0].message, QStringLiteral("Build from the GitHub repo Pomodoro?"));
    ASSERT_EQ(createBodies().size(), 1);
    EXPECT_EQ(createBodies()[0],
              object({{QStringLiteral("prompt"), linkRequest},
                      {QStringLiteral("mode"), QStringLiteral("source")},
                      {QStringLiteral("importRepo"), QStringLiteral("https://github.com/octo/Pomodoro")},
                      {QStringLiteral("acknowledgeUnsafe"), true},
                      {QStringLiteral("importRef"), QStringLiteral("main")}}));
    EXPECT_FALSE(view->acknowledged()) << "the repository question is not the compile warning";
}

TEST_F(NewProjectViewTest, ImportChosenWithThisMacAsksNoCompileWarningEither)
{
    const auto view = makeView();
    view->setLocation(QStringLiteral("local"));
    view->setPrompt(QStringLiteral("github.com/octo/Pomodoro"));
    waitForCheck(*view);
    dialogs.pressNext(QStringLiteral("Import and build"));
    build(*view);
    EXPECT_EQ(dialogs.shown().size(), 1);
    ASSERT_EQ(createBodies().size(), 1);
    EXPECT_EQ(createBodies()[0],
              object({{QStringLiteral("prompt"), QStringLiteral("github.com/octo/Pomodoro")},
                      {QStringLiteral("mode"), QStringLiteral("source")},
                      {QStringLiteral("importRepo"), QStringLiteral("https://github.com/octo/Pomodoro")},
                      {QStringLiteral("acknowledgeUnsafe"), true}}));
}

TEST_F(NewProjectViewTest, BuildingWithoutImportingFromTheCloudKeepsTheLinkAsPlainText)
{
    const auto view = makeView();
    view->setPrompt(linkPrompt);
    waitForCheck(*view);
    dialogs.pressNext(QStringLiteral("Build without importing"));
    build(*view);
    ASSERT_EQ(createBodies().size(), 1);
    EXPECT_EQ(createBodies()[0], object({{QStringLiteral("prompt"), linkRequest}}));
    EXPECT_EQ(dialogs.shown().size(), 1);
}

TEST_F(NewProjectViewTest, BuildingWithoutImportingOnThisMacStillAsksTheCompileWarning)
{
    const auto view = makeView();
    view->setLocation(QStringLiteral("local"));
    view->setPrompt(linkPrompt);
    waitForCheck(*view);
    dialogs.pressNext(QStringLiteral("Build without importing"));
    dialogs.pressNext(QStringLiteral("Compile on this Mac"));
    build(*view);
    ASSERT_EQ(dialogs.shown().size(), 2);
    EXPECT_EQ(dialogs.shown()[1].message, QStringLiteral("Compile on this Mac?"));
    ASSERT_EQ(createBodies().size(), 1);
    EXPECT_EQ(createBodies()[0], object({{QStringLiteral("prompt"), linkRequest},
                                         {QStringLiteral("mode"), QStringLiteral("source")}}));
}

TEST_F(NewProjectViewTest, CancellingTheRepositoryQuestionCreatesNothingAndSaysNothing)
{
    const auto view = makeView();
    view->setPrompt(linkPrompt);
    waitForCheck(*view);
    dialogs.pressNext(QStringLiteral("Cancel"));
    build(*view);
    EXPECT_TRUE(createBodies().isEmpty());
    EXPECT_FALSE(view->error());
    EXPECT_FALSE(view->busy());
    EXPECT_TRUE(created.isEmpty());
}

TEST_F(NewProjectViewTest, LinkWithoutAToolchainShowsTheXcodeErrorAndCreatesNothingWhateverTheLocation)
{
    removeToolchain();
    for (const QString& location : {QStringLiteral("cloud"), QStringLiteral("local")}) {
        LocalBuilds fresh;
        NewProjectView view(*api, fresh, dialogs, [this](QString id) { created.append(id); });
        view.setLocation(location);
        view.setPrompt(linkPrompt);
        waitForCheck(view);
        ASSERT_TRUE(fresh.toolchainChecked());
        view.build();
        EXPECT_EQ(view.error(),
                  QStringLiteral("Importing a GitHub repo needs Xcode on this Mac. Install it from "
                                 "the App Store and open it once, or remove the link."))
            << location.toStdString();
        EXPECT_FALSE(view.busy());
    }
    EXPECT_TRUE(dialogs.shown().isEmpty());
    EXPECT_TRUE(createBodies().isEmpty());
    EXPECT_TRUE(created.isEmpty());
}
