#pragma once

#include "program_description.h"

#include <QString>

namespace brightloom::commandline {

// "usage: PROGRAM FORM", one line per alternative form of the command.
QString usageLines(const ProgramDescription& program, const CommandDescription& command);

// What a wrong command line shows after its error: the usage, and where the full help is.
QString shortUsage(const ProgramDescription& program, const CommandDescription& command);

// "COMMAND --help": usage, description, arguments, options, examples and exit status.
QString commandHelp(const ProgramDescription& program, const CommandDescription& command);

// "PROGRAM --help": usage, description, then its commands with their summaries, or its own
// arguments and options.
QString programHelp(const ProgramDescription& program);

} // namespace brightloom::commandline
