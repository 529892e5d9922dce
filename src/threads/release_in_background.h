#pragma once

#include <QThreadPool>
#include <utility>

namespace brightloom {

// Lets go of `value` on the thread pool: freeing a large value (hundreds of megabytes of text, tens
// of thousands of records) costs the thread that does it longer than a frame. Shared data whose
// other holders remain is only let go of, not freed, wherever this runs.
template <class T> void releaseInBackground(T value)
{
    QThreadPool::globalInstance()->start([held = std::move(value)]() mutable { T gone = std::move(held); });
}

} // namespace brightloom
