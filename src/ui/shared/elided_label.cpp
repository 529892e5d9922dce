#include "elided_label.h"

#include <QPainter>
#include <QTextLayout>

namespace brightloom::ui {

ElidedLabel::ElidedLabel(int lines, QWidget* parent) : QLabel(parent), m_lines(std::max(1, lines))
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString& text)
{
    if (text == this->text())
        return;
    setText(text);
    relayout();
}

QSize ElidedLabel::sizeHint() const
{
    return QSize(fontMetrics().averageCharWidth() * 12, fontMetrics().lineSpacing() * m_lines);
}

QSize ElidedLabel::minimumSizeHint() const
{
    return QSize(0, fontMetrics().lineSpacing() * m_lines);
}

QStringList ElidedLabel::layoutLines(int width, bool* elided) const
{
    *elided = false;
    QStringList lines;
    const QString full = text();
    if (full.isEmpty() || width <= 0)
        return lines;
    QTextLayout layout(full, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    while (true) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        if (lines.size() == m_lines - 1) {
            // The last line that fits takes the rest of the text, cut to the width.
            const QString rest = full.mid(line.textStart()).simplified();
            const QString cut = fontMetrics().elidedText(rest, Qt::ElideRight, width);
            *elided = cut != rest;
            lines.append(cut);
            break;
        }
        lines.append(full.mid(line.textStart(), line.textLength()).trimmed());
    }
    layout.endLayout();
    return lines;
}

void ElidedLabel::relayout()
{
    m_shown = layoutLines(contentsRect().width(), &m_elided);
    setToolTip(m_elided ? text() : QString());
    update();
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    const QRect area = contentsRect();
    const int step = fontMetrics().lineSpacing();
    int y = area.top();
    for (const QString& line : m_shown) {
        painter.drawText(QRect(area.left(), y, area.width(), step), Qt::AlignLeft | Qt::AlignVCenter, line);
        y += step;
    }
}

void ElidedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    relayout();
}

void ElidedLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        updateGeometry();
        relayout();
    }
}

} // namespace brightloom::ui
