#pragma once

class QApplication;

namespace brightloom::ui {

// With BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME set, the program prints the moments (CLOCK_MONOTONIC) the
// window painted its first frame and its first frame of the new project screen or of the sign-in
// screen, whichever the session leads to, then its resident memory with that screen whole, and quits:
// the start-up benchmark times a start of the program with it. Without it, nothing happens.
void quitAfterFirstFrameWhenAsked(QApplication& app);

} // namespace brightloom::ui
