#include "spinner.h"

#include <QPainter>

namespace brightloom::ui {

Spinner::Spinner(int side, QWidget* parent) : QWidget(parent), m_side(side)
{
    setFixedSize(side, side);
    setAccessibleName(QStringLiteral("In progress"));
    m_timer.setInterval(50);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_angle = (m_angle + 30) % 360;
        update();
    });
}

void Spinner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal pen = std::max(1.5, m_side / 8.0);
    const QRectF ring = QRectF(rect()).adjusted(pen, pen, -pen, -pen);
    QColor track = palette().color(QPalette::Text);
    track.setAlphaF(0.15f);
    painter.setPen(QPen(track, pen));
    painter.drawEllipse(ring);
    QColor arc = palette().color(QPalette::Text);
    arc.setAlphaF(0.7f);
    painter.setPen(QPen(arc, pen, Qt::SolidLine, Qt::RoundCap));
    // Angles in sixteenths of a degree, counter-clockwise: a quarter-and-a-bit turning clockwise.
    painter.drawArc(ring, -m_angle * 16, 100 * 16);
}

void Spinner::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_timer.start();
}

void Spinner::hideEvent(QHideEvent* event)
{
    m_timer.stop();
    QWidget::hideEvent(event);
}

} // namespace brightloom::ui
