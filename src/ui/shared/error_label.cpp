#include "error_label.h"

#include <QEvent>

namespace brightloom::ui {

ErrorLabel::ErrorLabel(const QString& description, QWidget* parent) : QLabel(parent)
{
    setWordWrap(true);
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setAccessibleDescription(description);
    applyColour();
    hide();
}

void ErrorLabel::setError(const QString& text)
{
    setText(text);
    setVisible(!text.isEmpty());
}

QColor ErrorLabel::colourOn(const QColor& window)
{
    return window.lightness() < 128 ? QColor(255, 110, 100) : QColor(192, 28, 40);
}

void ErrorLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyColour();
}

void ErrorLabel::applyColour()
{
    QPalette colours = palette();
    const QColor red = colourOn(colours.color(QPalette::Window));
    if (colours.color(QPalette::WindowText) == red)
        return;
    colours.setColor(QPalette::WindowText, red);
    setPalette(colours);
}

} // namespace brightloom::ui
