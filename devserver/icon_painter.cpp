// Icons drawn without text, so the service needs no fonts and no display: a gradient tile and a
// geometric mark, both picked from a hash of the seed so each app keeps its own look.

#include "job_files.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace brightloom::devserver {

QByteArray iconPng(const QString& seed, int size)
{
    const QByteArray hash = QCryptographicHash::hash(seed.toUtf8(), QCryptographicHash::Sha256);
    const auto byte = [&hash](int i) { return int(quint8(hash[i])); };
    const QColor top = QColor::fromHsv(byte(0) * 359 / 255, 150 + byte(1) % 80, 230);
    const QColor bottom = QColor::fromHsv((byte(0) * 359 / 255 + 40) % 360, 200, 150 + byte(2) % 60);

    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(0, 0, 0, size);
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    const qreal margin = size * 0.06;
    const QRectF tile(margin, margin, size - 2 * margin, size - 2 * margin);
    QPainterPath rounded;
    rounded.addRoundedRect(tile, size * 0.2, size * 0.2);
    painter.fillPath(rounded, gradient);

    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 220));
    const QRectF mark = tile.adjusted(size * 0.25, size * 0.25, -size * 0.25, -size * 0.25);
    switch (byte(3) % 3) {
    case 0:
        painter.drawEllipse(mark);
        break;
    case 1:
        painter.drawRoundedRect(mark, size * 0.06, size * 0.06);
        break;
    default: {
        QPainterPath triangle;
        triangle.moveTo(mark.center().x(), mark.top());
        triangle.lineTo(mark.bottomRight());
        triangle.lineTo(mark.bottomLeft());
        triangle.closeSubpath();
        painter.drawPath(triangle);
    }
    }
    painter.end();

    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

} // namespace brightloom::devserver
