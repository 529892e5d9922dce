#include "one_line_label.h"

#include <QPainter>
#include <QStyle>

namespace brightloom::ui {

OneLineLabel::OneLineLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(false);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void OneLineLabel::setFullText(const QString& text)
{
    if (text == this->text())
        return;
    setText(text);
    setToolTip(text);
}

QString OneLineLabel::shownText() const
{
    return fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
}

QSize OneLineLabel::minimumSizeHint() const
{
    return QSize(0, fontMetrics().height());
}

QSize OneLineLabel::sizeHint() const
{
    return QSize(fontMetrics().horizontalAdvance(text()), fontMetrics().height());
}

void OneLineLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
    painter.drawText(contentsRect(), int(alignment()) | Qt::TextSingleLine, shownText());
}

} // namespace brightloom::ui
