#pragma once

namespace brightloom::devserver {

// Makes SIGTERM and SIGINT end the event loop normally, so the database is closed properly and
// the program exits with 0 the way test harnesses and demo scripts expect from a stop.
// Call once, after the QCoreApplication exists.
void quitOnTerminationSignals();

} // namespace brightloom::devserver
