#include "letter_tile.h"

#include <QPainter>
#include <QTextBoundaryFinder>

namespace brightloom::ui::LetterTile {

QColor colourFor(const QString& name)
{
    // A hue from the name's characters; saturation and lightness stay fixed so white letters
    // read on every tile, in light and dark palettes alike.
    quint32 hash = 7;
    for (const char32_t c : name.toUcs4())
        hash = hash * 31 + c;
    return QColor::fromHsl(int(hash % 360), 150, 110);
}

QString letterFor(const QString& name)
{
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, name);
    qsizetype start = 0;
    while (true) {
        const qsizetype end = characters.toNextBoundary();
        if (end == -1)
            break;
        const QString character = name.sliced(start, end - start);
        const char32_t first = character.toUcs4().value(0);
        if (QChar::isLetterOrNumber(first))
            return character.toUpper();
        start = end;
    }
    return QStringLiteral("A");
}

void paint(QPainter& painter, const QRectF& rect, const QString& name, qreal radius)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor base = colourFor(name);
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0, base.lighter(118));
    gradient.setColorAt(1, base.darker(112));
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    painter.drawRoundedRect(rect, radius, radius);
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(std::max(8, int(rect.height() * 0.5)));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(rect, Qt::AlignCenter, letterFor(name));
    painter.restore();
}

} // namespace brightloom::ui::LetterTile
