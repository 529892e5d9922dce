// A service that names its apps and versions as an attacker would: every road that turns those
// texts into files (the cloud download, the build on this machine, the library's download) ends in
// a correct file or a clear refusal, and writes nothing outside the Downloads and data folders.

#include "conversation/chat_view.h"
#include "library/library_detail_view.h"
#include "localbuild/bundle_info.h"
#include "localbuild/local_builds.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "service/api.h"
#include "service/dmg_downloads.h"
#include "source_package.h"
#include "task_runner.h"
#include "temp_home.h"
#include "zip_maker.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

struct Hostile
{
    const char* what;
    QString appName;
    QString version;
};

// Names and versions as a hostile or broken service might send them.
QList<Hostile> corpus()
{
    return {
        {"XML specials", QStringLiteral("Tom & Jerry <3>"),
         QStringLiteral("2.0</string><key>LSUIElement</key><true/><key>x</key><string>")},
        {"path separators", QStringLiteral("../../../.bashrc"), QStringLiteral("1.0/../../x")},
        {"dot dot", QStringLiteral(".."), QStringLiteral("..")},
        {"NUL", QStringView(u"A\0B", 3).toString(),
         QStringView(u"1\0"
                     u"0",
                     3)
             .toString()},
        {"CR and LF", QStringLiteral("Notes\r\nEvil"), QStringLiteral("1.0\n")},
        {"direction override", QString::fromUtf16(u"Notes\u202Egmd.exe"), QString::fromUtf16(u"1.\u202E0")},
        {"ten thousand characters", QString(10000, QLatin1Char('N')), QString(10000, QLatin1Char('9'))},
        {"escape sequences", QStringLiteral("Notes\x1b]0;owned\x07"), QStringLiteral("1.0\x1b[2J")},
    };
}

// Every path under `root`, relative to it, with "/" after folders.
QStringList everything(const QString& root)
{
    QStringList found;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo entry(it.next());
        found.append(QDir(root).relativeFilePath(entry.filePath()) +
                     (entry.isDir() && !entry.isSymLink() ? QStringLiteral("/") : QString()));
    }
    found.sort();
    return found;
}

bool holdsControl(const QString& text)
{
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || (c.unicode() >= 0x7f && c.unicode() <= 0x9f))
            return true;
    }
    return false;
}

QByteArray sourceArchive(const QString& appName)
{
    const QByteArray appJson = QJsonDocument(QJsonObject{{QStringLiteral("name"), appName}}).toJson();
    ZipMaker zip;
    zip.file(QStringLiteral("Package.swift"), sourceManifest)
        .file(QStringLiteral("Sources/App/App.swift"), compilingSwift)
        .file(QStringLiteral("app.json"), appJson);
    return zip.zip();
}

QByteArray appArchive()
{
    return ZipMaker()
        .file(QStringLiteral("Notes.app/Contents/Info.plist"), "<plist/>")
        .file(QStringLiteral("Notes.app/Contents/MacOS/Notes"), "#!/bin/sh\n", 0755)
        .zip();
}

class HostileJobsTest : public ::testing::Test
{
protected:
    HostileJobsTest() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        QDir().mkpath(home.path() + QStringLiteral("/tmp"));
        home.setEnv("TMPDIR", (home.path() + QStringLiteral("/tmp")).toUtf8());
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        replies.insert(QStringLiteral("/files/app.dmg"), ScriptedReply::archive("DMG-BYTES"));
        replies.insert(QStringLiteral("/files/app.zip"), ScriptedReply::archive(appArchive()));
        server.setHandler([this](const RecordedRequest& request) {
            const auto found = replies.constFind(request.path());
            return found != replies.cend() ? *found : ScriptedReply::json(404, R"({"message":"Not found"})");
        });
        before = everything(home.path());
    }

    QString file(const char* path) const { return server.baseUrl().toString() + QString::fromLatin1(path); }

    // The detail of project `id` with one job.
    void serveProject(const QString& id, const QJsonObject& job)
    {
        const QJsonObject detail{{QStringLiteral("project"),
                                  QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("name"), id}}},
                                 {QStringLiteral("messages"), QJsonArray{}},
                                 {QStringLiteral("jobs"), QJsonArray{job}}};
        replies.insert(QStringLiteral("/api/projects/") + id,
                       ScriptedReply::json(200, QJsonDocument(detail).toJson(QJsonDocument::Compact)));
    }

    // What the test wrote outside the Downloads and data folders, and the settings file, since it
    // began; the temporary folder must be empty again.
    QStringList writtenOutside() const
    {
        QStringList outside;
        for (const QString& path : everything(home.path())) {
            const bool allowed = path.startsWith(QStringLiteral("Downloads/")) ||
                                 path.startsWith(QStringLiteral(".local/share/Brightloom/")) ||
                                 path.startsWith(QStringLiteral(".config/Brightloom/")) ||
                                 path == QStringLiteral(".config/") || path == QStringLiteral(".local/") ||
                                 path == QStringLiteral(".local/share/") || before.contains(path);
            if (!allowed)
                outside.append(path);
        }
        return outside;
    }

    TempHome home;
    RecordingServer server;
    QHash<QString, ScriptedReply> replies;
    QStringList before;
};

// The one rule every saved name must keep: a single entry directly in its folder, free of controls.
void expectPlainFileIn(const QString& folder, const QString& path, const char* what)
{
    const QFileInfo saved(path);
    EXPECT_TRUE(saved.exists()) << what;
    EXPECT_EQ(saved.absolutePath(), QDir(folder).absolutePath()) << what;
    EXPECT_FALSE(holdsControl(saved.fileName())) << what;
    EXPECT_FALSE(saved.fileName().startsWith(QLatin1Char('.'))) << what;
    EXPECT_LE(saved.fileName().toUtf8().size(), 255) << what;
}

} // namespace

TEST_F(HostileJobsTest, CloudDownloadSavesAPlainFileOrRefusesTheName)
{
    API api;
    LocalBuilds local;
    const QString hostFolder = home.downloadsFolder() + QLatin1Char('/') + server.baseUrl().host();
    int saved = 0;
    for (const Hostile& hostile : corpus()) {
        const QJsonObject job{{QStringLiteral("id"), QStringLiteral("j1")},
                              {QStringLiteral("status"), QStringLiteral("ready")},
                              {QStringLiteral("appName"), hostile.appName},
                              {QStringLiteral("version"), hostile.version},
                              {QStringLiteral("dmgUrl"), file("files/app.dmg")},
                              {QStringLiteral("downloadUrl"), file("files/app.zip")}};
        serveProject(QStringLiteral("p1"), job);
        ChatView view(api, local, Project{QStringLiteral("p1"), QStringLiteral("p1"), std::nullopt});
        ASSERT_TRUE(run(view.refresh()).ok());
        ASSERT_TRUE(view.loaded()) << hostile.what;
        for (const ChatButton& button : view.downloadArea(*view.latest()).buttons) {
            view.trigger(button);
            ASSERT_TRUE(spinUntil([&] { return !view.downloading(); })) << hostile.what;
            if (button.action != ChatAction::downloadDmg) {
                // The archive's own folder names the app; the service's name plays no part.
                ASSERT_TRUE(view.downloadedApp().has_value()) << hostile.what;
                EXPECT_EQ(QFileInfo(*view.downloadedApp()).fileName(), QStringLiteral("Notes.app"));
            } else if (const auto path = view.savedDmg()) {
                expectPlainFileIn(hostFolder, *path, hostile.what);
                ++saved;
            } else {
                EXPECT_TRUE(
                    view.errorText().startsWith(QStringLiteral("The app's name cannot be a file name: ")))
                    << hostile.what << ": " << view.errorText().toStdString();
            }
        }
    }
    EXPECT_EQ(saved, 1) << "only the XML specials make a plain name; \"../\" leaves a leading dot";
    EXPECT_TRUE(
        QFileInfo::exists(hostFolder + QStringLiteral("/Tom & Jerry <3> 2.0<-string><key>LSUIElement<-key>"
                                                      "<true-><key>x<-key><string>.dmg")));
    EXPECT_TRUE(writtenOutside().isEmpty()) << writtenOutside().join(QLatin1Char(' ')).toStdString();
}

TEST_F(HostileJobsTest, BuildOnThisMachineRefusesABadVersionBeforeFetchingAndFiltersTheName)
{
    API api;
    LocalBuilds local;
    int built = 0;
    QList<Hostile> all = corpus();
    all.append({"an ordinary version", QStringLiteral("../.hidden\nName"), QStringLiteral("1.2.3")});
    for (qsizetype i = 0; i < all.size(); ++i) {
        const Hostile& hostile = all[i];
        const QString id = QStringLiteral("source-job-%1").arg(i);
        const QString archive = QStringLiteral("files/source-%1.zip").arg(i);
        replies.insert(QLatin1Char('/') + archive, ScriptedReply::archive(sourceArchive(hostile.appName)));
        serveProject(QStringLiteral("p1"),
                     QJsonObject{{QStringLiteral("id"), id},
                                 {QStringLiteral("status"), QStringLiteral("ready")},
                                 {QStringLiteral("mode"), QStringLiteral("source")},
                                 {QStringLiteral("appName"), hostile.appName},
                                 {QStringLiteral("version"), hostile.version},
                                 {QStringLiteral("sourceUrl"), QString(file("") + archive)}});
        ChatView view(api, local, Project{QStringLiteral("p1"), QStringLiteral("p1"), std::nullopt});
        ASSERT_TRUE(run(view.refresh()).ok());
        ASSERT_TRUE(spinUntil(
            [&] {
                const auto state = local.state(id);
                return state &&
                       (state->phase == LocalState::Phase::done || state->phase == LocalState::Phase::failed);
            },
            std::chrono::seconds(60)))
            << hostile.what;
        const LocalState state = *local.state(id);
        if (LocalBuild::isBundleVersion(hostile.version)) {
            ASSERT_EQ(state.phase, LocalState::Phase::done)
                << hostile.what << ": " << state.error.value_or(QString()).toStdString();
            // The name from the source keeps only letters, digits, spaces, dots, hyphens and
            // underscores: one folder, whose leading dots the product keeps.
            const QFileInfo app(*state.app);
            EXPECT_EQ(app.absolutePath(), home.downloadsFolder() + QStringLiteral("/Brightloom/source-j"));
            EXPECT_EQ(app.fileName(), QStringLiteral("...hiddenName.app"));
            ++built;
        } else {
            EXPECT_EQ(state.error, QString::fromLatin1(LocalBuild::badVersionText)) << hostile.what;
            EXPECT_TRUE(server.requestsTo(QLatin1Char('/') + archive).isEmpty())
                << hostile.what << ": the source is not even fetched";
        }
    }
    EXPECT_EQ(built, 1);
    EXPECT_TRUE(writtenOutside().isEmpty()) << writtenOutside().join(QLatin1Char(' ')).toStdString();
}

TEST_F(HostileJobsTest, BuildOnThisMachineRefusesAJobIdThatCannotNameAFolder)
{
    API api;
    LocalBuilds local;
    server.offer(QStringLiteral("files/source.zip"),
                 ScriptedReply::archive(sourceArchive(QStringLiteral("Notes"))));
    for (const QString& id : {QStringLiteral("../../escape"), QStringLiteral("id\nwith a line"),
                              QStringLiteral(".."), QString(10000, QLatin1Char('j'))}) {
        serveProject(QStringLiteral("p1"),
                     QJsonObject{{QStringLiteral("id"), id},
                                 {QStringLiteral("status"), QStringLiteral("ready")},
                                 {QStringLiteral("mode"), QStringLiteral("source")},
                                 {QStringLiteral("version"), QStringLiteral("1.0")},
                                 {QStringLiteral("sourceUrl"), file("files/source.zip")}});
        ChatView view(api, local, Project{QStringLiteral("p1"), QStringLiteral("p1"), std::nullopt});
        ASSERT_TRUE(run(view.refresh()).ok());
        ASSERT_TRUE(spinUntil([&] {
            const auto state = local.state(id);
            return state && state->phase == LocalState::Phase::failed;
        }));
        EXPECT_EQ(local.state(id)->error, QStringLiteral("Bad job id"));
    }
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/files/source.zip")).isEmpty());
    EXPECT_TRUE(writtenOutside().isEmpty()) << writtenOutside().join(QLatin1Char(' ')).toStdString();
}

TEST_F(HostileJobsTest, LibraryDownloadSavesAPlainFileOrRefusesTheName)
{
    API api;
    QJsonArray versions;
    const QList<Hostile> all = corpus();
    for (qsizetype i = 0; i < all.size(); ++i) {
        QJsonObject version{{QStringLiteral("jobId"), QStringLiteral("v%1").arg(i)},
                            {QStringLiteral("version"), all[i].version},
                            {QStringLiteral("appName"), all[i].appName},
                            {QStringLiteral("downloadUrl"), file("files/app.zip")},
                            {QStringLiteral("hasSource"), true},
                            {QStringLiteral("createdAt"), QStringLiteral("2026-10-01T09:00:00Z")}};
        if (i % 2 == 0)
            version.insert(QStringLiteral("dmgUrl"), file("files/app.dmg"));
        versions.append(version);
    }
    const QJsonObject detail{
        {QStringLiteral("app"), QJsonObject{{QStringLiteral("projectId"), QStringLiteral("p1")},
                                            {QStringLiteral("name"), QStringLiteral("Notes")},
                                            {QStringLiteral("versions"), versions},
                                            {QStringLiteral("templatePublic"), false}}},
        {QStringLiteral("tree"), QJsonArray{}},
        {QStringLiteral("treeProjectId"), QStringLiteral("p1")},
        {QStringLiteral("canTemplate"), false}};
    replies.insert(QStringLiteral("/api/library/p1"),
                   ScriptedReply::json(200, QJsonDocument(detail).toJson(QJsonDocument::Compact)));

    LibraryDetailView view(api, QStringLiteral("p1"), {});
    ASSERT_TRUE(run(view.load()).ok());
    ASSERT_TRUE(view.detail().has_value()) << view.error().value_or(QString()).toStdString();
    const QString hostFolder = home.downloadsFolder() + QLatin1Char('/') + server.baseUrl().host();
    int saved = 0;
    for (qsizetype i = 0; i < all.size(); ++i) {
        const QString key = QStringLiteral("v%1").arg(i);
        view.download(key);
        ASSERT_TRUE(spinUntil([&] { return !view.downloadBusy(key); })) << all[i].what;
        if (const auto path = view.savedFile(key)) {
            expectPlainFileIn(hostFolder, *path, all[i].what);
            EXPECT_TRUE(path->endsWith(i % 2 == 0 ? QStringLiteral(".dmg") : QStringLiteral(".zip")))
                << all[i].what;
            ++saved;
        } else {
            EXPECT_TRUE(view.downloads()->error().startsWith(
                QStringLiteral("The app's name cannot be a file name: ")))
                << all[i].what << ": " << view.downloads()->error().toStdString();
        }
    }
    EXPECT_EQ(saved, 1) << "only the XML specials make a plain name";
    EXPECT_TRUE(writtenOutside().isEmpty()) << writtenOutside().join(QLatin1Char(' ')).toStdString();
}
