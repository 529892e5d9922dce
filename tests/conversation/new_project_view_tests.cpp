#include "app/scripted_dialogs.h"
#include "app/user_defaults.h"
#include "conversation/new_project_view.h"
#include "localbuild/local_builds.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "service/api.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

const QString linkPrompt =
    QStringLiteral("  Turn https://github.com/octo/Pomodoro/tree/main into a menu bar app\n");
const QString linkRequest =
    QStringLiteral("Turn https://github.com/octo/Pomodoro/tree/main into a menu bar app");
const QString compileAlertText = QStringLiteral(
    "Brightloom writes the app's code in the cloud. Your Mac then builds it with Xcode (swift build) and "
    "signs "
    "it ad hoc. Package.swift is checked first, but the app's own code is not reviewed. It runs with your "
    "user's permissions when you open it, so only build apps you trust.");
const QString standInVersion = QStringLiteral("swift-driver version: 1.90.11 (stand-in)");

QJsonObject object(std::initializer_list<QPair<QString, QJsonValue>> fields)
{
    QJsonObject o;
    for (const auto& field : fields)
        o.insert(field.first, field.second);
    return o;
}

// The service over HTTPS: creating a project answers "p-new" (or what the test scripts), and the
// project list reloads. The settings of the new project screen start at their defaults; the
// developer tools are the stand-ins unless a test takes them away.
class NewProjectViewTest : public ::testing::Test
{
protected:
    NewProjectViewTest() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        resetSettings();
        api = std::make_unique<API>();
        server.setHandler([this](const RecordedRequest& request) {
            if (request.method == "POST" && request.path() == QLatin1String("/api/projects"))
                return createReply;
            if (request.method == "GET" && request.path() == QLatin1String("/api/projects"))
                return ScriptedReply::json(200, R"({"projects":[{"id":"p-new","name":"Pomodoro"}]})");
            return ScriptedReply::json(404, R"({"message":"Not found"})");
        });
    }
    ~NewProjectViewTest() override { resetSettings(); }

    static void resetSettings()
    {
        auto settings = userDefaults();
        settings->remove(NewProjectView::locationKey);
        settings->remove(NewProjectView::acknowledgedKey);
    }

    std::unique_ptr<NewProjectView> makeView()
    {
        return std::make_unique<NewProjectView>(*api, local, dialogs, [this](QString id) {
            created.append(id);
            busyWhenCreated = currentView && currentView->busy();
        });
    }

    // Runs build() and waits until the creation, if one started, has ended.
    void build(NewProjectView& view)
    {
        currentView = &view;
        view.build();
        ASSERT_TRUE(spinUntil([&] { return !view.busy(); }));
    }

    void waitForCheck(NewProjectView& view)
    {
        ASSERT_TRUE(spinUntil([&] { return !view.checkingToolchain(); }));
    }

    // A tools folder without any developer tool.
    void removeToolchain() { home.setEnv("BRIGHTLOOM_TOOLS_DIR", emptyTools.path().toUtf8()); }

    QList<QJsonObject> createBodies() const
    {
        QList<QJsonObject> bodies;
        for (const RecordedRequest& request : server.requestsTo(QStringLiteral("/api/projects"))) {
            if (request.method == "POST")
                bodies.append(QJsonDocument::fromJson(request.body).object());
        }
        return bodies;
    }

    TempHome home;
    RecordingServer server;
    QTemporaryDir emptyTools;
    ScriptedReply createReply = ScriptedReply::json(200, R"({"id":"p-new"})");
    std::unique_ptr<API> api;
    LocalBuilds local;
    ScriptedDialogs dialogs;
    QStringList created;
    bool busyWhenCreated = false;
    NewProjectView* currentView = nullptr;
};

} // namespace

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
    EXPECT_EQ(userDefaults()->value(QStringLiteral("localBuildAcknowledged")), QVariant(true));

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
    userDefaults()->setValue(QStringLiteral("localBuildAcknowledged"), true);
    userDefaults()->setValue(QStringLiteral("buildLocation"), QStringLiteral("local"));
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

TEST_F(NewProjectViewTest, ChoosingThisMacAgainAfterInstallingTheToolchainReplacesTheMissingText)
{
    removeToolchain();
    const auto view = makeView();
    view->setLocation(QStringLiteral("local"));
    waitForCheck(*view);
    EXPECT_EQ(
        view->locationDescription(),
        QStringLiteral("Swift was not found. Install Xcode from the App Store, open it once to accept the "
                       "license, then choose This Mac again."));

    const QString installed = emptyTools.filePath(QStringLiteral("xcrun"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(BRIGHTLOOM_STANDIN_TOOLS_DIR "/xcrun"), installed));
    QFile(installed).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    view->setLocation(QStringLiteral("cloud"));
    QSignalSpy described(view.get(), &NewProjectView::locationDescriptionChanged);
    view->setLocation(QStringLiteral("local"));
    EXPECT_TRUE(view->checkingToolchain());
    waitForCheck(*view);
    EXPECT_EQ(
        view->locationDescription(),
        QStringLiteral("The cloud writes the code. Your Mac compiles and signs it with your own Xcode (") +
            standInVersion + QStringLiteral(")."));
    EXPECT_EQ(local.toolchain(), standInVersion);
    EXPECT_GE(described.size(), 2);
}

TEST_F(NewProjectViewTest, ShowingWithThisMacChosenChecksTheToolchainIntoTheController)
{
    userDefaults()->setValue(QStringLiteral("buildLocation"), QStringLiteral("local"));
    const auto view = makeView();
    EXPECT_FALSE(local.toolchainChecked());
    view->appear();
    EXPECT_TRUE(view->checkingToolchain());
    waitForCheck(*view);
    EXPECT_TRUE(local.toolchainChecked());
    EXPECT_EQ(local.toolchain(), standInVersion);
}

TEST_F(NewProjectViewTest, ShowingInTheCloudWithoutALinkChecksNothing)
{
    const auto view = makeView();
    view->appear();
    EXPECT_FALSE(view->checkingToolchain());
    view->setPrompt(QStringLiteral("a timer"));
    EXPECT_FALSE(view->checkingToolchain());
    EXPECT_FALSE(local.toolchainChecked());
}

TEST_F(NewProjectViewTest, ShowingWithALinkInTheRequestChecksTheToolchain)
{
    const auto view = makeView();
    view->setPrompt(QStringLiteral("github.com/a/b"));
    waitForCheck(*view);
    local.setToolchainChecked(false);
    local.setToolchain(std::nullopt);
    view->appear();
    EXPECT_TRUE(view->checkingToolchain());
    waitForCheck(*view);
    EXPECT_EQ(local.toolchain(), standInVersion);
}

TEST_F(NewProjectViewTest, TypingALinkChecksWhenTheLinkChangesAndRunsOneCheckAtATime)
{
    // An xcrun that notes each call and then answers as the stand-in does.
    QTemporaryDir tools;
    const QString log = tools.filePath(QStringLiteral("calls"));
    QFile script(tools.filePath(QStringLiteral("xcrun")));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QByteArray("#!/bin/sh\necho call >> '" + log.toUtf8() +
                            "'\nexec '" BRIGHTLOOM_STANDIN_TOOLS_DIR "/xcrun' \"$@\"\n"));
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    home.setEnv("BRIGHTLOOM_TOOLS_DIR", tools.path().toUtf8());

    const auto view = makeView();
    QSignalSpy links(view.get(), &NewProjectView::repoLinkChanged);
    const QString typed = QStringLiteral("see github.com/octo/Pomodoro please");
    for (qsizetype i = 1; i <= typed.size(); ++i)
        view->setPrompt(typed.left(i));
    EXPECT_EQ(links.size(), 8) << "the link appears, then its name grows letter by letter";
    waitForCheck(*view);
    QFile calls(log);
    ASSERT_TRUE(calls.open(QIODevice::ReadOnly));
    EXPECT_EQ(calls.readAll().count("call"), 2)
        << "one check ran while the link kept changing, then one more";
    EXPECT_EQ(local.toolchain(), standInVersion);
    EXPECT_EQ(view->repoLink()->name, QStringLiteral("Pomodoro"));
}

TEST_F(NewProjectViewTest, ChoosingThisMacKeepsItForTheNextScreenButThisRunOnlyChoiceDoesNot)
{
    {
        const auto view = makeView();
        QSignalSpy changed(view.get(), &NewProjectView::locationChanged);
        view->setLocation(QStringLiteral("local"));
        EXPECT_EQ(changed.size(), 1);
        EXPECT_EQ(userDefaults()->value(QStringLiteral("buildLocation")).toString(), QStringLiteral("local"));
        waitForCheck(*view);
    }
    {
        const auto view = makeView();
        EXPECT_EQ(view->location(), QStringLiteral("local"));
        view->setLocationForThisRun(QStringLiteral("cloud"));
        EXPECT_EQ(view->location(), QStringLiteral("cloud"));
    }
    EXPECT_EQ(makeView()->location(), QStringLiteral("local"));
}

TEST_F(NewProjectViewTest, UnknownStoredLocationCountsAsTheCloud)
{
    userDefaults()->setValue(QStringLiteral("buildLocation"), QStringLiteral("moon"));
    EXPECT_EQ(makeView()->location(), QStringLiteral("cloud"));
}

TEST_F(NewProjectViewTest, DescriptionFollowsTheLocationAndTheControllersToolchain)
{
    const auto view = makeView();
    QSignalSpy described(view.get(), &NewProjectView::locationDescriptionChanged);
    view->setLocationForThisRun(QStringLiteral("local"));
    EXPECT_EQ(view->locationDescription(), QStringLiteral("Looking for Xcode…"));
    waitForCheck(*view);
    local.setToolchain(std::nullopt);
    EXPECT_EQ(
        view->locationDescription(),
        QStringLiteral("Swift was not found. Install Xcode from the App Store, open it once to accept the "
                       "license, then choose This Mac again."));
    local.setToolchain(QStringLiteral("Apple Swift version 6.0"));
    EXPECT_EQ(view->locationDescription(),
              QStringLiteral("The cloud writes the code. Your Mac compiles and signs it with your own Xcode "
                             "(Apple Swift version 6.0)."));
    EXPECT_EQ(described.size(), 4);
}

TEST_F(NewProjectViewTest, NoticeNamesTheRepositoryAndHowManyWereNamed)
{
    const auto view = makeView();
    EXPECT_FALSE(view->linkNotice());
    view->setPrompt(QStringLiteral("mix github.com/a/First with github.com/b/second and github.com/c/third"));
    ASSERT_TRUE(view->linkNotice());
    EXPECT_EQ(view->linkNotice()->name, QStringLiteral("First"));
    EXPECT_EQ(
        view->linkNotice()->foundLine(),
        QStringLiteral("Found the GitHub repo First in your request. You named 3 repositories; only the "
                       "first is imported."));
    EXPECT_EQ(LinkNotice::explanation,
              QStringLiteral("When you build, you can import it as the basis for your app (unsafe mode): the "
                             "cloud adapts its code and your Mac compiles it. Many repos will not convert "
                             "cleanly, and third-party libraries are replaced with Apple frameworks."));
    view->setPrompt(QStringLiteral("github.com/a/First"));
    EXPECT_EQ(view->linkNotice()->foundLine(),
              QStringLiteral("Found the GitHub repo First in your request."));
    waitForCheck(*view);
}

TEST_F(NewProjectViewTest, NoticeWarnsAboutXcodeOnlyAfterACheckFoundNothing)
{
    removeToolchain();
    const auto view = makeView();
    view->setPrompt(QStringLiteral("github.com/a/First"));
    waitForCheck(*view);
    EXPECT_TRUE(view->linkNotice()->xcodeMissing);
    EXPECT_EQ(
        LinkNotice::missingXcode,
        QStringLiteral("Importing needs Xcode on this Mac. Install it from the App Store and open it once."));

    QSignalSpy notices(view.get(), &NewProjectView::linkNoticeChanged);
    local.setToolchainChecked(false);
    EXPECT_FALSE(view->linkNotice()->xcodeMissing) << "no warning while no check has run";
    local.setToolchain(QStringLiteral("Apple Swift version 6.0"));
    local.setToolchainChecked(true);
    EXPECT_FALSE(view->linkNotice()->xcodeMissing) << "no warning once a toolchain was found";
    EXPECT_EQ(notices.size(), 1);
    view->setPrompt(QStringLiteral("no link now"));
    EXPECT_FALSE(view->linkNotice());
    EXPECT_EQ(notices.size(), 2);
}
