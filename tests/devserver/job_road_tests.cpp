// Projects and their jobs through the command line: creating, following the clock, downloading
// the results, and the source archives of jobs built on this Mac.

#include "archive/zip_extraction.h"
#include "localbuild/source_fetch.h"
#include "road_fixture.h"
#include "task_runner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <archive.h>
#include <archive_entry.h>

using namespace brightloom::test;

namespace {

QString text(const QJsonObject& object, const char* key)
{
    return object.value(QString::fromLatin1(key)).toString();
}

struct ZipEntry
{
    QString name;
    bool symlink = false;
    QByteArray content;
};

// Every entry of a zip archive held in memory, read with libarchive.
QList<ZipEntry> zipEntries(const QByteArray& zip)
{
    QList<ZipEntry> entries;
    archive* reader = archive_read_new();
    archive_read_support_format_zip(reader);
    if (archive_read_open_memory(reader, zip.constData(), size_t(zip.size())) == ARCHIVE_OK) {
        archive_entry* entry = nullptr;
        while (archive_read_next_header(reader, &entry) == ARCHIVE_OK) {
            ZipEntry item;
            item.name = QString::fromUtf8(archive_entry_pathname(entry));
            item.symlink = archive_entry_filetype(entry) == AE_IFLNK;
            QByteArray buffer(4096, Qt::Uninitialized);
            for (la_ssize_t n; (n = archive_read_data(reader, buffer.data(), size_t(buffer.size()))) > 0;)
                item.content.append(buffer.constData(), n);
            entries.append(item);
        }
    }
    archive_read_free(reader);
    return entries;
}

// The entry points into `entries`, which must outlive it.
const ZipEntry* entryNamed(const QList<ZipEntry>& entries, const QString& name)
{
    for (const ZipEntry& entry : entries) {
        if (entry.name == name)
            return &entry;
    }
    return nullptr;
}

// A temporary list would be gone before its entry is read.
const ZipEntry* entryNamed(QList<ZipEntry>&& entries, const QString& name) = delete;

class DevServerJobsTest : public RoadTest
{
protected:
    void SetUp() override
    {
        RoadTest::SetUp();
        signInAsDemo();
    }

    // A finished source job's archive, as its sourceUrl serves it.
    QList<ZipEntry> sourceArchiveOf(const QString& projectId)
    {
        const QJsonObject job = newestJob(projectId);
        const Reply reply = controller->get(text(job, "sourceUrl"));
        EXPECT_EQ(reply.status, 200) << text(job, "sourceUrl").toStdString();
        return zipEntries(reply.body);
    }

    QString readyProject(const QString& prompt, const QStringList& extra = {})
    {
        const QString id = newProject(prompt, extra);
        finishJobs();
        return id;
    }
};

} // namespace

TEST_F(DevServerJobsTest, NewProjectStartsWithAQueuedJobAndThePromptAsUserMessage)
{
    const QString id = newProject(QStringLiteral("a notes app with tags"));
    ASSERT_FALSE(id.isEmpty());
    const QJsonObject detail = show(id);
    EXPECT_EQ(text(detail.value(QStringLiteral("project")).toObject(), "name"), QStringLiteral("Notes"));
    const QJsonArray messages = detail.value(QStringLiteral("messages")).toArray();
    ASSERT_GE(messages.size(), 1);
    EXPECT_EQ(text(messages[0].toObject(), "role"), QStringLiteral("user"));
    EXPECT_EQ(text(messages[0].toObject(), "content"), QStringLiteral("a notes app with tags"));
    const QJsonArray jobs = detail.value(QStringLiteral("jobs")).toArray();
    ASSERT_EQ(jobs.size(), 1);
    EXPECT_EQ(text(jobs[0].toObject(), "status"), QStringLiteral("queued"));
    EXPECT_FALSE(jobs[0].toObject().contains(QStringLiteral("mode")));
}

TEST_F(DevServerJobsTest, NewProjectIsListedFirst)
{
    const QString id = newProject(QStringLiteral("a pomodoro timer"));
    EXPECT_TRUE(cliOk({QStringLiteral("projects")}).startsWith(id + QStringLiteral("\tPomodoro Timer\n")));
}

TEST_F(DevServerJobsTest, EachStepMovesTheJobThroughBuildingStages)
{
    const QString id = newProject(QStringLiteral("a notes app"));
    QStringList stages;
    for (int step = 0; step < 4; ++step) {
        stepClock();
        const QJsonObject job = newestJob(id);
        EXPECT_EQ(text(job, "status"), QStringLiteral("building"));
        stages.append(text(job, "stage"));
    }
    EXPECT_EQ(stages, (QStringList{QStringLiteral("planning"), QStringLiteral("writing code"),
                                   QStringLiteral("compiling"), QStringLiteral("signing")}));
    stepClock();
    EXPECT_EQ(text(newestJob(id), "status"), QStringLiteral("ready"));
}

TEST_F(DevServerJobsTest, ClockTicksOnItsOwnAtTheGivenSpeed)
{
    startServer({QStringLiteral("--speed"), QStringLiteral("0.05")});
    signInAsDemo();
    const QString id = newProject(QStringLiteral("a notes app"));
    const bool ready = spinUntil([&] { return text(newestJob(id), "status") == QLatin1String("ready"); },
                                 std::chrono::seconds(10));
    EXPECT_TRUE(ready) << text(newestJob(id), "status").toStdString();
}

TEST_F(DevServerJobsTest, ReadyCloudJobHasEveryResultField)
{
    const QJsonObject job = newestJob(readyProject(QStringLiteral("a notes app")));
    EXPECT_EQ(text(job, "status"), QStringLiteral("ready"));
    EXPECT_EQ(text(job, "appName"), QStringLiteral("Notes"));
    EXPECT_EQ(text(job, "version"), QStringLiteral("1.0"));
    EXPECT_FALSE(job.contains(QStringLiteral("stage")));
    EXPECT_FALSE(job.contains(QStringLiteral("sourceUrl")));
    for (const char* key : {"downloadUrl", "dmgUrl", "iconUrl"})
        EXPECT_TRUE(text(job, key).startsWith(server->baseUrl().toString())) << key;
    EXPECT_TRUE(QRegularExpression(QStringLiteral(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$)"))
                    .match(text(job, "createdAt"))
                    .hasMatch())
        << text(job, "createdAt").toStdString();
}

TEST_F(DevServerJobsTest, SecondMessageMakesVersionOnePointOneListedFirst)
{
    const QString id = readyProject(QStringLiteral("a notes app"));
    cliOk({QStringLiteral("send"), id, QStringLiteral("add a dark mode")});
    finishJobs();
    const QJsonArray jobs = show(id).value(QStringLiteral("jobs")).toArray();
    ASSERT_EQ(jobs.size(), 2);
    EXPECT_EQ(text(jobs[0].toObject(), "version"), QStringLiteral("1.1"));
    EXPECT_EQ(text(jobs[1].toObject(), "version"), QStringLiteral("1.0"));
}

TEST_F(DevServerJobsTest, MessageWhileTheJobRunsIsRefused)
{
    const QString id = newProject(QStringLiteral("a notes app"));
    const ProcessResult send = cli({QStringLiteral("send"), id, QStringLiteral("also tags")});
    EXPECT_EQ(send.exitCode, 1);
    EXPECT_EQ(errorLine(send), QStringLiteral("Wait for the current build to finish."));
}

TEST_F(DevServerJobsTest, DownloadZipGivesAnAppBundleWithAnExecutable)
{
    const QString id = readyProject(QStringLiteral("a notes app"));
    const QString app = cliOk({QStringLiteral("download"), id, QStringLiteral("--zip")}).trimmed();
    EXPECT_TRUE(app.endsWith(QStringLiteral("/Notes.app"))) << app.toStdString();
    EXPECT_TRUE(app.startsWith(downloadsFolder() + QStringLiteral("/127.0.0.1/"))) << app.toStdString();
    EXPECT_TRUE(QFile::exists(app + QStringLiteral("/Contents/Info.plist")));
    EXPECT_TRUE(QFile::exists(app + QStringLiteral("/Contents/Resources/AppIcon.png")));
    const QFileInfo executable(app + QStringLiteral("/Contents/MacOS/Notes"));
    ASSERT_TRUE(executable.exists());
    EXPECT_TRUE(executable.permissions().testFlag(QFileDevice::ExeOwner));
    EXPECT_TRUE(executable.permissions().testFlag(QFileDevice::ExeOther));
}

TEST_F(DevServerJobsTest, DownloadDmgIsNamedByAppNameAndVersion)
{
    const QString id = readyProject(QStringLiteral("a notes app"));
    const QString image = cliOk({QStringLiteral("download"), id, QStringLiteral("--dmg")}).trimmed();
    EXPECT_EQ(image, downloadsFolder() + QStringLiteral("/127.0.0.1/Notes 1.0.dmg"));
    EXPECT_GT(QFileInfo(image).size(), 256 * 1024);
    const QString second = cliOk({QStringLiteral("download"), id, QStringLiteral("--dmg")}).trimmed();
    EXPECT_EQ(second, downloadsFolder() + QStringLiteral("/127.0.0.1/Notes 1.0 2.dmg"));
}

TEST_F(DevServerJobsTest, DownloadBeforeAnyReadyJobFails)
{
    const QString id = newProject(QStringLiteral("a notes app"));
    const ProcessResult download = cli({QStringLiteral("download"), id});
    EXPECT_EQ(download.exitCode, 1);
    EXPECT_EQ(errorLine(download), QStringLiteral("This project has no ready build yet."));
}

TEST_F(DevServerJobsTest, FailNextJobEndsItFailedWithTheGivenError)
{
    QJsonObject failure;
    failure.insert(QStringLiteral("error"), QStringLiteral("The build machine ran out of disk."));
    control("POST", QStringLiteral("control/jobs/fail-next"), failure);
    const QJsonObject job = newestJob(readyProject(QStringLiteral("a notes app")));
    EXPECT_EQ(text(job, "status"), QStringLiteral("failed"));
    EXPECT_EQ(text(job, "error"), QStringLiteral("The build machine ran out of disk."));
    EXPECT_FALSE(job.contains(QStringLiteral("downloadUrl")));
}

TEST_F(DevServerJobsTest, LocalProjectEndsWithAnHttpsSourceArchiveAndNoBuiltApp)
{
    const QJsonObject job =
        newestJob(readyProject(QStringLiteral("a notes app"), {QStringLiteral("--local")}));
    EXPECT_EQ(text(job, "mode"), QStringLiteral("source"));
    EXPECT_TRUE(text(job, "sourceUrl").startsWith(QStringLiteral("https://127.0.0.1:")));
    EXPECT_FALSE(job.contains(QStringLiteral("downloadUrl")));
    EXPECT_FALSE(job.contains(QStringLiteral("dmgUrl")));
}

TEST_F(DevServerJobsTest, SourceArchivePassesTheClientsVetting)
{
    const QString id = readyProject(QStringLiteral("a notes app"), {QStringLiteral("--local")});
    const Reply reply = controller->get(text(newestJob(id), "sourceUrl"));
    ASSERT_EQ(reply.status, 200);
    QTemporaryDir unpacked;
    const QString archive = unpacked.filePath(QStringLiteral("source.zip"));
    QFile file(archive);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(reply.body);
    file.close();
    const QString root = unpacked.filePath(QStringLiteral("project"));
    ASSERT_TRUE(QDir().mkpath(root));
    const brightloom::zip::Result result = brightloom::zip::extract(archive, root);
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    QFile manifest(root + QStringLiteral("/Package.swift"));
    ASSERT_TRUE(manifest.open(QIODevice::ReadOnly));
    const QString manifestText = QString::fromUtf8(manifest.readAll());
    EXPECT_TRUE(manifestText.contains(QStringLiteral(".macOS(.v14)")));
    try {
        brightloom::LocalBuild::validateTree(root);
        brightloom::LocalBuild::validateManifest(manifestText);
    } catch (const std::exception& error) {
        FAIL() << error.what();
    }
    EXPECT_TRUE(QFile::exists(root + QStringLiteral("/Sources/App/App.swift")));
    QFile appJson(root + QStringLiteral("/app.json"));
    ASSERT_TRUE(appJson.open(QIODevice::ReadOnly));
    EXPECT_EQ(text(jsonOf(QString::fromUtf8(appJson.readAll())), "name"), QStringLiteral("Notes"));
    EXPECT_TRUE(QFile::exists(root + QStringLiteral("/icon.png")));
}

TEST_F(DevServerJobsTest, SourceArchiveDeclaresAssetsWhenThePromptAsksForAModel)
{
    const QString id =
        readyProject(QStringLiteral("a captioner with an on-device model"), {QStringLiteral("--local")});
    const QList<ZipEntry> entries = sourceArchiveOf(id);
    const ZipEntry* assets = entryNamed(entries, QStringLiteral("assets.json"));
    ASSERT_NE(assets, nullptr);
    EXPECT_TRUE(assets->content.contains("\"repo\": \"https://github.com/"));
}

TEST_F(DevServerJobsTest, FixMessageMakesASourceFixJob)
{
    const QString id = readyProject(QStringLiteral("a notes app"), {QStringLiteral("--local")});
    cliOk({QStringLiteral("send"), id, QStringLiteral("error: cannot find 'Foo' in scope"),
           QStringLiteral("--fix")});
    const QJsonObject job = newestJob(id);
    EXPECT_EQ(text(job, "mode"), QStringLiteral("source-fix"));
    finishJobs();
    EXPECT_TRUE(text(newestJob(id), "sourceUrl").endsWith(QStringLiteral("/source.zip")));
}

TEST_F(DevServerJobsTest, PlainMessageOnALocalProjectMakesASourceJob)
{
    const QString id = readyProject(QStringLiteral("a notes app"), {QStringLiteral("--local")});
    cliOk({QStringLiteral("send"), id, QStringLiteral("add tags")});
    EXPECT_EQ(text(newestJob(id), "mode"), QStringLiteral("source"));
}

TEST_F(DevServerJobsTest, HostileSymlinkFaultPutsALinkInTheNextSourceArchive)
{
    QJsonObject fault;
    fault.insert(QStringLiteral("fault"), QStringLiteral("symlink"));
    control("POST", QStringLiteral("control/source/next"), fault);
    const QList<ZipEntry> entries =
        sourceArchiveOf(readyProject(QStringLiteral("notes"), {QStringLiteral("--local")}));
    const auto link =
        std::find_if(entries.cbegin(), entries.cend(), [](const ZipEntry& e) { return e.symlink; });
    EXPECT_NE(link, entries.cend());
}

TEST_F(DevServerJobsTest, HostileEscapeFaultPutsAnEntryOutsideTheFolder)
{
    QJsonObject fault;
    fault.insert(QStringLiteral("fault"), QStringLiteral("escape"));
    control("POST", QStringLiteral("control/source/next"), fault);
    const QList<ZipEntry> entries =
        sourceArchiveOf(readyProject(QStringLiteral("notes"), {QStringLiteral("--local")}));
    EXPECT_NE(entryNamed(entries, QStringLiteral("../x")), nullptr);
}

TEST_F(DevServerJobsTest, ForbiddenManifestFaultIsRefusedByTheVetting)
{
    QJsonObject fault;
    fault.insert(QStringLiteral("fault"), QStringLiteral("manifest"));
    control("POST", QStringLiteral("control/source/next"), fault);
    const QList<ZipEntry> entries =
        sourceArchiveOf(readyProject(QStringLiteral("notes"), {QStringLiteral("--local")}));
    const ZipEntry* manifest = entryNamed(entries, QStringLiteral("Package.swift"));
    ASSERT_NE(manifest, nullptr);
    try {
        brightloom::LocalBuild::validateManifest(QString::fromUtf8(manifest->content));
        ADD_FAILURE() << "the manifest passed";
    } catch (const std::exception& error) {
        EXPECT_EQ(QString::fromUtf8(error.what()),
                  QStringLiteral("Refused to build this source: Package.swift uses FileManager"));
    }
}

TEST_F(DevServerJobsTest, CompileFaultPutsAnErrorDirectiveInTheSwiftCode)
{
    QJsonObject fault;
    fault.insert(QStringLiteral("fault"), QStringLiteral("compile"));
    control("POST", QStringLiteral("control/source/next"), fault);
    const QString id = readyProject(QStringLiteral("notes"), {QStringLiteral("--local")});
    const QList<ZipEntry> entries = sourceArchiveOf(id);
    const ZipEntry* swift = entryNamed(entries, QStringLiteral("Sources/App/App.swift"));
    ASSERT_NE(swift, nullptr);
    EXPECT_TRUE(swift->content.contains("#error("));
}

TEST_F(DevServerJobsTest, SourceFaultAppliesOnlyToTheNextSourceJob)
{
    QJsonObject fault;
    fault.insert(QStringLiteral("fault"), QStringLiteral("compile"));
    control("POST", QStringLiteral("control/source/next"), fault);
    const QString id = readyProject(QStringLiteral("notes"), {QStringLiteral("--local")});
    cliOk({QStringLiteral("send"), id, QStringLiteral("error: #error"), QStringLiteral("--fix")});
    finishJobs();
    const QList<ZipEntry> entries = sourceArchiveOf(id);
    const ZipEntry* swift = entryNamed(entries, QStringLiteral("Sources/App/App.swift"));
    ASSERT_NE(swift, nullptr);
    EXPECT_FALSE(swift->content.contains("#error("));
}

TEST_F(DevServerJobsTest, ImportedRepositoryMakesAnUnsafeProject)
{
    const QString id = newProject(QStringLiteral("build on https://github.com/acme/widgets/tree/v2"),
                                  {QStringLiteral("--import")});
    EXPECT_TRUE(cliOk({QStringLiteral("projects")}).contains(id + QStringLiteral("\tWidgets\tunsafe\n")));
}

TEST_F(DevServerJobsTest, AnotherUsersProjectIsNotFound)
{
    const QString id = newProject(QStringLiteral("a notes app"));
    auto other = otherUser(QStringLiteral("other@example.test"));
    const Reply reply = other->get(QStringLiteral("api/projects/") + id);
    EXPECT_EQ(reply.status, 404);
    EXPECT_EQ(reply.message(), QStringLiteral("Project not found"));
}
