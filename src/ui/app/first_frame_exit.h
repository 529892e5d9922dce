#pragma once

class QApplication;

namespace brightloom::ui {

// With BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME set, the program quits as soon as the window has painted its
// first frame of the new project screen or of the sign-in screen, whichever the session leads to:
// the start-up benchmark times a whole start of the program with it. Without it, nothing happens.
void quitAfterFirstFrameWhenAsked(QApplication& app);

} // namespace brightloom::ui
