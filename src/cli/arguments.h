#pragma once

// The command line's words, parsed against its command table.
#include "commandline/arguments.h"

namespace brightloom::cli {
using commandline::Arguments;
using commandline::UsageError;
} // namespace brightloom::cli
