#include "gallery_service.h"
#include "library/gallery_view.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "recording_server.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/app/window_screens.h"
#include "ui/library/gallery_grid.h"
#include "ui/library/gallery_tile.h"
#include "ui/library/gallery_view_widget.h"
#include "ui/shared/busy_spinner.h"
#include "ui/shared/error_label.h"
#include "widget_lookup.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

GalleryEntry entry(const QString& name, bool starred = false, bool withTemplate = true)
{
    GalleryEntry e;
    e.slug = name.toLower();
    e.name = name;
    e.tagline = QStringLiteral("All about ") + name;
    e.starred = starred;
    e.withTemplate = withTemplate;
    e.favorites = 7;
    return e;
}

// The gallery in a window, in a scroll area as on the new project screen, against a scripted
// service over HTTP.
class GalleryWidgetTest : public ::testing::Test
{
protected:
    GalleryWidgetTest() : service(server)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        service.apps = {entry(QStringLiteral("Alpha")), entry(QStringLiteral("Bravo"), true),
                        entry(QStringLiteral("Charlie"), false, false), entry(QStringLiteral("Delta"))};
    }

    void open(QSize size = QSize(1000, 760), bool waitForLoad = true)
    {
        api = std::make_unique<API>();
        icons = std::make_unique<IconLoader>(cache.path());
        gallery = galleryScreen(*api, *icons, desktop, [this](QString id) { created.append(id); });
        scroll = new QScrollArea(&window);
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        auto* page = new QWidget;
        auto* layout = new QVBoxLayout(page);
        layout->setContentsMargins(24, 24, 24, 24);
        layout->addWidget(gallery);
        layout->addStretch(1);
        scroll->setWidget(page);
        auto* outer = new QVBoxLayout(&window);
        outer->setContentsMargins(0, 0, 0, 0);
        outer->addWidget(scroll);
        window.resize(size);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        if (waitForLoad) {
            ASSERT_TRUE(spinUntil([&] { return gallery->model().loaded(); }));
        }
        QCoreApplication::processEvents();
    }

    GalleryTile* tile(const QString& slug) const { return gallery->grid()->tileFor(slug); }

    TempHome home;
    RecordingServer server;
    GalleryService service;
    QTemporaryDir cache;
    RecordingDesktop desktop;
    std::unique_ptr<API> api;
    std::unique_ptr<IconLoader> icons;
    QStringList created;
    QWidget window;
    QScrollArea* scroll = nullptr;
    GalleryViewWidget* gallery = nullptr;
};

} // namespace

TEST_F(GalleryWidgetTest, HeaderHasItsTitleItsLineAndTheFavoritesToggle)
{
    open();
    QStringList texts;
    for (QLabel* label : gallery->findChildren<QLabel*>())
        texts.append(label->text());
    EXPECT_TRUE(texts.contains(QStringLiteral("Start from a template")));
    EXPECT_TRUE(texts.contains(QStringLiteral(
        "Pick an app to copy. It becomes your own project and you can change it by chatting.")));
    QAbstractButton* toggle = buttonNamed(gallery, QStringLiteral("My favorites"));
    ASSERT_NE(toggle, nullptr);
    EXPECT_TRUE(toggle->isCheckable());
    EXPECT_FALSE(toggle->icon().isNull());
}

TEST_F(GalleryWidgetTest, ShowsASpinnerUntilLoadedAndThenTheTiles)
{
    service.listsHeld = true;
    open(QSize(1000, 760), false);
    ASSERT_TRUE(spinUntil([&] { return server.requests().size() >= 2; })) << "both lists asked for";
    EXPECT_TRUE(gallery->spinner()->isVisible());
    EXPECT_FALSE(gallery->grid()->isVisible());
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return gallery->model().loaded(); }));
    EXPECT_FALSE(gallery->spinner()->isVisible());
    EXPECT_TRUE(gallery->grid()->isVisible());
    EXPECT_EQ(gallery->grid()->liveTiles().size(), 4);
}

TEST_F(GalleryWidgetTest, TileShowsNameTaglineCountHeartDetailsAndTemplateButton)
{
    open();
    GalleryTile* alpha = tile(QStringLiteral("alpha"));
    ASSERT_NE(alpha, nullptr);
    EXPECT_EQ(labelDescribed(alpha, QStringLiteral("App name"))->text(), QStringLiteral("Alpha"));
    EXPECT_EQ(labelDescribed(alpha, QStringLiteral("App tagline"))->text(),
              QStringLiteral("All about Alpha"));
    EXPECT_EQ(labelDescribed(alpha, QStringLiteral("Favorite count"))->text(), QStringLiteral("7 favorites"));
    EXPECT_NE(buttonNamed(alpha, QStringLiteral("Add Alpha to favorites")), nullptr);
    EXPECT_NE(buttonNamed(alpha, QStringLiteral("Details")), nullptr);
    QAbstractButton* use = buttonNamed(alpha, QStringLiteral("Use as template"));
    ASSERT_NE(use, nullptr);
    EXPECT_EQ(use->accessibleDescription(), QStringLiteral("Start a new project from this app"));
}

TEST_F(GalleryWidgetTest, AppWithoutATemplateHasNoUseAsTemplateButton)
{
    open();
    GalleryTile* charlie = tile(QStringLiteral("charlie"));
    ASSERT_NE(charlie, nullptr);
    EXPECT_EQ(buttonNamed(charlie, QStringLiteral("Use as template")), nullptr);
    EXPECT_NE(buttonNamed(charlie, QStringLiteral("Details")), nullptr);
    EXPECT_EQ(buttonsNamed(gallery, QStringLiteral("Use as template")).size(), 3);
}

TEST_F(GalleryWidgetTest, StarredAppsStandFirstInTheGrid)
{
    open();
    EXPECT_EQ(gallery->grid()->liveTiles().value(0)->app().slug, QStringLiteral("bravo"));
    EXPECT_EQ(gallery->grid()->liveTiles().value(1)->app().slug, QStringLiteral("alpha"));
}

TEST_F(GalleryWidgetTest, RefusedFavoritePutsTheHeartBackAndShowsTheServicesMessage)
{
    service.favoriteReply = ScriptedReply::json(403, R"({"message":"Favorites are closed today."})");
    service.favoriteReply.held = true;
    open();
    QAbstractButton* heart =
        buttonNamed(tile(QStringLiteral("delta")), QStringLiteral("Add Delta to favorites"));
    ASSERT_NE(heart, nullptr);
    QTest::mouseClick(heart, Qt::LeftButton);
    EXPECT_EQ(accessibleName(heart), QStringLiteral("Remove Delta from favorites"))
        << "the heart fills at once";
    ASSERT_TRUE(spinUntil([&] { return service.favoriteRequests().size() == 1; }));
    EXPECT_EQ(accessibleName(heart), QStringLiteral("Remove Delta from favorites"))
        << "the heart stays filled until the service answers";
    EXPECT_FALSE(gallery->errorLabel()->isVisible());
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return gallery->errorLabel()->isVisible(); }));
    EXPECT_EQ(gallery->errorLabel()->text(), QStringLiteral("Favorites are closed today."));
    // The shared error red: (192, 28, 40) on a light window, lighter on a dark one.
    const QPalette shown = gallery->errorLabel()->palette();
    EXPECT_EQ(shown.color(QPalette::WindowText), ErrorLabel::colourOn(shown.color(QPalette::Window)));
    EXPECT_EQ(ErrorLabel::colourOn(QColor(Qt::white)), QColor(192, 28, 40));
    EXPECT_EQ(accessibleName(heart), QStringLiteral("Add Delta to favorites"));
}

TEST_F(GalleryWidgetTest, RemovingTheLastFavoriteWithTheFilterOnShowsEveryAppAgain)
{
    service.favorites = {QStringLiteral("delta")};
    open();
    QAbstractButton* toggle = buttonNamed(gallery, QStringLiteral("My favorites"));
    QTest::mouseClick(toggle, Qt::LeftButton);
    EXPECT_TRUE(gallery->model().onlyFavorites());
    ASSERT_EQ(gallery->grid()->liveTiles().size(), 1);
    QTest::mouseClick(buttonNamed(gallery, QStringLiteral("Remove Delta from favorites")), Qt::LeftButton);
    EXPECT_FALSE(toggle->isChecked());
    EXPECT_EQ(gallery->grid()->liveTiles().size(), 4);
    EXPECT_FALSE(gallery->emptyLabel()->isVisible());
}

TEST_F(GalleryWidgetTest, FavoritesFilterWithoutFavoritesSaysNoFavoritesYet)
{
    open();
    QTest::mouseClick(buttonNamed(gallery, QStringLiteral("My favorites")), Qt::LeftButton);
    EXPECT_TRUE(gallery->emptyLabel()->isVisible());
    EXPECT_EQ(gallery->emptyLabel()->text(), QStringLiteral("No favorites yet."));
    EXPECT_FALSE(gallery->grid()->isVisible());
}

TEST_F(GalleryWidgetTest, EmptyGallerySaysNoAppsToShow)
{
    service.apps.clear();
    open();
    EXPECT_TRUE(gallery->emptyLabel()->isVisible());
    EXPECT_EQ(gallery->emptyLabel()->text(), QStringLiteral("No apps to show right now."));
}

TEST_F(GalleryWidgetTest, DetailsOpensTheAppsPageInTheBrowser)
{
    open();
    QTest::mouseClick(buttonNamed(tile(QStringLiteral("bravo")), QStringLiteral("Details")), Qt::LeftButton);
    ASSERT_EQ(desktop.opened.size(), 1);
    EXPECT_EQ(desktop.opened[0], QUrl(server.baseUrl().toString() + QStringLiteral("apps/bravo")));
}

TEST_F(GalleryWidgetTest, UseAsTemplateShowsStartingOnThatTileOnlyThenOpensTheNewProject)
{
    service.forkReply.held = true;
    open();
    QTest::mouseClick(buttonNamed(tile(QStringLiteral("alpha")), QStringLiteral("Use as template")),
                      Qt::LeftButton);
    EXPECT_NE(buttonNamed(tile(QStringLiteral("alpha")), QStringLiteral("Starting…")), nullptr);
    for (const QString& other : {QStringLiteral("bravo"), QStringLiteral("delta")}) {
        QAbstractButton* use = buttonNamed(tile(other), QStringLiteral("Use as template"));
        ASSERT_NE(use, nullptr) << other.toStdString();
        EXPECT_FALSE(use->isEnabled()) << "another copy waits until this one is done";
    }
    EXPECT_EQ(buttonsNamed(gallery, QStringLiteral("Starting…")).size(), 1);
    ASSERT_TRUE(spinUntil([&] { return service.forkRequests().size() == 1; }));
    EXPECT_EQ(buttonsNamed(gallery, QStringLiteral("Starting…")).size(), 1) << "still copying";
    EXPECT_TRUE(created.isEmpty());
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return !created.isEmpty(); }));
    EXPECT_EQ(created, QStringList{QStringLiteral("p-fork")});
    EXPECT_EQ(buttonsNamed(gallery, QStringLiteral("Starting…")).size(), 0);
    EXPECT_TRUE(buttonNamed(tile(QStringLiteral("bravo")), QStringLiteral("Use as template"))->isEnabled());
}

TEST_F(GalleryWidgetTest, TilesStandInColumnsAtLeast210WideTwelveApartFromTheLeadingEdge)
{
    service.apps.clear();
    for (int i = 0; i < 7; ++i)
        service.apps.append(entry(QStringLiteral("App%1").arg(i)));
    open(QSize(1000, 900));
    const auto& live = gallery->grid()->liveTiles();
    ASSERT_EQ(live.size(), 7);
    const int width = gallery->grid()->width();
    const int columns = (width + 12) / (210 + 12);
    ASSERT_GE(columns, 2);
    EXPECT_EQ(live.value(0)->geometry().left(), 0);
    EXPECT_GE(live.value(0)->width(), 210);
    EXPECT_EQ(live.value(1)->geometry().left() - live.value(0)->geometry().right() - 1, 12);
    EXPECT_EQ(live.value(1)->geometry().top(), live.value(0)->geometry().top());
    EXPECT_EQ(live.value(columns)->geometry().left(), 0) << "the next row starts at the leading edge";
    EXPECT_EQ(live.value(columns)->geometry().top() - live.value(0)->geometry().bottom() - 1, 12);
    EXPECT_LE(live.value(columns - 1)->geometry().right(), width - 1);
}

TEST_F(GalleryWidgetTest, OpeningAThousandAppsLoadsIconsOnlyForTilesInViewThenScrollingLoadsTheRest)
{
    service.apps = manyGalleryApps(1000);
    open(QSize(1000, 700));
    GalleryGrid* grid = gallery->grid();
    const auto iconsSettled = [&] {
        for (GalleryTile* tile : grid->liveTiles()) {
            const auto url = api->iconURL(tile->app().iconUrl);
            const auto state = icons->state(*url);
            if (state != IconLoader::State::ready && state != IconLoader::State::failed)
                return false;
        }
        return true;
    };
    ASSERT_TRUE(spinUntil(iconsSettled));

    // The rows in the scroll area's view, and one row beyond it.
    const GalleryGridGeometry geometry = grid->geometryFor(grid->width());
    const QRect view(grid->mapFrom(scroll->viewport(), QPoint(0, 0)), scroll->viewport()->size());
    const int pitch = geometry.tileHeight + geometry.spacing;
    const auto [first, last] = geometry.tilesBetween(view.top() - pitch, view.bottom() + pitch, 1000);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(grid->liveTiles().size(), last - first);
    EXPECT_EQ(service.iconRequests(), last - first);
    EXPECT_LT(service.iconRequests(), 40);

    QScrollBar* bar = scroll->verticalScrollBar();
    ASSERT_GT(bar->maximum(), 100 * pitch) << "the grid is as tall as its thousand tiles";
    while (bar->value() < bar->maximum()) {
        bar->setValue(bar->value() + scroll->viewport()->height() / 2);
        ASSERT_TRUE(spinUntil(iconsSettled));
    }
    EXPECT_EQ(service.iconRequests(), 1000);
    EXPECT_EQ(icons->loadsStarted(), 1000);
    EXPECT_LT(grid->liveTiles().size(), 40);
    EXPECT_LT(grid->findChildren<GalleryTile*>().size(), 50)
        << "tiles that scrolled away were bound to the next apps";
}
