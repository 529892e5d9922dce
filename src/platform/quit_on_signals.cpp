#include "quit_on_signals.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace brightloom {

namespace {

int signalWriteEnd = -1;

// Runs in the signal's context: only an async-signal-safe write.
extern "C" void noteSignal(int signal)
{
    const int saved = errno;
    const char byte = char(signal);
    [[maybe_unused]] const ssize_t written = ::write(signalWriteEnd, &byte, 1);
    errno = saved;
}

bool closeOnExecAndNonBlocking(int fd)
{
    return ::fcntl(fd, F_SETFD, FD_CLOEXEC) == 0 &&
           ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK) == 0;
}

} // namespace

void quitOnTerminationSignals(QCoreApplication& app, SignalStatus status)
{
    int ends[2];
    // A socket pair rather than pipe2, which the Mac lacks; both ends are marked by hand.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        return;
    if (!closeOnExecAndNonBlocking(ends[0]) || !closeOnExecAndNonBlocking(ends[1])) {
        ::close(ends[0]);
        ::close(ends[1]);
        return;
    }
    signalWriteEnd = ends[1];
    auto* notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [readEnd = ends[0], &app, status] {
        char bytes[16];
        int signal = 0;
        for (ssize_t n; (n = ::read(readEnd, bytes, sizeof bytes)) > 0;)
            signal = bytes[n - 1];
        app.exit(status == SignalStatus::shellConvention && signal > 0 ? 128 + signal : 0);
    });

    struct sigaction action = {};
    action.sa_handler = noteSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
}

} // namespace brightloom
