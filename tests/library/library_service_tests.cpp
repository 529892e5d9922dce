// The library's models against the stand-in service: the list, a forked app's tree, a fork started
// from a version, a download and the GitHub panel from connecting to an up-to-date push.

#include "library/github_sync_view.h"
#include "library/library_detail_view.h"
#include "library/library_view.h"
#include "library_service.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "service/api.h"
#include "task_runner.h"

#include <QFileInfo>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

QStringList rowTexts(const LibraryDetailView& view)
{
    QStringList texts;
    for (const TreeRow& row : view.rows())
        texts.append(QString(row.depth * 2, QLatin1Char(' ')) + row.text);
    return texts;
}

class LibraryServiceTest : public ::testing::Test
{
protected:
    std::unique_ptr<LibraryDetailView> loadedDetail(const QString& projectId)
    {
        auto view = std::make_unique<LibraryDetailView>(
            service.api(), projectId, [this](QString id) { opened.append(id); }, &desktop);
        EXPECT_TRUE(run(view->load()).ok());
        return view;
    }

    LibraryService service;
    RecordingDesktop desktop;
    QStringList opened;
};

} // namespace

TEST_F(LibraryServiceTest, ListShowsEachBuiltAppWithItsNewestVersionAndCount)
{
    const QString notes = service.builtProject(QStringLiteral("a notes app"));
    service.newVersion(notes, QStringLiteral("add tags"));
    LibraryView view(service.api(), {});
    ASSERT_TRUE(run(view.load()).ok());
    ASSERT_EQ(view.apps().size(), 1) << view.errorText().toStdString();
    EXPECT_EQ(view.apps()[0].name, QStringLiteral("Notes"));
    EXPECT_EQ(LibraryView::versionLine(view.apps()[0]), QStringLiteral("Version 1.1 \u00B7 2 versions"));
}

TEST_F(LibraryServiceTest, UseAsTemplateForksTheVersionAndOpensTheNewProject)
{
    const QString notes = service.builtProject(QStringLiteral("a notes app"));
    auto view = loadedDetail(notes);
    ASSERT_EQ(view->rows().size(), 1u);
    ASSERT_TRUE(view->templateButton(view->rows()[0]).enabled);
    ASSERT_TRUE(run(view->fork(view->rows()[0].jobId)).ok());
    ASSERT_EQ(opened.size(), 1) << view->errorText().toStdString();
    EXPECT_NE(opened[0], notes);
    bool listed = false;
    for (const Project& project : service.api().projects())
        listed = listed || project.id == opened[0];
    EXPECT_TRUE(listed);

    auto fork = loadedDetail(opened[0]);
    EXPECT_EQ(fork->originLine(), QStringLiteral("Started from version 1.0 of Notes"));
}

TEST_F(LibraryServiceTest, TreeShowsYourForkAndCountsPrivateForksOfOthers)
{
    const QString notes = service.builtProject(QStringLiteral("a notes app"));
    service.newVersion(notes, QStringLiteral("add tags"));
    service.publish(notes);
    const QStringList jobs = service.versionJobs(notes);
    ASSERT_EQ(jobs.size(), 2);
    service.forkAsSomeoneElse(jobs[0], QStringLiteral("ada@brightloom.test"));
    const QString shared = service.forkAsSomeoneElse(jobs[0], QStringLiteral("bo@brightloom.test"));
    service.publish(shared);
    auto view = loadedDetail(notes);
    ASSERT_TRUE(run(view->fork(jobs[0])).ok());
    view = loadedDetail(notes);
    EXPECT_EQ(rowTexts(*view),
              (QStringList{QStringLiteral("Version 1.0"), QStringLiteral("Fork: Notes"),
                           QStringLiteral("  Version 1.0"), QStringLiteral("Fork: Notes (yours)"),
                           QStringLiteral("  Version 1.0"), QStringLiteral("1 private fork"),
                           QStringLiteral("Version 1.1")}));
}

TEST_F(LibraryServiceTest, VersionDownloadSavesTheDiskImageByAppAndVersion)
{
    const QString notes = service.builtProject(QStringLiteral("a notes app"));
    auto view = loadedDetail(notes);
    const QString job = view->detail()->app.versions[0].jobId;
    view->download(job);
    ASSERT_TRUE(spinUntil([&] { return !view->downloadBusy(job); }));
    const auto saved = view->savedFile(job);
    ASSERT_TRUE(saved.has_value()) << view->downloads()->error().toStdString();
    EXPECT_EQ(QFileInfo(*saved).fileName(), QStringLiteral("Notes 1.0.dmg"));
    EXPECT_EQ(QFileInfo(*saved).size(), 512 * 1024);
}

TEST_F(LibraryServiceTest, GithubPanelGoesFromConnectThroughChoosingToAnUpToDatePush)
{
    const QString notes = service.builtProject(QStringLiteral("a notes app"));
    GithubSyncView view(service.api(), notes);
    ASSERT_TRUE(run(view.load()).ok());
    EXPECT_EQ(view.state(), GithubSyncView::State::connect);

    service.connectGithub(notes);
    ASSERT_TRUE(run(view.load()).ok());
    EXPECT_EQ(view.state(), GithubSyncView::State::choose);
    EXPECT_EQ(view.chooseText(), QStringLiteral("Connected as demo. Pick the repository to push to."));
    EXPECT_EQ(view.choice(), QStringLiteral("demo/brightloom-apps"));

    view.setChoice(QStringLiteral("demo/website"));
    ASSERT_TRUE(run(view.link()).ok());
    EXPECT_EQ(view.state(), GithubSyncView::State::linked);
    EXPECT_EQ(view.linkedText(), QStringLiteral("Syncs to demo/website"));
    EXPECT_EQ(view.pushLabel(), QStringLiteral("Push version 1.0"));

    ASSERT_TRUE(run(view.push()).ok());
    EXPECT_EQ(view.message(), QStringLiteral("Pushed version 1.0 to GitHub."));
    EXPECT_TRUE(view.commitUrlText().startsWith(QStringLiteral("https://github.com/demo/website/commit/")));
    EXPECT_EQ(view.linkedText(), QStringLiteral("Syncs to demo/website. Last pushed: version 1.0"));
    EXPECT_EQ(view.pushLabel(), QStringLiteral("Push again"));

    ASSERT_TRUE(run(view.push()).ok());
    EXPECT_EQ(view.message(), QStringLiteral("Already up to date. The repository matches this build."));

    ASSERT_TRUE(run(view.unlink()).ok());
    EXPECT_EQ(view.state(), GithubSyncView::State::choose);
    EXPECT_TRUE(view.errorText().isEmpty());
}
