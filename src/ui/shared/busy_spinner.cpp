#include "busy_spinner.h"

#include <QEvent>
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
    follow();
}

void BusySpinner::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    m_timer.stop();
}

bool BusySpinner::event(QEvent* event)
{
    const bool handled = QWidget::event(event);
    // The window's activation reaches every visible widget in it.
    if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate)
        follow();
    return handled;
}

void BusySpinner::follow()
{
    if (isVisible() && isActiveWindow())
        m_timer.start();
    else
        m_timer.stop();
}

} // namespace brightloom::ui
