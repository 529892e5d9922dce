#pragma once

#include "arguments.h"

#include <QString>
#include <qcoro/qcorotask.h>

namespace brightloom::cli {

// The password for login and signup: --password as given, the first line of standard input with
// --password-stdin, or else asked for on the terminal without echo. Throws UsageError when there is
// none of the three (standard input is not a terminal and no option gave it).
QCoro::Task<QString> passwordFrom(const Arguments& args);

} // namespace brightloom::cli
