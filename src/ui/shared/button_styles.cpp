#include "button_styles.h"

#include "ui/shared/accent.h"

#include <QAbstractButton>

namespace brightloom::ui {
namespace {

QColor faded(QColor colour, float alpha)
{
    colour.setAlphaF(alpha);
    return colour;
}

} // namespace

void applyZipButtonStyle(QAbstractButton* button, bool prominent)
{
    if (prominent) {
        button->setStyleSheet(
            QStringLiteral("QAbstractButton { background: %1; color: black; border: none;"
                           " border-radius: 7px; padding: 5px 14px; }"
                           "QAbstractButton:pressed { background: %2; }"
                           "QAbstractButton:disabled { background: %3; color: rgba(0,0,0,110); }")
                .arg(accent().name(), accent().darker(115).name(),
                     faded(accent(), 0.45f).name(QColor::HexArgb)));
    } else {
        button->setStyleSheet(
            QStringLiteral("QAbstractButton { background: transparent; color: palette(text);"
                           " border: 1px solid palette(mid); border-radius: 7px;"
                           " padding: 4px 12px; }"
                           "QAbstractButton:hover { background: palette(midlight); }"
                           "QAbstractButton:disabled { color: palette(mid); }"));
    }
}

void applyProminentStyle(QAbstractButton* button)
{
    button->setStyleSheet(
        QStringLiteral("QAbstractButton { background: palette(highlight);"
                       " color: palette(highlighted-text); border: none; border-radius: 7px;"
                       " padding: 5px 16px; font-weight: 600; }"
                       "QAbstractButton:pressed { background: palette(dark); }"
                       "QAbstractButton:disabled { background: palette(midlight);"
                       " color: palette(mid); }"));
}

} // namespace brightloom::ui
