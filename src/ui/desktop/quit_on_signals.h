#pragma once

class QCoreApplication;

namespace brightloom::ui {

// Makes SIGTERM (what a desktop session sends when the user logs out) and SIGINT end the program
// the way Quit does: the event loop returns, everything is destroyed and saved, the single-instance
// socket is taken away. The signal only writes a byte to a pipe; the event loop reads it.
void quitOnTerminationSignals(QCoreApplication& app);

} // namespace brightloom::ui
