#pragma once

#include <QDateTime>
#include <QString>

namespace brightloom {

// The counter that shows how long a stage has been running: "42s", or "2m 5s" from a minute on.
namespace ElapsedSeconds {

// The text for `seconds` whole seconds; a negative count reads as 0.
QString text(qint64 seconds);

// The text for the time from `since` to `now`, in whole seconds rounded toward zero, so 59.9
// seconds still read "59s" and a `since` in the future reads "0s".
QString text(const QDateTime& since, const QDateTime& now);

} // namespace ElapsedSeconds
} // namespace brightloom
