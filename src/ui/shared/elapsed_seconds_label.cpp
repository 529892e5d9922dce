#include "elapsed_seconds_label.h"

#include "text/elapsed_seconds.h"

namespace brightloom::ui {

ElapsedSecondsLabel::ElapsedSecondsLabel(QWidget* parent)
    : QLabel(parent), m_since(QDateTime::currentDateTimeUtc()),
      m_clock([] { return QDateTime::currentDateTimeUtc(); })
{
    setForegroundRole(QPalette::PlaceholderText);
    setAccessibleDescription(QStringLiteral("Elapsed time"));
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, &ElapsedSecondsLabel::redraw);
    redraw();
}

void ElapsedSecondsLabel::setSince(const QDateTime& since)
{
    m_since = since;
    redraw();
}

void ElapsedSecondsLabel::setClock(Clock clock)
{
    m_clock = std::move(clock);
    redraw();
}

void ElapsedSecondsLabel::redraw()
{
    setText(ElapsedSeconds::text(m_since, m_clock()));
}

void ElapsedSecondsLabel::showEvent(QShowEvent* event)
{
    QLabel::showEvent(event);
    redraw();
    m_timer.start();
}

void ElapsedSecondsLabel::hideEvent(QHideEvent* event)
{
    m_timer.stop();
    QLabel::hideEvent(event);
}

} // namespace brightloom::ui
