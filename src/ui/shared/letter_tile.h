#pragma once

#include <QColor>
#include <QImage>
#include <QString>

class QPainter;
class QRectF;

namespace brightloom::ui {

// The tile drawn in place of an app icon that is missing or failed: a colour chosen from the name
// and its first letter or digit.
namespace LetterTile {

// The same name always gives the same colour.
QColor colourFor(const QString& name);
// The letter or digit shown, upper-cased; "A" when the name has none.
QString letterFor(const QString& name);
void paint(QPainter& painter, const QRectF& rect, const QString& name, qreal radius);

} // namespace LetterTile
} // namespace brightloom::ui
