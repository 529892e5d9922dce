// The library, forks and templates, the gallery and favorites, through the command line.

#include "road_fixture.h"

#include <QJsonArray>

using namespace brightloom::test;

namespace {

QString text(const QJsonObject& object, const char* key)
{
    return object.value(QString::fromLatin1(key)).toString();
}

QJsonObject at(const QJsonValue& array, int index)
{
    return array.toArray().at(index).toObject();
}

class DevServerLibraryTest : public RoadTest
{
protected:
    void SetUp() override
    {
        RoadTest::SetUp();
        signInAsDemo();
    }

    // A project with two finished versions, 1.0 and 1.1.
    QString projectWithTwoVersions()
    {
        const QString id = newProject(QStringLiteral("a notes app"));
        finishJobs();
        cliOk({QStringLiteral("send"), id, QStringLiteral("add a dark mode")});
        finishJobs();
        return id;
    }

    QJsonObject library(const QString& projectId)
    {
        return cliJson({QStringLiteral("library"), projectId, QStringLiteral("--json")});
    }

    QJsonArray galleryApps()
    {
        return cliJson({QStringLiteral("gallery"), QStringLiteral("--json")})
            .value(QStringLiteral("apps"))
            .toArray();
    }

    QString firstTemplateJob()
    {
        for (const QJsonValue& app : galleryApps()) {
            if (app.toObject().contains(QStringLiteral("templateJobId")))
                return text(app.toObject(), "templateJobId");
        }
        return {};
    }
};

} // namespace

TEST_F(DevServerLibraryTest, LibraryListsOnlyBuiltAppsWithVersionsNewestFirst)
{
    const QString built = projectWithTwoVersions();
    newProject(QStringLiteral("a timer")); // still queued: not an app yet
    const QJsonArray apps = cliJson({QStringLiteral("library"), QStringLiteral("--json")})
                                .value(QStringLiteral("apps"))
                                .toArray();
    ASSERT_EQ(apps.size(), 1);
    const QJsonObject app = apps[0].toObject();
    EXPECT_EQ(text(app, "projectId"), built);
    EXPECT_EQ(text(app, "name"), QStringLiteral("Notes"));
    EXPECT_EQ(app.value(QStringLiteral("templatePublic")), QJsonValue(false));
    const QJsonArray versions = app.value(QStringLiteral("versions")).toArray();
    ASSERT_EQ(versions.size(), 2);
    EXPECT_EQ(text(versions[0].toObject(), "version"), QStringLiteral("1.1"));
    EXPECT_EQ(text(versions[1].toObject(), "version"), QStringLiteral("1.0"));
    EXPECT_EQ(versions[0].toObject().value(QStringLiteral("hasSource")), QJsonValue(true));
    EXPECT_FALSE(text(versions[0].toObject(), "downloadUrl").isEmpty());
}

TEST_F(DevServerLibraryTest, ImportedAppIsUnsafeAndKeepsNoSource)
{
    newProject(QStringLiteral("build on https://github.com/acme/widgets"), {QStringLiteral("--import")});
    finishJobs();
    const QJsonObject app =
        at(cliJson({QStringLiteral("library"), QStringLiteral("--json")}).value(QStringLiteral("apps")), 0);
    EXPECT_EQ(app.value(QStringLiteral("unsafe")), QJsonValue(true));
    EXPECT_EQ(at(app.value(QStringLiteral("versions")), 0).value(QStringLiteral("hasSource")),
              QJsonValue(false));
}

TEST_F(DevServerLibraryTest, TreeListsVersionsFromOnePointZeroDown)
{
    const QString id = projectWithTwoVersions();
    const QJsonObject detail = library(id);
    EXPECT_EQ(text(detail, "treeProjectId"), id);
    EXPECT_EQ(detail.value(QStringLiteral("canTemplate")), QJsonValue(true));
    EXPECT_FALSE(detail.contains(QStringLiteral("origin")));
    const QJsonArray tree = detail.value(QStringLiteral("tree")).toArray();
    ASSERT_EQ(tree.size(), 2);
    EXPECT_EQ(text(tree[0].toObject(), "version"), QStringLiteral("1.0"));
    EXPECT_EQ(text(tree[0].toObject(), "prompt"), QStringLiteral("a notes app"));
    EXPECT_EQ(text(tree[1].toObject(), "version"), QStringLiteral("1.1"));
    EXPECT_EQ(tree[1].toObject().value(QStringLiteral("hiddenForks")), QJsonValue(0));
}

TEST_F(DevServerLibraryTest, ForkAppearsUnderTheVersionItCameFromAsMine)
{
    const QString id = projectWithTwoVersions();
    const QString firstJob = text(at(library(id).value(QStringLiteral("tree")), 0), "jobId");
    const QString fork = cliOk({QStringLiteral("fork"), firstJob}).trimmed();
    ASSERT_FALSE(fork.isEmpty());
    const QJsonArray tree = library(id).value(QStringLiteral("tree")).toArray();
    const QJsonArray forks = tree[0].toObject().value(QStringLiteral("forks")).toArray();
    ASSERT_EQ(forks.size(), 1);
    EXPECT_EQ(text(forks[0].toObject(), "projectId"), fork);
    EXPECT_EQ(forks[0].toObject().value(QStringLiteral("mine")), QJsonValue(true));
    EXPECT_EQ(forks[0].toObject().value(QStringLiteral("nodes")).toArray().size(), 1);
    EXPECT_TRUE(tree[1].toObject().value(QStringLiteral("forks")).toArray().isEmpty());
}

TEST_F(DevServerLibraryTest, ForkShowsItsOriginAndTheWholeTree)
{
    const QString id = projectWithTwoVersions();
    const QString firstJob = text(at(library(id).value(QStringLiteral("tree")), 0), "jobId");
    const QString fork = cliOk({QStringLiteral("fork"), firstJob}).trimmed();
    const QJsonObject detail = library(fork);
    EXPECT_EQ(text(detail, "treeProjectId"), id);
    const QJsonObject origin = detail.value(QStringLiteral("origin")).toObject();
    EXPECT_EQ(text(origin, "name"), QStringLiteral("Notes"));
    EXPECT_EQ(text(origin, "version"), QStringLiteral("1.0"));
    EXPECT_EQ(text(detail.value(QStringLiteral("app")).toObject(), "projectId"), fork);
}

TEST_F(DevServerLibraryTest, ForkIsAReadyProjectOfItsOwn)
{
    const QString id = projectWithTwoVersions();
    const QString job = text(at(library(id).value(QStringLiteral("tree")), 1), "jobId");
    const QString fork = cliOk({QStringLiteral("fork"), job}).trimmed();
    EXPECT_TRUE(cliOk({QStringLiteral("projects")}).startsWith(fork + QLatin1Char('\t')));
    const QJsonObject newest = show(fork).value(QStringLiteral("jobs")).toArray().first().toObject();
    EXPECT_EQ(text(newest, "status"), QStringLiteral("ready"));
    EXPECT_EQ(text(newest, "version"), QStringLiteral("1.0"));
    EXPECT_FALSE(text(newest, "downloadUrl").isEmpty());
}

TEST_F(DevServerLibraryTest, OtherUsersPrivateForkIsOnlyCounted)
{
    const QString id = projectWithTwoVersions();
    const QString firstJob = text(at(library(id).value(QStringLiteral("tree")), 0), "jobId");
    control("PUT", QStringLiteral("control/projects/") + id + QStringLiteral("/template"));
    auto other = otherUser(QStringLiteral("other@example.test"));
    QJsonObject body;
    body.insert(QStringLiteral("jobId"), firstJob);
    const Reply forked = other->postJson(QStringLiteral("api/templates/fork"), body);
    ASSERT_EQ(forked.status, 200) << forked.body.constData();
    const QJsonObject node = at(library(id).value(QStringLiteral("tree")), 0);
    EXPECT_TRUE(node.value(QStringLiteral("forks")).toArray().isEmpty());
    EXPECT_EQ(node.value(QStringLiteral("hiddenForks")), QJsonValue(1));
}

TEST_F(DevServerLibraryTest, PrivateProjectOfAnotherUserCannotBeForked)
{
    const QString id = projectWithTwoVersions();
    const QString firstJob = text(at(library(id).value(QStringLiteral("tree")), 0), "jobId");
    auto other = otherUser(QStringLiteral("other@example.test"));
    QJsonObject body;
    body.insert(QStringLiteral("jobId"), firstJob);
    const Reply forked = other->postJson(QStringLiteral("api/templates/fork"), body);
    EXPECT_EQ(forked.status, 404);
    EXPECT_EQ(forked.message(), QStringLiteral("Template not found"));
}

TEST_F(DevServerLibraryTest, LibraryOfAQueuedProjectIsNotFound)
{
    const QString id = newProject(QStringLiteral("a timer"));
    const ProcessResult result = cli({QStringLiteral("library"), id});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("This app has no finished version yet."));
}

TEST_F(DevServerLibraryTest, GalleryHasAtLeastTwelveAppsSomeStarredSomeTemplates)
{
    const QJsonArray apps = galleryApps();
    EXPECT_GE(apps.size(), 12);
    int starred = 0;
    int templates = 0;
    for (const QJsonValue& value : apps) {
        const QJsonObject app = value.toObject();
        starred += app.value(QStringLiteral("starred")).toBool() ? 1 : 0;
        templates += app.contains(QStringLiteral("templateJobId")) ? 1 : 0;
        for (const char* key : {"slug", "name", "tagline", "blurb", "category", "iconUrl"})
            EXPECT_FALSE(text(app, key).isEmpty()) << key;
        EXPECT_TRUE(app.value(QStringLiteral("views")).isDouble());
        EXPECT_TRUE(app.value(QStringLiteral("favorites")).isDouble());
    }
    EXPECT_GT(starred, 0);
    EXPECT_LT(starred, apps.size());
    EXPECT_GT(templates, 0);
    EXPECT_LT(templates, apps.size());
}

TEST_F(DevServerLibraryTest, GalleryIconsArePngImages)
{
    const QString iconUrl = text(galleryApps().first().toObject(), "iconUrl");
    const Reply icon = controller->get(iconUrl);
    EXPECT_EQ(icon.status, 200);
    EXPECT_EQ(icon.contentType, QByteArray("image/png"));
    EXPECT_TRUE(icon.body.startsWith("\x89PNG\r\n\x1a\n"));
}

TEST_F(DevServerLibraryTest, GalleryTemplateForksIntoAReadyProject)
{
    const QString job = firstTemplateJob();
    ASSERT_FALSE(job.isEmpty());
    const QString project = cliOk({QStringLiteral("fork"), job}).trimmed();
    const QJsonObject newest = show(project).value(QStringLiteral("jobs")).toArray().first().toObject();
    EXPECT_EQ(text(newest, "status"), QStringLiteral("ready"));
    const QJsonObject detail = library(project);
    EXPECT_FALSE(text(detail.value(QStringLiteral("origin")).toObject(), "name").isEmpty());
    EXPECT_EQ(detail.value(QStringLiteral("canTemplate")), QJsonValue(true));
}

TEST_F(DevServerLibraryTest, FavoriteOnShowsUpInFavoritesOnly)
{
    const QString slug = text(galleryApps().at(3).toObject(), "slug");
    cliOk({QStringLiteral("favorite"), slug, QStringLiteral("on")});
    const QJsonArray favorites =
        cliJson({QStringLiteral("gallery"), QStringLiteral("--favorites"), QStringLiteral("--json")})
            .value(QStringLiteral("apps"))
            .toArray();
    ASSERT_EQ(favorites.size(), 1);
    EXPECT_EQ(text(favorites[0].toObject(), "slug"), slug);
}

TEST_F(DevServerLibraryTest, FavoriteOffRemovesIt)
{
    const QString slug = text(galleryApps().at(3).toObject(), "slug");
    cliOk({QStringLiteral("favorite"), slug, QStringLiteral("on")});
    cliOk({QStringLiteral("favorite"), slug, QStringLiteral("off")});
    EXPECT_EQ(cliOk({QStringLiteral("gallery"), QStringLiteral("--favorites")}), QString());
}

TEST_F(DevServerLibraryTest, FavoritesBelongToOneUser)
{
    const QString slug = text(galleryApps().at(3).toObject(), "slug");
    cliOk({QStringLiteral("favorite"), slug, QStringLiteral("on")});
    auto other = otherUser(QStringLiteral("other@example.test"));
    const Reply slugs = other->get(QStringLiteral("api/apps/favorites"));
    EXPECT_EQ(slugs.status, 200);
    EXPECT_TRUE(slugs.json().value(QStringLiteral("slugs")).toArray().isEmpty());
}

TEST_F(DevServerLibraryTest, FavoriteCountsThisServicesUsers)
{
    const QJsonObject before = galleryApps().at(3).toObject();
    cliOk({QStringLiteral("favorite"), text(before, "slug"), QStringLiteral("on")});
    const QJsonObject after = galleryApps().at(3).toObject();
    EXPECT_EQ(after.value(QStringLiteral("favorites")).toInt(),
              before.value(QStringLiteral("favorites")).toInt() + 1);
}

TEST_F(DevServerLibraryTest, FavoriteOfAnUnknownAppFails)
{
    const ProcessResult result =
        cli({QStringLiteral("favorite"), QStringLiteral("no-such-app"), QStringLiteral("on")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(errorLine(result), QStringLiteral("App not found"));
}

TEST_F(DevServerLibraryTest, FavoriteAsAStringIsRefused)
{
    auto other = otherUser(QStringLiteral("other@example.test"));
    const QString slug = text(galleryApps().at(0).toObject(), "slug");
    const Reply reply = other->send("PUT", QStringLiteral("api/apps/") + slug + QStringLiteral("/favorite"),
                                    QByteArrayLiteral(R"({"favorite":"true"})"), "application/json");
    EXPECT_EQ(reply.status, 400);
    EXPECT_EQ(reply.message(), QStringLiteral("Field \"favorite\" must be a Boolean"));
}

TEST_F(DevServerLibraryTest, GalleryPageOfAnAppIsHtml)
{
    const QJsonObject app = galleryApps().at(0).toObject();
    const Reply page = controller->get(QStringLiteral("apps/") + text(app, "slug"));
    EXPECT_EQ(page.status, 200);
    EXPECT_TRUE(page.contentType.startsWith("text/html"));
    EXPECT_TRUE(page.body.contains(text(app, "name").toUtf8()));
    EXPECT_EQ(controller->get(QStringLiteral("apps/no-such-app")).status, 404);
}

TEST_F(DevServerLibraryTest, GalleryUseStartsAProjectFromTheTemplateAndFollowsItToItsBuild)
{
    QString slug;
    QString name;
    for (const QJsonValue& app : galleryApps()) {
        if (app.toObject().contains(QStringLiteral("templateJobId"))) {
            slug = text(app.toObject(), "slug");
            name = text(app.toObject(), "name");
            break;
        }
    }
    ASSERT_FALSE(slug.isEmpty());
    const QString out =
        cliOk({QStringLiteral("gallery"), QStringLiteral("use"), slug, QStringLiteral("--follow"),
               QStringLiteral("--interval"), QStringLiteral("0.05")});
    const QString id = out.section(QLatin1Char('\n'), 0, 0);
    EXPECT_EQ(text(show(id).value(QStringLiteral("project")).toObject(), "id"), id);
    EXPECT_TRUE(out.contains(QStringLiteral("Built in the cloud: ") + name + QStringLiteral(" 1.0")))
        << out.toStdString();
}
