#include "password_input.h"

#include "console.h"
#include "platform/process_end.h"
#include "service/api_error.h"
#include "stdin_lines.h"

#include <atomic>
#include <optional>
#include <qcoro/qcorosignal.h>
#include <termios.h>
#include <unistd.h>

namespace brightloom::cli {
namespace {

// The terminal's settings while echo is off, so that any end of the process (Ctrl+C at the prompt
// among them) gives the terminal its echo back.
termios savedTerminal;
std::atomic<bool> echoOff{false};

void restoreEcho()
{
    if (echoOff.exchange(false))
        tcsetattr(STDIN_FILENO, TCSANOW, &savedTerminal);
}

// Echo off until restoreEcho: the newline still shows, so the next output starts on a line of its own.
void hideTyping()
{
    if (tcgetattr(STDIN_FILENO, &savedTerminal) != 0)
        return;
    termios quiet = savedTerminal;
    quiet.c_lflag &= ~tcflag_t(ECHO);
    quiet.c_lflag |= ECHONL;
    static const bool hooked = [] {
        atProcessEnd(&restoreEcho);
        return true;
    }();
    Q_UNUSED(hooked);
    echoOff = tcsetattr(STDIN_FILENO, TCSADRAIN, &quiet) == 0;
}

} // namespace

QCoro::Task<QString> passwordFrom(const Arguments& args)
{
    const std::optional<QString> given = args.option(QStringLiteral("password"));
    const bool fromInput = args.flag(QStringLiteral("password-stdin"));
    if (given && fromInput)
        throw UsageError(QStringLiteral("--password and --password-stdin exclude each other"));
    if (given)
        co_return *given;
    const bool terminal = isatty(STDIN_FILENO) == 1;
    if (!fromInput && !terminal)
        throw UsageError(
            QStringLiteral("missing --password-stdin: standard input is not a terminal to ask on"));
    // Echo goes off before the prompt shows, so nothing typed after the prompt can echo.
    if (!fromInput) {
        hideTyping();
        err(QStringLiteral("Password:"));
    }
    StdinLines input;
    std::optional<QString> line;
    while (!(line = input.takeLine()) && !input.atEnd())
        co_await qCoro(&input, &StdinLines::changed);
    restoreEcho();
    if (!line || line->isEmpty())
        throw APIError(fromInput ? QStringLiteral("No password on standard input.")
                                 : QStringLiteral("No password given."));
    co_return *line;
}

} // namespace brightloom::cli
