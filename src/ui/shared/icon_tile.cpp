#include "icon_tile.h"

#include "letter_tile.h"
#include "service/icon_loader.h"

#include <QPainter>
#include <QPainterPath>

namespace brightloom::ui {

IconTile::IconTile(IconLoader& icons, int side, QWidget* parent)
    : QWidget(parent), m_icons(icons), m_side(side)
{
    setFixedSize(side, side);
    connect(&icons, &IconLoader::finished, this, [this](const QUrl& url) {
        if (m_url == url)
            update();
    });
}

void IconTile::setApp(const QString& name, const std::optional<QUrl>& url)
{
    m_name = name;
    m_url = url;
    if (url)
        m_icons.load(*url);
    update();
}

bool IconTile::showsPicture() const
{
    return m_url && m_icons.state(*m_url) == IconLoader::State::ready;
}

void IconTile::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF box(rect());
    const qreal radius = m_side * 0.225;
    if (showsPicture()) {
        QPainterPath clip;
        clip.addRoundedRect(box, radius, radius);
        painter.setClipPath(clip);
        painter.drawImage(box, m_icons.image(*m_url));
        return;
    }
    LetterTile::paint(painter, box, m_name, radius);
}

} // namespace brightloom::ui
