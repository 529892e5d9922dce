#include "gallery_grid_geometry.h"

#include <algorithm>

namespace brightloom::ui {

GalleryGridGeometry GalleryGridGeometry::forWidth(int width, int tileHeight, int minTileWidth, int spacing)
{
    GalleryGridGeometry g;
    g.spacing = spacing;
    g.tileHeight = tileHeight;
    g.columns = std::max(1, (width + spacing) / (minTileWidth + spacing));
    g.tileWidth = std::max(0, (width - (g.columns - 1) * spacing) / g.columns);
    return g;
}

int GalleryGridGeometry::rows(int count) const
{
    return count <= 0 ? 0 : (count + columns - 1) / columns;
}

int GalleryGridGeometry::height(int count) const
{
    const int r = rows(count);
    return r == 0 ? 0 : r * tileHeight + (r - 1) * spacing;
}

QRect GalleryGridGeometry::tileRect(int index) const
{
    const int row = index / columns;
    const int column = index % columns;
    return QRect(column * (tileWidth + spacing), row * (tileHeight + spacing), tileWidth, tileHeight);
}

RowExtents GalleryGridGeometry::rowExtents(int count) const
{
    RowExtents extents(0, spacing);
    extents.assign(std::vector<int>(std::size_t(rows(count)), tileHeight));
    return extents;
}

std::pair<int, int> GalleryGridGeometry::tilesBetween(int top, int bottom, int count) const
{
    const auto [first, last] = rowExtents(count).rowsBetween(top, bottom);
    return {first * columns, std::min(count, last * columns)};
}

} // namespace brightloom::ui
