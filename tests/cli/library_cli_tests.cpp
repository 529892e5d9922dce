// The library, fork and GitHub commands print what the screens show, through the same models.

#include "child_process.h"
#include "library_fixture.h"
#include "qt_printers.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace brightloom::test;

namespace {

QByteArray fixture(const char* name)
{
    QFile file(QStringLiteral(BRIGHTLOOM_FIXTURES_DIR "/") + QString::fromLatin1(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

class LibraryCliTest : public ScriptedServiceTest
{
protected:
    LibraryCliTest()
    {
        on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[]})"));
        QByteArray detail = fixture("library_detail_forks.json");
        detail.replace("https://x.test/", QByteArray(base().toString().toUtf8() + "files/"));
        on(QStringLiteral("GET /api/library/p1"), ScriptedReply::json(200, detail));
    }

    ProcessResult cli(const QStringList& args) { return runCli(args); }

    QStringList lines(const QStringList& args)
    {
        const ProcessResult result = cli(args);
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        return result.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
};

} // namespace

TEST_F(LibraryCliTest, AppPagePrintsItsOriginVersionsAndTreeLineByLine)
{
    const ProcessResult result = cli({QStringLiteral("library"), QStringLiteral("p1")});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QStringList expected =
        QString::fromUtf8(fixture("library_detail_forks.txt")).split(QLatin1Char('\n'));
    const QStringList printed = result.out.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < std::max(expected.size(), printed.size()); ++i)
        EXPECT_EQ(printed.value(i), expected.value(i)) << "line " << i + 1;
}

TEST_F(LibraryCliTest, UnsafeAppSaysSoUnderItsName)
{
    QJsonObject app = appJson(QStringLiteral("p1"), QStringLiteral("Focus"), {});
    app.insert(QStringLiteral("unsafe"), true);
    on(QStringLiteral("GET /api/library/p1"), ScriptedReply::json(200, compact(detailJson(app, {}))));
    const QStringList printed = lines({QStringLiteral("library"), QStringLiteral("p1")});
    ASSERT_GE(printed.size(), 2);
    EXPECT_EQ(printed[0], QStringLiteral("Focus"));
    EXPECT_EQ(printed[1], QStringLiteral("Made from an imported GitHub repo (unsafe mode)."));
}

TEST_F(LibraryCliTest, AppPageAsJsonKeepsTheRecord)
{
    const ProcessResult result =
        cli({QStringLiteral("library"), QStringLiteral("p1"), QStringLiteral("--json")});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QJsonObject printed = QJsonDocument::fromJson(result.out.toUtf8()).object();
    EXPECT_EQ(printed.value(QStringLiteral("origin")).toObject().value(QStringLiteral("name")).toString(),
              QStringLiteral("Timer"));
    EXPECT_EQ(printed.value(QStringLiteral("tree")).toArray().size(), 3);
}

TEST_F(LibraryCliTest, MissingAppPrintsTheServicesError)
{
    on(QStringLiteral("GET /api/library/p1"), ScriptedReply::json(404, R"({"message":"Project not found"})"));
    const ProcessResult result = cli({QStringLiteral("library"), QStringLiteral("p1")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, QStringLiteral("Project not found\n"));
}

TEST_F(LibraryCliTest, ListPrintsEachAppWithItsVersionLine)
{
    on(QStringLiteral("GET /api/library"),
       ScriptedReply::json(
           200,
           compact({{QStringLiteral("apps"),
                     QJsonArray{
                         appJson(QStringLiteral("p1"), QStringLiteral("Focus"),
                                 {versionJson({QStringLiteral("j1"), QStringLiteral("1.0")}, base())}),
                         appJson(QStringLiteral("p2"), QStringLiteral("Timer"),
                                 {versionJson({QStringLiteral("j3"), QStringLiteral("1.1")}, base()),
                                  versionJson({QStringLiteral("j2"), QStringLiteral("1.0")}, base())})}}})));
    EXPECT_EQ(lines({QStringLiteral("library")}),
              (QStringList{QStringLiteral("p1\tFocus\tVersion 1.0 \u00B7 1 version"),
                           QStringLiteral("p2\tTimer\tVersion 1.1 \u00B7 2 versions")}));
}

TEST_F(LibraryCliTest, EmptyListSaysNothingIsHereYet)
{
    on(QStringLiteral("GET /api/library"), ScriptedReply::json(200, R"({"apps":[]})"));
    EXPECT_EQ(lines({QStringLiteral("library")}),
              QStringList{QStringLiteral("Nothing here yet. Apps you build show up here.")});
}

TEST_F(LibraryCliTest, DownloadSavesTheVersionsDiskImageAndPrintsWhere)
{
    offer(QStringLiteral("files/j2/app.dmg"), ScriptedReply::archive(QByteArray(1000, 'd')));
    const QStringList printed = lines({QStringLiteral("library"), QStringLiteral("p1"),
                                       QStringLiteral("--download"), QStringLiteral("j2")});
    ASSERT_EQ(printed.size(), 1);
    EXPECT_EQ(QFileInfo(printed[0]).fileName(), QStringLiteral("Focus 1.1.dmg"));
    EXPECT_EQ(QFileInfo(printed[0]).size(), 1000);
    EXPECT_TRUE(printed[0].startsWith(home.downloadsFolder()));
}

TEST_F(LibraryCliTest, DownloadOfAVersionWithoutADiskImageFetchesItsArchive)
{
    offer(QStringLiteral("files/j3/app.zip"), ScriptedReply::archive(QByteArray(300, 'z')));
    const QStringList printed = lines({QStringLiteral("library"), QStringLiteral("p1"),
                                       QStringLiteral("--download"), QStringLiteral("j3")});
    ASSERT_EQ(printed.size(), 1);
    EXPECT_EQ(requestsTo(QStringLiteral("/files/j3/app.zip")), 1);
    EXPECT_TRUE(printed[0].endsWith(QStringLiteral(".zip"))) << printed[0].toStdString();
    EXPECT_EQ(QFileInfo(printed[0]).size(), 300);
}

TEST_F(LibraryCliTest, FailedDownloadPrintsItsError)
{
    offer(QStringLiteral("files/j2/app.dmg"), ScriptedReply::json(404, "{}"));
    const ProcessResult result = cli({QStringLiteral("library"), QStringLiteral("p1"),
                                      QStringLiteral("--download"), QStringLiteral("j2")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, QStringLiteral("The download failed (404).\n"));
}

TEST_F(LibraryCliTest, DownloadOfAnUnknownVersionFails)
{
    const ProcessResult result = cli({QStringLiteral("library"), QStringLiteral("p1"),
                                      QStringLiteral("--download"), QStringLiteral("j7")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, QStringLiteral("This app has no version built by job j7.\n"));
}

TEST_F(LibraryCliTest, ForkPrintsTheNewProjectsId)
{
    on(QStringLiteral("POST /api/templates/fork"), ScriptedReply::json(200, R"({"projectId":"p9"})"));
    EXPECT_EQ(lines({QStringLiteral("fork"), QStringLiteral("j1")}), QStringList{QStringLiteral("p9")});
    const auto sent = server.requestsTo(QStringLiteral("/api/templates/fork"));
    ASSERT_EQ(sent.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(sent[0].body).object().value(QStringLiteral("jobId")).toString(),
              QStringLiteral("j1"));
}

TEST_F(LibraryCliTest, FailedForkPrintsItsError)
{
    on(QStringLiteral("POST /api/templates/fork"),
       ScriptedReply::json(
           409, R"({"message":"This version did not keep its source, so it cannot be a template."})"));
    const ProcessResult result = cli({QStringLiteral("fork"), QStringLiteral("j7")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err,
              QStringLiteral("This version did not keep its source, so it cannot be a template.\n"));
    EXPECT_TRUE(result.out.isEmpty());
}

TEST_F(LibraryCliTest, GithubUnavailablePrintsItsTextAsAFailure)
{
    github.panel.reset();
    const ProcessResult result = cli({QStringLiteral("github"), QStringLiteral("p1")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, QStringLiteral("GitHub sync is not available right now.\n"));
}

TEST_F(LibraryCliTest, GithubConnectPrintsWhereToConnect)
{
    github.panel = QJsonObject{{QStringLiteral("state"), QStringLiteral("connect")}};
    EXPECT_EQ(
        lines({QStringLiteral("github"), QStringLiteral("p1")}),
        (QStringList{QStringLiteral("GitHub"),
                     QStringLiteral("Connect GitHub to keep this app's source in a repository."),
                     QStringLiteral("Connect GitHub: ") + base().toString() + QStringLiteral("library/p1")}));
}

TEST_F(LibraryCliTest, GithubChoosePrintsTheRepositoriesWithTheChosenOne)
{
    EXPECT_EQ(lines({QStringLiteral("github"), QStringLiteral("p1")}),
              (QStringList{QStringLiteral("GitHub"),
                           QStringLiteral("Connected as demo. Pick the repository to push to."),
                           QStringLiteral("Repository"), QStringLiteral("  demo/brightloom-apps\tchosen"),
                           QStringLiteral("  demo/website"), QStringLiteral("Use this repository")}));
}

TEST_F(LibraryCliTest, GithubLinkPrintsTheLinkedPanel)
{
    EXPECT_EQ(lines({QStringLiteral("github"), QStringLiteral("p1"), QStringLiteral("link"),
                     QStringLiteral("demo/website")}),
              (QStringList{QStringLiteral("GitHub"), QStringLiteral("Syncs to demo/website"),
                           QStringLiteral("Push version 1.1"), QStringLiteral("Stop syncing")}));
    EXPECT_EQ(requestsTo(QStringLiteral("/api/github/repos")), 0);
}

TEST_F(LibraryCliTest, GithubLinkedWithoutSourceSaysThereIsNothingToPush)
{
    github.panel = ScriptedGithub::readyPanel(true);
    github.panel->remove(QStringLiteral("pushVersion"));
    EXPECT_EQ(
        lines({QStringLiteral("github"), QStringLiteral("p1")}),
        (QStringList{QStringLiteral("GitHub"), QStringLiteral("Syncs to demo/website"),
                     QStringLiteral("The newest build did not keep its source, so there is nothing to push."),
                     QStringLiteral("Stop syncing")}));
}

TEST_F(LibraryCliTest, GithubPushPrintsTheMessageAndTheCommit)
{
    github.panel = ScriptedGithub::readyPanel(true);
    EXPECT_EQ(lines({QStringLiteral("github"), QStringLiteral("p1"), QStringLiteral("push")}),
              (QStringList{QStringLiteral("Pushed version 1.1 to GitHub."),
                           QStringLiteral("https://github.com/demo/website/commit/abc")}));
}

TEST_F(LibraryCliTest, GithubPushReportedUnchangedPrintsUpToDateWithoutAVersion)
{
    github.panel = ScriptedGithub::readyPanel(true);
    github.pushReply = ScriptedReply::json(200, R"({"changed":false,"version":"1.1"})");
    EXPECT_EQ(lines({QStringLiteral("github"), QStringLiteral("p1"), QStringLiteral("push")}),
              QStringList{QStringLiteral("Already up to date. The repository matches this build.")});
}

TEST_F(LibraryCliTest, GithubUnlinkPrintsThePanelToChooseAgain)
{
    github.panel = ScriptedGithub::readyPanel(true);
    const QStringList printed =
        lines({QStringLiteral("github"), QStringLiteral("p1"), QStringLiteral("unlink")});
    ASSERT_GE(printed.size(), 2);
    EXPECT_EQ(printed[1], QStringLiteral("Connected as demo. Pick the repository to push to."));
}

TEST_F(LibraryCliTest, GithubFailedActionPrintsItsError)
{
    github.linkReply = ScriptedReply::json(404, R"({"message":"Repository not found"})");
    const ProcessResult result = cli({QStringLiteral("github"), QStringLiteral("p1"), QStringLiteral("link"),
                                      QStringLiteral("someone/else")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, QStringLiteral("Repository not found\n"));
}
