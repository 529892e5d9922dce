#include "send_button.h"

#include "ui/shared/accent.h"
#include "ui/shared/symbols.h"

#include <QPainter>

namespace brightloom::ui {

SendButton::SendButton(QWidget* parent) : QAbstractButton(parent)
{
    setFixedSize(30, 30);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setToolTip(QStringLiteral("Send (Return)"));
    setAccessibleName(QStringLiteral("Send message"));
    setIcon(symbol(Symbol::send));
}

void SendButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF circle = QRectF(rect()).adjusted(1, 1, -1, -1);
    QColor fill = isEnabled() ? accent() : palette().color(QPalette::Mid);
    if (isEnabled() && isDown())
        fill = fill.darker(115);
    if (!isEnabled())
        fill.setAlphaF(0.5f);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawEllipse(circle);
    if (hasFocus()) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(circle.adjusted(-0.5, -0.5, 0.5, 0.5));
    }
    const QRect arrow = rect().adjusted(8, 8, -8, -8);
    icon().paint(&painter, arrow, Qt::AlignCenter, isEnabled() ? QIcon::Normal : QIcon::Disabled);
}

} // namespace brightloom::ui
