#pragma once

class QAbstractButton;

namespace brightloom::ui {

// The archive button's look: rounded; filled with the accent and labelled in black when prominent,
// else a quiet bordered button.
void applyZipButtonStyle(QAbstractButton* button, bool prominent);

// The look of the platform's bordered prominent button: filled with the palette's highlight.
void applyProminentStyle(QAbstractButton* button);

} // namespace brightloom::ui
