#pragma once

namespace brightloom {

// Lowers the calling thread's priority below the main thread's, once per thread, so that file work,
// unpacking and the build's tools running on every core still leave a processor free for the main
// thread when it has a frame to draw. Children started afterwards from this thread inherit it.
// Called at the start of work that runs on a worker thread; the pools' threads only ever run such
// work, so a thread stays lowered for its life. Linux lowers the thread's niceness and a Mac its
// quality of service; elsewhere POSIX has no priority of a thread's own, and nothing changes.
void yieldToMainThread();

} // namespace brightloom
