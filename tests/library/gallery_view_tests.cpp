#include "child_process.h"
#include "gallery_service.h"
#include "library/gallery_view.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "recording_server.h"
#include "service/api.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

GalleryEntry entry(const QString& slug, bool starred = false, bool withTemplate = true)
{
    GalleryEntry e;
    e.slug = slug;
    e.name = slug.toUpper();
    e.tagline = QStringLiteral("about ") + slug;
    e.starred = starred;
    e.withTemplate = withTemplate;
    return e;
}

QStringList slugsOf(const QList<GalleryApp>& apps)
{
    QStringList slugs;
    for (const GalleryApp& app : apps)
        slugs.append(app.slug);
    return slugs;
}

// The gallery against a scripted service over HTTPS.
class GalleryViewTest : public ::testing::Test
{
protected:
    GalleryViewTest()
        : server(TestCertificate::shared().certificate, TestCertificate::shared().key), service(server)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        service.apps = {entry(QStringLiteral("a")), entry(QStringLiteral("b"), true),
                        entry(QStringLiteral("c"), false, false), entry(QStringLiteral("d"), true),
                        entry(QStringLiteral("e"))};
    }

    std::unique_ptr<GalleryView> makeView()
    {
        api = std::make_unique<API>();
        return std::make_unique<GalleryView>(*api, &desktop, [this](QString id) {
            created.append(id);
            busyWhenCreated = current ? current->busySlug() : std::nullopt;
        });
    }

    std::unique_ptr<GalleryView> loadedView()
    {
        auto view = makeView();
        const auto loaded = run(view->load());
        EXPECT_TRUE(loaded.ok()) << loaded.errorText().toStdString();
        EXPECT_TRUE(view->loaded());
        return view;
    }

    TempHome home;
    RecordingServer server;
    GalleryService service;
    std::unique_ptr<API> api;
    RecordingDesktop desktop;
    QStringList created;
    std::optional<QString> busyWhenCreated;
    GalleryView* current = nullptr;
};

} // namespace

TEST_F(GalleryViewTest, StartsEmptyAndNotLoaded)
{
    const auto view = makeView();
    EXPECT_FALSE(view->loaded());
    EXPECT_TRUE(view->apps().isEmpty());
    EXPECT_FALSE(view->onlyFavorites());
    EXPECT_FALSE(view->busySlug());
    EXPECT_FALSE(view->error());
}

TEST_F(GalleryViewTest, AsksForTheGalleryAndTheFavoritesAtTheSameTime)
{
    // Neither list is answered until both were asked for: asked one after the other, the second
    // request would wait for the first's answer, which never comes.
    service.listsHeld = true;
    service.favorites = {QStringLiteral("a")};
    const auto view = makeView();
    auto loading = view->load();
    ASSERT_TRUE(spinUntil([&] {
        return !server.requestsTo(QStringLiteral("/api/gallery")).isEmpty() &&
               !server.requestsTo(QStringLiteral("/api/apps/favorites")).isEmpty();
    })) << "both lists are asked for before either is answered";
    EXPECT_FALSE(view->loaded());
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return view->loaded(); }));
    EXPECT_EQ(slugsOf(view->apps()),
              (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d"),
                           QStringLiteral("e")}));
    EXPECT_EQ(view->favorites(), QSet<QString>{QStringLiteral("a")});
}

TEST_F(GalleryViewTest, UnreachableServiceLoadsAnEmptyGallery)
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    home.setEnv("BRIGHTLOOM_URL", QStringLiteral("http://127.0.0.1:%1/").arg(port).toUtf8());
    const auto view = loadedView();
    EXPECT_TRUE(view->shown().isEmpty());
    EXPECT_FALSE(view->error());
}

TEST_F(GalleryViewTest, StarredAppsComeFirstInBothListsEachGroupInTheServicesOrder)
{
    service.favorites = {QStringLiteral("e"), QStringLiteral("d"), QStringLiteral("a"), QStringLiteral("b")};
    const auto view = loadedView();
    EXPECT_EQ(slugsOf(view->shown()),
              (QStringList{QStringLiteral("b"), QStringLiteral("d"), QStringLiteral("a"), QStringLiteral("c"),
                           QStringLiteral("e")}));
    view->setOnlyFavorites(true);
    EXPECT_EQ(slugsOf(view->shown()), (QStringList{QStringLiteral("b"), QStringLiteral("d"),
                                                   QStringLiteral("a"), QStringLiteral("e")}));
}

TEST_F(GalleryViewTest, FavoritesFilterKeepsOnlyMarkedApps)
{
    service.favorites = {QStringLiteral("c")};
    const auto view = loadedView();
    QSignalSpy shown(view.get(), &GalleryView::shownChanged);
    view->setOnlyFavorites(true);
    EXPECT_EQ(slugsOf(view->shown()), QStringList{QStringLiteral("c")});
    EXPECT_EQ(shown.size(), 1);
    view->setOnlyFavorites(false);
    EXPECT_EQ(view->shown().size(), 5);
}

TEST_F(GalleryViewTest, MarkingAFavoriteChangesTheHeartAtOnceAndSendsABoolean)
{
    service.favoriteReply.delayMs = 200;
    const auto view = loadedView();
    view->toggle(QStringLiteral("c"), true);
    EXPECT_TRUE(view->isFavorite(QStringLiteral("c"))) << "before the service answered";
    ASSERT_TRUE(spinUntil([&] { return service.favoriteRequests().size() == 1; }));
    const RecordedRequest sent = service.favoriteRequests().first();
    EXPECT_EQ(sent.method, QByteArray("PUT"));
    EXPECT_EQ(sent.path(), QStringLiteral("/api/apps/c/favorite"));
    EXPECT_EQ(QJsonDocument::fromJson(sent.body).object(), (QJsonObject{{QStringLiteral("favorite"), true}}));
    view->toggle(QStringLiteral("c"), false);
    EXPECT_FALSE(view->isFavorite(QStringLiteral("c")));
    ASSERT_TRUE(spinUntil([&] { return service.favoriteRequests().size() == 2; }));
    EXPECT_EQ(QJsonDocument::fromJson(service.favoriteRequests()[1].body).object(),
              (QJsonObject{{QStringLiteral("favorite"), false}}));
    EXPECT_FALSE(view->error());
}

TEST_F(GalleryViewTest, RemovingTheLastFavoriteWhileFilteredSwitchesTheFilterOffAndShowsTheFullList)
{
    service.favorites = {QStringLiteral("a")};
    const auto view = loadedView();
    view->setOnlyFavorites(true);
    ASSERT_EQ(view->shown().size(), 1);
    view->toggle(QStringLiteral("a"), false);
    EXPECT_FALSE(view->onlyFavorites());
    EXPECT_EQ(view->shown().size(), 5);
}

TEST_F(GalleryViewTest, RemovingAFavoriteThatIsNotTheLastKeepsTheFilter)
{
    service.favorites = {QStringLiteral("a"), QStringLiteral("b")};
    const auto view = loadedView();
    view->setOnlyFavorites(true);
    view->toggle(QStringLiteral("a"), false);
    EXPECT_TRUE(view->onlyFavorites());
    EXPECT_EQ(slugsOf(view->shown()), QStringList{QStringLiteral("b")});
}

TEST_F(GalleryViewTest, RefusedFavoriteChangePutsTheHeartBackAndShowsTheServiceMessage)
{
    service.favorites = {QStringLiteral("a")};
    service.favoriteReply = ScriptedReply::json(429, R"({"message":"Too many favorites today."})");
    const auto view = loadedView();
    view->toggle(QStringLiteral("b"), true);
    EXPECT_TRUE(view->isFavorite(QStringLiteral("b")));
    ASSERT_TRUE(spinUntil([&] { return view->error().has_value(); }));
    EXPECT_FALSE(view->isFavorite(QStringLiteral("b")));
    EXPECT_EQ(view->error(), QStringLiteral("Too many favorites today."));

    view->toggle(QStringLiteral("a"), false);
    ASSERT_TRUE(spinUntil([&] { return view->isFavorite(QStringLiteral("a")); }));
    EXPECT_EQ(view->favorites(), QSet<QString>{QStringLiteral("a")});
}

TEST_F(GalleryViewTest, RefusedRemovalOfTheLastFavoriteDoesNotSwitchTheFilterBackOn)
{
    service.favorites = {QStringLiteral("a")};
    service.favoriteReply = ScriptedReply::json(500, R"({"message":"Favorites are resting."})");
    const auto view = loadedView();
    view->setOnlyFavorites(true);
    view->toggle(QStringLiteral("a"), false);
    EXPECT_FALSE(view->onlyFavorites());
    ASSERT_TRUE(spinUntil([&] { return view->error().has_value(); }));
    EXPECT_TRUE(view->isFavorite(QStringLiteral("a")));
    EXPECT_FALSE(view->onlyFavorites());
    EXPECT_EQ(view->shown().size(), 5);
}

TEST_F(GalleryViewTest, UsingATemplateMarksItBusyThenHandsOnTheNewProject)
{
    service.forkReply.delayMs = 200;
    const auto view = loadedView();
    current = view.get();
    view->use(QStringLiteral("d"));
    EXPECT_EQ(view->busySlug(), QStringLiteral("d"));
    ASSERT_TRUE(spinUntil([&] { return !created.isEmpty(); }));
    EXPECT_EQ(created, QStringList{QStringLiteral("p-fork")});
    EXPECT_FALSE(busyWhenCreated) << "the busy mark is cleared before the project is handed on";
    EXPECT_FALSE(view->busySlug());
    ASSERT_EQ(service.forkRequests().size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(service.forkRequests()[0].body).object(),
              (QJsonObject{{QStringLiteral("jobId"), QStringLiteral("job-d")}}));
    EXPECT_EQ(api->projects().size(), 1) << "the project list was reloaded";
}

TEST_F(GalleryViewTest, WhileOneTemplateIsCopiedOnlyItIsBusyAndAnotherUseIsIgnored)
{
    service.forkReply.delayMs = 300;
    const auto view = loadedView();
    view->use(QStringLiteral("a"));
    view->use(QStringLiteral("b"));
    EXPECT_EQ(view->busySlug(), QStringLiteral("a"));
    ASSERT_TRUE(spinUntil([&] { return !view->busySlug(); }));
    EXPECT_EQ(service.forkRequests().size(), 1);
    EXPECT_EQ(created.size(), 1);
}

TEST_F(GalleryViewTest, AppWithoutATemplateOffersNothingToUse)
{
    const auto view = loadedView();
    view->use(QStringLiteral("c"));
    EXPECT_FALSE(view->busySlug());
    EXPECT_TRUE(service.forkRequests().isEmpty());
}

TEST_F(GalleryViewTest, FailedTemplateCopyShowsTheErrorAndClearsTheBusyMark)
{
    service.forkReply = ScriptedReply::json(404, R"({"message":"Template not found"})");
    const auto view = loadedView();
    view->use(QStringLiteral("a"));
    ASSERT_TRUE(spinUntil([&] { return !view->busySlug(); }));
    EXPECT_EQ(view->error(), QStringLiteral("Template not found"));
    EXPECT_TRUE(created.isEmpty());
}

TEST_F(GalleryViewTest, DetailsOpenTheServicesPageOfTheApp)
{
    const auto view = loadedView();
    view->openDetails(QStringLiteral("pomodoro"));
    ASSERT_EQ(desktop.opened.size(), 1);
    EXPECT_EQ(desktop.opened[0], server.baseUrl().resolved(QUrl(QStringLiteral("apps/pomodoro"))));
}

TEST_F(GalleryViewTest, DetailsAppendToAServiceAddressThatHasAPath)
{
    home.setEnv("BRIGHTLOOM_URL", "https://example.test/brightloom");
    const auto view = makeView();
    EXPECT_EQ(view->detailsAddress(QStringLiteral("notes")),
              QUrl(QStringLiteral("https://example.test/brightloom/apps/notes")));
}

// The stand-in service's own gallery: 14 apps, 4 starred, favorites kept per account. It serves
// with the test certificate, since a process trusts one extra certificate only.
TEST(GalleryViewOnTheStandInService, ShowsStarredAppsFirstAndKeepsAFavoriteForTheNextVisit)
{
    TempHome home;
    QTemporaryDir data;
    const QString folder = data.filePath(QStringLiteral("service"));
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(QFile::copy(TestCertificate::shared().caFile, folder + QStringLiteral("/cert.pem")));
    QFile key(folder + QStringLiteral("/key.pem"));
    ASSERT_TRUE(key.open(QIODevice::WriteOnly));
    key.write(TestCertificate::shared().key.toPem());
    key.close();
    DevServer server(folder);
    home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
    home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
    API api;
    ASSERT_TRUE(
        run(api.signIn(QStringLiteral("demo@brightloom.test"), QStringLiteral("brightloom-demo"))).ok());

    GalleryView first(api, nullptr, {});
    ASSERT_TRUE(run(first.load()).ok());
    ASSERT_EQ(first.shown().size(), 14);
    for (int i = 0; i < 14; ++i)
        EXPECT_EQ(first.shown()[i].starred, i < 4) << i;
    const QString slug = first.shown()[6].slug;
    first.toggle(slug, true);
    ASSERT_TRUE(spinUntil([&] {
        GalleryView probe(api, nullptr, {});
        run(probe.load());
        return probe.isFavorite(slug);
    }));
    EXPECT_FALSE(first.error());

    GalleryView next(api, nullptr, {});
    ASSERT_TRUE(run(next.load()).ok());
    next.setOnlyFavorites(true);
    ASSERT_EQ(next.shown().size(), 1);
    EXPECT_EQ(next.shown()[0].slug, slug);
}

TEST_F(GalleryViewTest, IconAddressIsTheAppsIconResolvedAgainstTheServiceAndNoneWhenItCannotBeOne)
{
    const auto view = makeView();
    GalleryApp app;
    app.iconUrl = QStringLiteral("icons/timer.png");
    EXPECT_EQ(view->iconAddress(app), server.baseUrl().resolved(QUrl(QStringLiteral("icons/timer.png"))));
    app.iconUrl = QStringLiteral("https://cdn.test/timer.png");
    EXPECT_EQ(view->iconAddress(app), QUrl(QStringLiteral("https://cdn.test/timer.png")));
    app.iconUrl = QStringLiteral("http://[bad");
    EXPECT_FALSE(view->iconAddress(app).has_value());
}
