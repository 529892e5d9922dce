#pragma once

namespace brightloom::ui {

// Makes every checkable button of the program read as a check box, or as a radio button when it is
// one option of an exclusive choice, whose accessible action is a click. Qt's own action for such a
// button only flips its check mark, which tells nobody who listens to clicks. Safe to call often.
// A button must be made checkable before its text is set: that already makes its interface.
void installCheckableButtonAccessibility();

} // namespace brightloom::ui
