#include "elapsed_seconds_label.h"

#include "text/elapsed_seconds.h"

#include <QEvent>
#include <QFontMetrics>
#include <algorithm>

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
    const QString shown = ElapsedSeconds::text(m_since, m_clock());
    if (shown == text())
        return;
    keepSizeFor(shown);
    setText(shown);
}

void ElapsedSecondsLabel::keepSizeFor(const QString& shown)
{
    // As wide as any text of this shape can be, every digit the widest: a tick then changes nothing
    // of the label's size, so the layout around it is left alone and the label alone repaints. The
    // size changes only when the text grows a digit or a minute.
    const QFontMetrics metrics = fontMetrics();
    if (m_widestDigit == 0) {
        for (char digit = '0'; digit <= '9'; ++digit)
            m_widestDigit = std::max(m_widestDigit, metrics.horizontalAdvance(QLatin1Char(digit)));
    }
    int width = 0;
    for (const QChar c : shown)
        width += c.isDigit() ? m_widestDigit : metrics.horizontalAdvance(c);
    const QMargins margins = contentsMargins();
    const QSize size(width + margins.left() + margins.right() + 2 * margin(),
                     metrics.height() + margins.top() + margins.bottom() + 2 * margin());
    if (size != m_keptSize) {
        m_keptSize = size;
        setFixedSize(size);
    }
}

void ElapsedSecondsLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        m_keptSize = {};
        m_widestDigit = 0;
        keepSizeFor(text());
    }
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
