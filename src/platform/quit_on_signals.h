#pragma once

class QCoreApplication;

namespace brightloom {

// Makes SIGTERM (what a desktop session sends when the user logs out) and SIGINT end the program
// the way Quit does: the event loop returns, and everything is destroyed and saved (the window's
// single-instance socket, the stand-in service's database). The signal only writes a byte to a
// socket pair; the event loop reads it. Call once, after the application exists.
// The window ends with 0, as from Quit; a command line ends with 128 and the signal's number, as
// shells expect of a program a signal stopped (130 for SIGINT, 143 for SIGTERM).
enum class SignalStatus { zero, shellConvention };
void quitOnTerminationSignals(QCoreApplication& app, SignalStatus status = SignalStatus::zero);

} // namespace brightloom
