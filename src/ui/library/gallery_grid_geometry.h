#pragma once

#include "ui/shared/metrics.h"
#include "ui/shared/row_extents.h"

#include <QRect>

namespace brightloom::ui {

// Where the gallery's tiles go for a width: as many columns as fit at the least tile width, the
// spare room shared among them, rows of one height, the first tile at the leading edge.
struct GalleryGridGeometry
{
    int columns = 1;
    int tileWidth = 0;
    int tileHeight = 0;
    int spacing = metrics::gallerySpacing;

    static GalleryGridGeometry forWidth(int width, int tileHeight,
                                        int minTileWidth = metrics::galleryTileMinWidth,
                                        int spacing = metrics::gallerySpacing);

    int rows(int count) const;
    // The height the grid needs for `count` tiles.
    int height(int count) const;
    QRect tileRect(int index) const;
    // The rows of `count` tiles: one per `columns` tiles, of the tile height, `spacing` apart.
    RowExtents rowExtents(int count) const;
    // The tiles whose rows meet the band from `top` to `bottom` (grid coordinates), as the half-open
    // range [first, last) of indices, for `count` tiles.
    std::pair<int, int> tilesBetween(int top, int bottom, int count) const;
};

} // namespace brightloom::ui
