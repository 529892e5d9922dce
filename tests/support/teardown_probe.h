#pragma once

// A library that says "library teardown ran" on standard error when a program's exit runs the
// libraries' finalisers, to tell whether a program ended the ordinary way or skipped that teardown.

#include "temp_home.h"

#include <QByteArray>
#include <QString>

namespace brightloom::test {

inline const QString teardownProbeSays = QStringLiteral("library teardown ran");

// Loads the probe into every program this process starts while `home` lives. The sanitizers' runtime
// would refuse to come after a preloaded library, so it is told to allow it.
inline void preloadTeardownProbe(TempHome& home)
{
    const QByteArray asan = qgetenv("ASAN_OPTIONS");
    home.setEnv("ASAN_OPTIONS", asan + (asan.isEmpty() ? "" : ":") + "verify_asan_link_order=0");
    home.setEnv("LD_PRELOAD", BRIGHTLOOM_TEARDOWN_PROBE);
}

} // namespace brightloom::test
