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

std::pair<int, int> GalleryGridGeometry::tilesBetween(int top, int bottom, int count) const
{
    const int r = rows(count);
    if (r == 0 || bottom < 0 || top >= height(count) || bottom < top)
        return {0, 0};
    // Row n covers [n * pitch, n * pitch + tileHeight); a band inside the gap between two rows meets
    // neither.
    const int pitch = std::max(1, tileHeight + spacing);
    const int firstRow = top < tileHeight ? 0 : (top - tileHeight) / pitch + 1;
    const int lastRow = std::min(r - 1, bottom / pitch);
    if (firstRow > lastRow)
        return {0, 0};
    return {firstRow * columns, std::min(count, (lastRow + 1) * columns)};
}

} // namespace brightloom::ui
