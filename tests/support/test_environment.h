#pragma once

#include <QByteArray>

namespace brightloom::test {

// Every test process runs in the build tree's own home, never the real one, talks to no service
// unless a test names one, and keeps sessions in the owner-only file, never in the desktop's
// secret store. Set by each test program's main before anything else, so a test program run by
// hand gets it as CTest's run does.
inline void enterTestEnvironment()
{
    const QByteArray home(BRIGHTLOOM_TEST_HOME);
    qputenv("HOME", home);
    qputenv("XDG_CONFIG_HOME", QByteArray(home).append("/.config"));
    qputenv("XDG_DATA_HOME", QByteArray(home).append("/.local/share"));
    qputenv("XDG_CACHE_HOME", QByteArray(home).append("/.cache"));
    qputenv("XDG_DOWNLOAD_DIR", QByteArray(home).append("/Downloads"));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("BRIGHTLOOM_URL", "http://127.0.0.1:9/");
    qputenv("BRIGHTLOOM_SESSION_STORE", "file");
}

} // namespace brightloom::test
