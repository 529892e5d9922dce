#pragma once

#include <QString>

namespace brightloom::cli {

// Both print text that may have come from the service: its control characters (but tab and line
// feed) are shown as "\u001B" and the like, never sent to the terminal as they are.

// Standard output: results, one record or line at a time.
void out(const QString& line);
// Standard error: the one-line text of a failure, and prompts.
void err(const QString& line);
bool stdoutIsTerminal();

} // namespace brightloom::cli
