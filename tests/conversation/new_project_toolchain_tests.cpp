// The toolchain checks of the new project screen, the line under "Compile on" and the notice of a
// repository named in the request.

#include "new_project_fixture.h"

#include <sys/stat.h>

using namespace brightloom;
using namespace brightloom::test;

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
    QSignalSpy checking(view.get(), &NewProjectView::checkingToolchainChanged);
    view->setLocation(QStringLiteral("local"));
    EXPECT_FALSE(checking.isEmpty()) << "a check began";
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
    Settings::store()->setValue(QStringLiteral("buildLocation"), QStringLiteral("local"));
    const auto view = makeView();
    EXPECT_FALSE(local.toolchainChecked());
    QSignalSpy checking(view.get(), &NewProjectView::checkingToolchainChanged);
    view->appear();
    EXPECT_FALSE(checking.isEmpty()) << "a check began";
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
    // A quick toolchain may answer before appear() returns: the check is seen by its start.
    QSignalSpy checking(view.get(), &NewProjectView::checkingToolchainChanged);
    view->appear();
    ASSERT_FALSE(checking.isEmpty());
    waitForCheck(*view);
    EXPECT_EQ(local.toolchain(), standInVersion);
}

TEST_F(NewProjectViewTest, TypingALinkChecksWhenTheLinkChangesAndRunsOneCheckAtATime)
{
    // An xcrun that notes each call, waits for the test to let it go on (one line through a FIFO
    // per call), and then answers as the stand-in does. Without the gate a quick toolchain on a busy
    // machine could answer while the link is still being typed, and the count would tell nothing.
    QTemporaryDir tools;
    const QString log = tools.filePath(QStringLiteral("calls"));
    const QString gatePath = tools.filePath(QStringLiteral("gate"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(gatePath).constData(), 0600), 0);
    QFile script(tools.filePath(QStringLiteral("xcrun")));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QByteArray("#!/bin/sh\necho call >> '" + log.toUtf8() + "'\nread -r go < '" +
                            gatePath.toUtf8() + "'\nexec '" BRIGHTLOOM_STANDIN_TOOLS_DIR "/xcrun' \"$@\"\n"));
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    home.setEnv("BRIGHTLOOM_TOOLS_DIR", tools.path().toUtf8());
    // Held open for reading and writing, so that neither side's open waits for the other.
    QFile gate(gatePath);
    ASSERT_TRUE(gate.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    const auto callCount = [&] {
        QFile calls(log);
        return calls.open(QIODevice::ReadOnly) ? calls.readAll().count("call") : 0;
    };

    const auto view = makeView();
    QSignalSpy links(view.get(), &NewProjectView::repoLinkChanged);
    const QString typed = QStringLiteral("see github.com/octo/Pomodoro please");
    for (qsizetype i = 1; i <= typed.size(); ++i)
        view->setPrompt(typed.left(i));
    EXPECT_EQ(links.size(), 8) << "the link appears, then its name grows letter by letter";
    ASSERT_TRUE(spinUntil([&] { return callCount() == 1; })) << "the first change started a check";
    EXPECT_TRUE(view->checkingToolchain());

    gate.write("go\n");
    ASSERT_TRUE(spinUntil([&] { return callCount() == 2; }))
        << "the changes that came while it ran make it look once more";
    EXPECT_TRUE(view->checkingToolchain());
    gate.write("go\n");
    waitForCheck(*view);
    EXPECT_EQ(callCount(), 2) << "one check ran while the link kept changing, then one more";
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
        EXPECT_EQ(Settings::store()->value(QStringLiteral("buildLocation")).toString(),
                  QStringLiteral("local"));
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
    Settings::store()->setValue(QStringLiteral("buildLocation"), QStringLiteral("moon"));
    EXPECT_EQ(makeView()->location(), QStringLiteral("cloud"));
}

TEST_F(NewProjectViewTest, DescriptionFollowsTheLocationAndTheControllersToolchain)
{
    const auto view = makeView();
    QSignalSpy described(view.get(), &NewProjectView::locationDescriptionChanged);
    // Read as each change is told: a quick toolchain may answer before the call below returns.
    QStringList descriptions;
    QObject::connect(view.get(), &NewProjectView::locationDescriptionChanged, view.get(),
                     [&] { descriptions.append(view->locationDescription()); });
    view->setLocationForThisRun(QStringLiteral("local"));
    ASSERT_FALSE(descriptions.isEmpty());
    EXPECT_EQ(descriptions.first(), QStringLiteral("Looking for Xcode…"));
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
