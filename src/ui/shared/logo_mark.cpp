#include "logo_mark.h"

#include "ui/shared/accent.h"

#include <QPainter>
#include <QPainterPath>

namespace brightloom::ui {

LogoMark::LogoMark(int size, QWidget* parent) : QWidget(parent), m_size(size)
{
    setFixedSize(size, size);
    setAccessibleName(QStringLiteral("Brightloom"));
}

void LogoMark::paint(QPainter& painter, const QRectF& rect)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal side = std::min(rect.width(), rect.height());
    const QRectF tile(rect.center().x() - side / 2, rect.center().y() - side / 2, side, side);

    QLinearGradient gradient(tile.topLeft(), tile.bottomRight());
    gradient.setColorAt(0, accent());
    gradient.setColorAt(1, QColor(29, 110, 220));
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    painter.drawRoundedRect(tile, side * 0.225, side * 0.225);

    // Three threads woven across the tile, and a spark where they meet.
    QPen thread(QColor(255, 255, 255, 90), side * 0.045, Qt::SolidLine, Qt::RoundCap);
    painter.setPen(thread);
    const auto at = [&](qreal x, qreal y) { return QPointF(tile.left() + side * x, tile.top() + side * y); };
    for (qreal y : {0.3, 0.5, 0.7}) {
        QPainterPath wave;
        wave.moveTo(at(0.16, y));
        wave.cubicTo(at(0.38, y - 0.08), at(0.62, y + 0.08), at(0.84, y));
        painter.drawPath(wave);
    }
    QPainterPath spark;
    const QPointF c = at(0.5, 0.5);
    const qreal outer = side * 0.3, inner = side * 0.07;
    spark.moveTo(c.x(), c.y() - outer);
    spark.quadTo(c.x() + inner, c.y() - inner, c.x() + outer, c.y());
    spark.quadTo(c.x() + inner, c.y() + inner, c.x(), c.y() + outer);
    spark.quadTo(c.x() - inner, c.y() + inner, c.x() - outer, c.y());
    spark.quadTo(c.x() - inner, c.y() - inner, c.x(), c.y() - outer);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawPath(spark);
    painter.restore();
}

QImage LogoMark::image(int pixels)
{
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, QRectF(0, 0, pixels, pixels));
    return image;
}

void LogoMark::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paint(painter, rect());
}

} // namespace brightloom::ui
