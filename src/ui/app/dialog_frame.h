#pragma once

class QDialog;
class QVBoxLayout;
class QWidget;

namespace brightloom::ui {

// The frame the program's own windows share (Settings, About): one column with the same margins,
// and a Close button at its foot.
QVBoxLayout* dialogLayout(QDialog& dialog);
void addCloseButton(QDialog& dialog, QVBoxLayout& layout);

// Shows a window, or brings it back to the front when it is shown already.
void bringToFront(QWidget& window);

} // namespace brightloom::ui
