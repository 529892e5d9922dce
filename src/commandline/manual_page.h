#pragma once

#include "program_description.h"

#include <QString>

namespace brightloom::commandline {

// The program's manual page in roff (man(7)): synopsis, description, every command with its
// arguments, options and examples, exit status, environment, files. `date` goes on the title line
// as given ("November 2026"), so that the page is the same from one build to the next.
QString manualPage(const ProgramDescription& program, const QString& version, const QString& date);

} // namespace brightloom::commandline
