#pragma once

#include "gallery_grid_geometry.h"
#include "ui/shared/row_widgets.h"

#include <QHash>
#include <QPointer>
#include <QWidget>

class QAbstractScrollArea;

namespace brightloom {
class GalleryView;
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class GalleryTile;

// The gallery's apps as a grid of tiles, made only for the rows in view in the surrounding scroll
// area and one row beyond each edge; tiles that scroll away are kept and bound to the next apps, so
// a gallery of thousands holds a few dozen tiles and loads only the icons it shows.
class GalleryGrid final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GalleryGrid)

public:
    GalleryGrid(GalleryView& model, IconLoader& icons, QWidget* parent = nullptr);

    // Shows the model's list as it is now.
    void reload();
    // Redraws hearts and template buttons after the favorites or the busy app changed.
    void refreshStates();

    GalleryGridGeometry geometryFor(int width) const;
    // The tiles made for the rows in view, by index in the shown list.
    const QHash<int, GalleryTile*>& liveTiles() const { return m_tiles.shown(); }
    GalleryTile* tileFor(const QString& slug) const;
    int tileHeight() const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // Makes, moves and releases tiles so that exactly the rows in view and one beyond exist.
    void layoutTiles();
    void watchScrollArea();
    QRect visibleBand() const;
    GalleryTile* makeTile();
    void bindState(GalleryTile* tile) const;

    GalleryView& m_model;
    IconLoader& m_icons;
    QPointer<QAbstractScrollArea> m_area;
    RowWidgets<GalleryTile> m_tiles;
    mutable int m_tileHeight = 0;
};

} // namespace brightloom::ui
