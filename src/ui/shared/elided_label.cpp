#include "elided_label.h"

#include <QPainter>
#include <QStyle>

namespace brightloom::ui {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(false);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString& text)
{
    if (text == this->text())
        return;
    setText(text);
    setToolTip(text);
}

QString ElidedLabel::shownText() const
{
    return fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
}

QSize ElidedLabel::minimumSizeHint() const
{
    return QSize(0, fontMetrics().height());
}

QSize ElidedLabel::sizeHint() const
{
    return QSize(fontMetrics().horizontalAdvance(text()), fontMetrics().height());
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
    painter.drawText(contentsRect(), int(alignment()) | Qt::TextSingleLine, shownText());
}

} // namespace brightloom::ui
