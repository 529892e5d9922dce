#pragma once

#include "program_description.h"

#include <QString>

namespace brightloom::commandline {

// Shell completions for the command line, made from its commands. Project ids and gallery slugs
// come from "PROGRAM __complete projects|slugs", which prints nothing when signed out and gives up
// after a second, so the shell never waits longer than that.
QString bashCompletion(const ProgramDescription& program);
QString zshCompletion(const ProgramDescription& program);
QString fishCompletion(const ProgramDescription& program);

// The hidden command the completions ask, and what it can list.
inline constexpr const char* completeCommand = "__complete";

} // namespace brightloom::commandline
