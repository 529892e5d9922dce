#pragma once

#include <QString>

namespace brightloom::cli {

// Standard output: results, one record or line at a time.
void out(const QString& line);
// Standard error: the one-line text of a failure, and prompts.
void err(const QString& line);
bool stdoutIsTerminal();

} // namespace brightloom::cli
