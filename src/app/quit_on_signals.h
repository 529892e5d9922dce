#pragma once

class QCoreApplication;

namespace brightloom {

// Makes SIGTERM (what a desktop session sends when the user logs out) and SIGINT end the program
// the way Quit does: the event loop returns, and everything is destroyed and saved (the window's
// single-instance socket, the stand-in service's database). The signal only writes a byte to a
// socket pair; the event loop reads it. Call once, after the application exists.
void quitOnTerminationSignals(QCoreApplication& app);

} // namespace brightloom
