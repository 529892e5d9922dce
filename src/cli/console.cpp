#include "console.h"

#include "text/control_characters.h"

#include <cstdio>
#include <unistd.h>

namespace brightloom::cli {

void out(const QString& line)
{
    const QByteArray bytes = text::visibleControls(line).toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

void err(const QString& line)
{
    const QByteArray bytes = text::visibleControls(line).toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

bool stdoutIsTerminal()
{
    return isatty(STDOUT_FILENO) == 1;
}

} // namespace brightloom::cli
