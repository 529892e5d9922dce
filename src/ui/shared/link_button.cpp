#include "link_button.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

namespace brightloom::ui {

LinkButton::LinkButton(const QString& text, QWidget* parent) : QPushButton(text, parent)
{
    setFlat(true);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    // The text is drawn as it is, so an "&" in it ("Privacy & Security") is a character, not the
    // mark of a keyboard shortcut: no shortcut, and screen readers read the whole text.
    setShortcut(QKeySequence());
    setAccessibleName(text);
}

QSize LinkButton::sizeHint() const
{
    const QFontMetrics metrics(font());
    return QSize(metrics.horizontalAdvance(text()) + 2, metrics.height() + 4);
}

void LinkButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QFont f = font();
    f.setUnderline(underMouse() || hasFocus());
    painter.setFont(f);
    const QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;
    painter.setPen(palette().color(group, isDown() ? QPalette::LinkVisited : QPalette::Link));
    painter.drawText(rect().adjusted(0, 2, 0, -2), Qt::AlignLeft | Qt::AlignVCenter, text());
}

} // namespace brightloom::ui
