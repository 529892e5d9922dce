#pragma once

namespace brightloom {

// Ends the process with `status` once standard output and standard error are flushed, without the
// teardown that a normal exit runs (static destructors, the libraries' finalisers).
//
// Qt's threads (the network layer's, our download thread) report themselves finished and are then
// torn down by the system a moment later, freeing their thread-local memory. A normal exit runs the
// libraries' teardown beside that last step, and now and then the two freed the same block twice.
// Call it only when everything the program owns is saved and destroyed: nothing after it runs.
[[noreturn]] void endProcess(int status);

// Adds `hook` to what endProcess runs first, in the order added: work that must not outlive the
// program (the build tools still running) ends there. Holds a few hooks; safe from any thread.
void atProcessEnd(void (*hook)());

} // namespace brightloom
