#pragma once

#include <QString>

namespace brightloom {

enum class MoveOutcome { moved, taken, failed };

// Moves the file `from` to `to` unless something already stands at `to`, atomically within one file
// system: two downloads that pick the same free name at once must not overwrite each other, and
// QFile::rename falls back to copying over the target when the system refuses to replace it. Across
// file systems the copy goes into a file that only this call can have created. Blocks on the file
// system.
MoveOutcome moveWithoutReplacing(const QString& from, const QString& to);

} // namespace brightloom
