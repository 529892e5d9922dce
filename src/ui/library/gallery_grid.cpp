#include "gallery_grid.h"

#include "gallery_tile.h"
#include "library/gallery_view.h"

#include <QAbstractScrollArea>
#include <QEvent>
#include <QScrollBar>

namespace brightloom::ui {

GalleryGrid::GalleryGrid(GalleryView& model, IconLoader& icons, QWidget* parent)
    : QWidget(parent), m_model(model), m_icons(icons)
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

int GalleryGrid::tileHeight() const
{
    if (m_tileHeight == 0) {
        // Every tile has the same lines, so one measured tile gives the height of them all.
        GalleryTile probe(m_icons);
        probe.setFont(font());
        m_tileHeight = probe.sizeHint().height();
    }
    return m_tileHeight;
}

GalleryGridGeometry GalleryGrid::geometryFor(int width) const
{
    return GalleryGridGeometry::forWidth(width, tileHeight());
}

int GalleryGrid::heightForWidth(int width) const
{
    return geometryFor(width).height(int(m_model.shown().size()));
}

QSize GalleryGrid::sizeHint() const
{
    const int width = metrics::galleryTileMinWidth * 3 + metrics::gallerySpacing * 2;
    return QSize(width, heightForWidth(width));
}

QSize GalleryGrid::minimumSizeHint() const
{
    return QSize(metrics::galleryTileMinWidth, 0);
}

void GalleryGrid::reload()
{
    m_tiles.releaseAll();
    updateGeometry();
    layoutTiles();
}

void GalleryGrid::refreshStates()
{
    for (GalleryTile* tile : m_tiles.shown())
        bindState(tile);
}

GalleryTile* GalleryGrid::tileFor(const QString& slug) const
{
    for (GalleryTile* tile : m_tiles.shown()) {
        if (tile->app().slug == slug)
            return tile;
    }
    return nullptr;
}

void GalleryGrid::bindState(GalleryTile* tile) const
{
    const std::optional<QString>& busy = m_model.busySlug();
    tile->setState(m_model.isFavorite(tile->app().slug), busy == tile->app().slug,
                   busy.has_value() && *busy != tile->app().slug);
}

QRect GalleryGrid::visibleBand() const
{
    if (!m_area)
        return rect();
    const QWidget* viewport = m_area->viewport();
    if (!viewport->isAncestorOf(this))
        return rect();
    return QRect(mapFrom(viewport, QPoint(0, 0)), viewport->size()).intersected(rect());
}

GalleryTile* GalleryGrid::makeTile()
{
    auto* tile = new GalleryTile(m_icons, this);
    connect(tile, &GalleryTile::heartPressed, this,
            [this](const QString& slug, bool on) { m_model.toggle(slug, on); });
    connect(tile, &GalleryTile::detailsPressed, this,
            [this](const QString& slug) { m_model.openDetails(slug); });
    connect(tile, &GalleryTile::usePressed, this, [this](const QString& slug) { m_model.use(slug); });
    return tile;
}

void GalleryGrid::layoutTiles()
{
    const QList<GalleryApp>& apps = m_model.shown();
    const int count = int(apps.size());
    const GalleryGridGeometry grid = geometryFor(width());
    QRect band = visibleBand();
    std::pair<int, int> range{0, 0};
    if (isVisible() && !band.isEmpty()) {
        // One row before and after the view, so a tile's icon is on its way before it scrolls in.
        const int ahead = grid.tileHeight + grid.spacing;
        range = grid.tilesBetween(band.top() - ahead, band.bottom() + ahead, count);
    }
    m_tiles.keepOnly(range.first, range.second);
    for (int index = range.first; index < range.second; ++index) {
        const auto [tile, fresh] = m_tiles.take(index, [this] { return makeTile(); });
        tile->setGeometry(grid.tileRect(index));
        if (!fresh)
            continue;
        tile->bind(apps[index], m_model.iconAddress(apps[index]));
        bindState(tile);
        tile->show();
    }
}

void GalleryGrid::watchScrollArea()
{
    QAbstractScrollArea* found = nullptr;
    for (QWidget* up = parentWidget(); up; up = up->parentWidget()) {
        if (auto* area = qobject_cast<QAbstractScrollArea*>(up);
            area && area->viewport()->isAncestorOf(this)) {
            found = area;
            break;
        }
    }
    if (found == m_area)
        return;
    if (m_area) {
        m_area->viewport()->removeEventFilter(this);
        disconnect(m_area->verticalScrollBar(), nullptr, this, nullptr);
    }
    m_area = found;
    if (!m_area)
        return;
    m_area->viewport()->installEventFilter(this);
    connect(m_area->verticalScrollBar(), &QScrollBar::valueChanged, this, &GalleryGrid::layoutTiles);
}

void GalleryGrid::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layoutTiles();
}

void GalleryGrid::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    layoutTiles();
}

void GalleryGrid::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    watchScrollArea();
    layoutTiles();
}

bool GalleryGrid::eventFilter(QObject* watched, QEvent* event)
{
    if (m_area && watched == m_area->viewport() && event->type() == QEvent::Resize)
        layoutTiles();
    return QWidget::eventFilter(watched, event);
}

void GalleryGrid::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        m_tileHeight = 0;
        updateGeometry();
        layoutTiles();
    }
}

} // namespace brightloom::ui
