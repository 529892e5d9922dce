#include "library/library_detail_view.h"
#include "library_fixture.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "service/api.h"
#include "task_runner.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

std::optional<ForkOrigin> origin(std::optional<QString> version, std::optional<QString> name)
{
    return ForkOrigin{std::move(version), std::move(name)};
}

class LibraryDetailViewTest : public ScriptedServiceTest
{
protected:
    LibraryDetailViewTest()
    {
        on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[]})"));
        serveDetail(
            detailJson(appJson(QStringLiteral("p1"), QStringLiteral("Focus"),
                               {versionJson({QStringLiteral("j2"), QStringLiteral("1.1"),
                                             QStringLiteral("Focus"), QStringLiteral("Bigger"), false},
                                            base()),
                                versionJson({QStringLiteral("j1"), QStringLiteral("1.0"),
                                             QStringLiteral("Focus"), QStringLiteral("First")},
                                            base())}),
                       {nodeJson(QStringLiteral("j1"), QStringLiteral("1.0"), QStringLiteral("A timer"),
                                 QStringLiteral("First")),
                        nodeJson(QStringLiteral("j2"), QStringLiteral("1.1"), QStringLiteral("Bigger"))}));
    }

    void serveDetail(const QJsonObject& detail)
    {
        on(QStringLiteral("GET /api/library/p1"), ScriptedReply::json(200, compact(detail)));
    }

    void serveFork(ScriptedReply reply) { on(QStringLiteral("POST /api/templates/fork"), std::move(reply)); }

    std::unique_ptr<LibraryDetailView> loadedView()
    {
        auto view = std::make_unique<LibraryDetailView>(
            api, QStringLiteral("p1"), [this](QString id) { opened.append(id); }, &desktop);
        const auto done = run(view->load());
        EXPECT_TRUE(done.ok()) << done.errorText().toStdString();
        return view;
    }

    API api;
    RecordingDesktop desktop;
    QStringList opened;
};

} // namespace

TEST_F(LibraryDetailViewTest, OriginWithVersionAndNameNamesBoth)
{
    EXPECT_EQ(LibraryDetailView::originLine(origin(QStringLiteral("1.2"), QStringLiteral("Notes"))),
              QStringLiteral("Started from version 1.2 of Notes"));
}

TEST_F(LibraryDetailViewTest, OriginWithANameButNoVersionNamesTheAppAlone)
{
    EXPECT_EQ(LibraryDetailView::originLine(origin(std::nullopt, QStringLiteral("Notes"))),
              QStringLiteral("Started from Notes"));
}

TEST_F(LibraryDetailViewTest, OriginWithNeitherSaysTheTemplateIsNoLongerShared)
{
    EXPECT_EQ(LibraryDetailView::originLine(origin(std::nullopt, std::nullopt)),
              QStringLiteral("Started from a template that is no longer shared."));
    EXPECT_EQ(LibraryDetailView::originLine(origin(QStringLiteral("1.2"), std::nullopt)),
              QStringLiteral("Started from a template that is no longer shared."));
}

TEST_F(LibraryDetailViewTest, NoOriginShowsNoLine)
{
    EXPECT_FALSE(LibraryDetailView::originLine(std::nullopt).has_value());
    EXPECT_FALSE(loadedView()->originLine().has_value());
}

TEST_F(LibraryDetailViewTest, LoadsTheDetailAndListsItsTree)
{
    LibraryDetailView view(api, QStringLiteral("p1"), {});
    EXPECT_FALSE(view.detail().has_value());
    QSignalSpy changed(&view, &LibraryDetailView::detailChanged);
    ASSERT_TRUE(run(view.load()).ok());
    ASSERT_TRUE(view.detail().has_value());
    EXPECT_EQ(view.detail()->app.name, QStringLiteral("Focus"));
    ASSERT_EQ(view.rows().size(), 2u);
    EXPECT_EQ(view.rows()[1].text, QStringLiteral("Version 1.1"));
    EXPECT_EQ(changed.size(), 1);
}

TEST_F(LibraryDetailViewTest, FailedLoadShowsTheErrorAndNoDetail)
{
    on(QStringLiteral("GET /api/library/p1"), ScriptedReply::json(404, R"({"message":"Project not found"})"));
    LibraryDetailView view(api, QStringLiteral("p1"), {});
    ASSERT_TRUE(run(view.load()).ok());
    EXPECT_EQ(view.error(), QStringLiteral("Project not found"));
    EXPECT_FALSE(view.detail().has_value());
    EXPECT_TRUE(view.rows().empty());
}

TEST_F(LibraryDetailViewTest, ChangeThisAppOpensThisProjectsConversation)
{
    auto view = loadedView();
    view->changeApp();
    EXPECT_EQ(opened, QStringList{QStringLiteral("p1")});
    EXPECT_EQ(LibraryDetailView::changeAppText, QStringLiteral("Change this app"));
}

TEST_F(LibraryDetailViewTest, ForkOpensTheNewProjectsConversation)
{
    serveFork(ScriptedReply::json(200, R"({"projectId":"p9"})"));
    auto view = loadedView();
    ASSERT_TRUE(run(view->fork(QStringLiteral("j1"))).ok());
    EXPECT_EQ(opened, QStringList{QStringLiteral("p9")});
    EXPECT_FALSE(view->forking().has_value());
    EXPECT_FALSE(view->error().has_value());
    const auto sent = server.requestsTo(QStringLiteral("/api/templates/fork"));
    ASSERT_EQ(sent.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(sent[0].body).object(),
              (QJsonObject{{QStringLiteral("jobId"), QStringLiteral("j1")}}));
}

TEST_F(LibraryDetailViewTest, WhileOneVersionIsForkedItReadsStartingAndTheOthersAreDisabled)
{
    ScriptedReply slow = ScriptedReply::json(200, R"({"projectId":"p9"})");
    slow.delayMs = 300;
    serveFork(slow);
    auto view = loadedView();
    auto forking = view->fork(QStringLiteral("j1"));
    EXPECT_EQ(view->forking(), QStringLiteral("j1"));
    EXPECT_EQ(view->templateButton(view->rows()[0]).label, QStringLiteral("Starting\u2026"));
    EXPECT_FALSE(view->templateButton(view->rows()[1]).enabled);
    EXPECT_EQ(view->templateButton(view->rows()[1]).label, QStringLiteral("Use as template"));
    ASSERT_TRUE(spinUntil([&] { return !view->forking(); }));
    EXPECT_TRUE(view->templateButton(view->rows()[1]).enabled);
}

TEST_F(LibraryDetailViewTest, SecondForkWhileOneRunsIsNotSent)
{
    ScriptedReply slow = ScriptedReply::json(200, R"({"projectId":"p9"})");
    slow.delayMs = 200;
    serveFork(slow);
    auto view = loadedView();
    auto first = view->fork(QStringLiteral("j1"));
    ASSERT_TRUE(run(view->fork(QStringLiteral("j2"))).ok());
    ASSERT_TRUE(spinUntil([&] { return !view->forking(); }));
    EXPECT_EQ(requestsTo(QStringLiteral("/api/templates/fork")), 1);
    EXPECT_EQ(opened, QStringList{QStringLiteral("p9")});
}

TEST_F(LibraryDetailViewTest, FailedForkShowsItsErrorAndLeavesTheTreeAsItWas)
{
    serveFork(ScriptedReply::json(403, R"({"message":"This build cannot be used as a template."})"));
    auto view = loadedView();
    const auto before = view->rows().size();
    ASSERT_TRUE(run(view->fork(QStringLiteral("j1"))).ok());
    EXPECT_EQ(view->error(), QStringLiteral("This build cannot be used as a template."));
    EXPECT_FALSE(view->forking().has_value());
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_EQ(view->rows().size(), before);
    EXPECT_TRUE(view->detail().has_value());
}

TEST_F(LibraryDetailViewTest, NextForkClearsTheLastError)
{
    serveFork(ScriptedReply::json(500, R"({"message":"Try again"})"));
    auto view = loadedView();
    run(view->fork(QStringLiteral("j1")));
    ScriptedReply slow = ScriptedReply::json(200, R"({"projectId":"p9"})");
    slow.delayMs = 100;
    serveFork(slow);
    auto second = view->fork(QStringLiteral("j1"));
    EXPECT_FALSE(view->error().has_value());
    ASSERT_TRUE(spinUntil([&] { return !view->forking(); }));
}

TEST_F(LibraryDetailViewTest, VersionWithoutADiskImageOffersTheZip)
{
    auto view = loadedView();
    const LibraryVersion& noDmg = view->detail()->app.versions[0];
    const LibraryVersion& withDmg = view->detail()->app.versions[1];
    EXPECT_EQ(LibraryDetailView::downloadLabel(noDmg), QStringLiteral("Download .zip"));
    EXPECT_EQ(LibraryDetailView::downloadUrl(noDmg), noDmg.downloadUrl);
    EXPECT_EQ(LibraryDetailView::downloadLabel(withDmg), QStringLiteral("Download .dmg"));
    EXPECT_EQ(LibraryDetailView::downloadUrl(withDmg), *withDmg.dmgUrl);
}

TEST_F(LibraryDetailViewTest, DownloadIsBusyThenSavedOpenedAndShownInFinder)
{
    ScriptedReply image = ScriptedReply::archive(QByteArray(4096, 'd'));
    image.delayMs = 100;
    offer(QStringLiteral("files/j1/app.dmg"), image);
    auto view = loadedView();
    view->download(QStringLiteral("j1"));
    EXPECT_TRUE(view->downloadBusy(QStringLiteral("j1")));
    EXPECT_FALSE(view->downloadBusy(QStringLiteral("j2")));
    ASSERT_TRUE(spinUntil([&] { return !view->downloadBusy(QStringLiteral("j1")); }));
    const std::optional<QString> saved = view->savedFile(QStringLiteral("j1"));
    ASSERT_TRUE(saved.has_value()) << view->downloads()->error().toStdString();
    EXPECT_EQ(QFileInfo(*saved).fileName(), QStringLiteral("Focus 1.0.dmg"));
    EXPECT_EQ(QFileInfo(*saved).size(), 4096);
    EXPECT_EQ(desktop.openedFiles(), QStringList{*saved});
    view->showInFinder(QStringLiteral("j1"));
    EXPECT_EQ(desktop.revealed, QStringList{*saved});
}

TEST_F(LibraryDetailViewTest, VersionWithoutADiskImageSavesItsArchiveAsAZipUnderTheSameKey)
{
    offer(QStringLiteral("files/j2/app.zip"), ScriptedReply::archive(QByteArray(512, 'z')));
    auto view = loadedView();
    view->download(QStringLiteral("j2"));
    ASSERT_TRUE(spinUntil([&] { return !view->downloadBusy(QStringLiteral("j2")); }));
    EXPECT_EQ(requestsTo(QStringLiteral("/files/j2/app.zip")), 1);
    const std::optional<QString> saved = view->savedFile(QStringLiteral("j2"));
    ASSERT_TRUE(saved.has_value()) << view->downloads()->error().toStdString();
    const QString name = QFileInfo(*saved).fileName();
    EXPECT_TRUE(name.endsWith(QStringLiteral(".zip")) && !name.contains(QStringLiteral(".dmg")))
        << name.toStdString();
    EXPECT_EQ(QFileInfo(*saved).size(), 512);

    // Taken names get a number, as disk images do.
    auto again = loadedView();
    again->download(QStringLiteral("j2"));
    ASSERT_TRUE(spinUntil([&] { return !again->downloadBusy(QStringLiteral("j2")); }));
    ASSERT_TRUE(again->savedFile(QStringLiteral("j2")).has_value());
    EXPECT_EQ(QFileInfo(*again->savedFile(QStringLiteral("j2"))).fileName(),
              name.chopped(4) + QStringLiteral(" 2.zip"));
}

TEST_F(LibraryDetailViewTest, FailedDownloadIsReportedByTheDownloads)
{
    offer(QStringLiteral("files/j1/app.dmg"), ScriptedReply::json(404, R"({"message":"gone"})"));
    auto view = loadedView();
    view->download(QStringLiteral("j1"));
    ASSERT_TRUE(spinUntil([&] { return !view->downloadBusy(QStringLiteral("j1")); }));
    EXPECT_EQ(view->downloads()->error(), QStringLiteral("The download failed (404)."));
    EXPECT_FALSE(view->savedFile(QStringLiteral("j1")).has_value());
}

TEST_F(LibraryDetailViewTest, UnknownVersionIsNotDownloaded)
{
    auto view = loadedView();
    view->download(QStringLiteral("nope"));
    EXPECT_TRUE(view->downloads()->busy().isEmpty());
}
