#include "busy_spinner.h"

#include <QPainter>

namespace brightloom::ui {

BusySpinner::BusySpinner(int size, QWidget* parent) : QWidget(parent), m_size(size)
{
    setFixedSize(size, size);
    setAccessibleName(QStringLiteral("In progress"));
    m_timer.setInterval(33);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_angle = (m_angle + 30) % 360;
        update();
    });
}

void BusySpinner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal pen = std::max(1.5, m_size / 8.0);
    const QRectF ring = QRectF(rect()).adjusted(pen, pen, -pen, -pen);
    QColor track = palette().color(QPalette::WindowText);
    track.setAlphaF(0.15f);
    painter.setPen(QPen(track, pen));
    painter.drawEllipse(ring);
    QColor arc = palette().color(QPalette::WindowText);
    arc.setAlphaF(0.7f);
    painter.setPen(QPen(arc, pen, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(ring, (90 - m_angle) * 16, -100 * 16);
}

void BusySpinner::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_timer.start();
}

void BusySpinner::hideEvent(QHideEvent* event)
{
    m_timer.stop();
    QWidget::hideEvent(event);
}

} // namespace brightloom::ui
