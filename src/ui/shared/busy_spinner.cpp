#include "busy_spinner.h"

#include <QPainter>

namespace brightloom::ui {

BusySpinner::BusySpinner(int side, QWidget* parent) : QWidget(parent), m_side(side)
{
    setFixedSize(side, side);
    setAccessibleName(QStringLiteral("In progress"));
    m_timer.setInterval(40);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_angle = (m_angle + 30) % 360;
        update();
    });
}

void BusySpinner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal stroke = std::max(1.5, m_side / 8.0);
    const QRectF box = QRectF(rect()).adjusted(stroke, stroke, -stroke, -stroke);
    QColor faint = palette().color(QPalette::PlaceholderText);
    faint.setAlphaF(0.3f);
    painter.setPen(QPen(faint, stroke));
    painter.drawEllipse(box);
    painter.setPen(QPen(palette().color(QPalette::WindowText), stroke, Qt::SolidLine, Qt::RoundCap));
    // Qt counts angles in sixteenths of a degree, counter-clockwise from three o'clock.
    painter.drawArc(box, -m_angle * 16, 100 * 16);
}

void BusySpinner::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_timer.start();
}

void BusySpinner::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    m_timer.stop();
}

} // namespace brightloom::ui
