#include "child_launch.h"

#include "threads/system_roads.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#endif

namespace brightloom::LocalBuild::detail {
namespace {

// What the child tells the parent through the memory they share until exec.
struct ChildReport
{
    int error = 0;
    bool inDirectory = false; // the error came from entering the working directory
};

struct Prepared
{
    const char* path;
    char* const* argv;
    char* const* envp;
    const char* cwd; // null: stay where we are
    int input;
    int output;
    pid_t parent;
};

// Puts `from` at descriptor `to` without close-on-exec.
bool placeAt(int from, int to)
{
    if (from == to)
        return ::fcntl(to, F_SETFD, 0) == 0;
    return ::dup2(from, to) == to;
}

// Everything from 3 up closes at exec: the client's sockets, cookie file and pipes of other runs.
// They are marked rather than closed, so that a failed exec can still be told apart from a start.
void closeOthersAtExec()
{
#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX
    if (::syscall(SYS_close_range, 3U, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
        return;
#endif
    // One by one up to the limit of open descriptors (the Mac's default limit is 256).
    struct rlimit limit;
    const long highest = ::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY
                             ? long(limit.rlim_cur)
                             : 65536;
    for (long fd = 3; fd < highest; ++fd)
        ::fcntl(int(fd), F_SETFD, FD_CLOEXEC);
}

// Runs in the child between vfork and exec, sharing the parent's memory: only system calls, no
// allocation, no locks, never returns.
[[noreturn]] void becomeChild(const Prepared& p, ChildReport* report)
{
    // Handlers of the client must not run here; exec resets them anyway, but not before.
    for (int sig = 1; sig < NSIG; ++sig) {
        if (sig == SIGKILL || sig == SIGSTOP)
            continue;
        struct sigaction current;
        if (::sigaction(sig, nullptr, &current) != 0)
            continue;
        if (current.sa_handler == SIG_IGN && sig != SIGPIPE)
            continue;
        if (current.sa_handler != SIG_DFL || sig == SIGPIPE) {
            struct sigaction plain;
            std::memset(&plain, 0, sizeof plain);
            plain.sa_handler = SIG_DFL;
            ::sigaction(sig, &plain, nullptr);
        }
    }
    // A group of its own, which the runner ends with everything the tool started in it.
    ::setpgid(0, 0);
#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX
    // And SIGTERM when the client dies, however it dies. Elsewhere the client ends the groups of the
    // tools still running when it ends; a client killed outright leaves them.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != p.parent)
        ::_exit(127); // the client died before the request took hold
#endif
    if (!placeAt(p.input, 0) || !placeAt(p.output, 1) || !placeAt(p.output, 2)) {
        report->error = errno;
        ::_exit(127);
    }
    closeOthersAtExec();
    if (p.cwd && ::chdir(p.cwd) != 0) {
        report->error = errno;
        report->inDirectory = true;
        ::_exit(127);
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execve(p.path, p.argv, p.envp);
    report->error = errno;
    ::_exit(127);
}

// vfork suspends only this thread until the child has called exec or exited, and copies no page
// tables, so a client holding gigabytes of output still starts children quickly.
pid_t startChild(const Prepared& prepared, ChildReport* report)
{
    sigset_t all;
    sigset_t previous;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &previous);
#if defined(__APPLE__)
    // Deprecated on the Mac in favour of posix_spawn, which cannot report a failed working
    // directory apart from a failed exec; vfork still works there as everywhere.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
#endif
    const pid_t pid = ::vfork();
#if defined(__APPLE__)
#pragma clang diagnostic pop
#endif
    if (pid == 0)
        becomeChild(prepared, report);
    const int forkError = errno;
    ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    if (pid < 0)
        report->error = forkError;
    return pid;
}

std::vector<char*> pointers(const QList<QByteArray>& items, const QByteArray* first)
{
    std::vector<char*> result;
    result.reserve(std::size_t(items.size()) + 2);
    if (first)
        result.push_back(const_cast<char*>(first->constData()));
    for (const QByteArray& item : items)
        result.push_back(const_cast<char*>(item.constData()));
    result.push_back(nullptr);
    return result;
}

QString describe(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace

Launched launch(const LaunchRequest& request)
{
    Launched launched;
    const std::vector<char*> argv = pointers(request.arguments, &request.executable);
    const std::vector<char*> envp = pointers(request.environment, nullptr);
    const Prepared prepared{request.executable.constData(),
                            argv.data(),
                            envp.data(),
                            request.cwd ? request.cwd->constData() : nullptr,
                            request.input,
                            request.output,
                            ::getpid()};
    ChildReport report;
    const pid_t pid = startChild(prepared, &report);
    if (pid < 0) {
        launched.failure = describe(report.error);
        return launched;
    }
    if (report.error == 0) {
        launched.pid = pid;
        return launched;
    }
    // The child exited before exec; collect it so it leaves no zombie.
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    launched.failure = report.inDirectory
                           ? QStringLiteral("the working directory ") + QString::fromUtf8(*request.cwd) +
                                 QStringLiteral(" cannot be used (") + describe(report.error) +
                                 QLatin1Char(')')
                           : describe(report.error);
    return launched;
}

} // namespace brightloom::LocalBuild::detail
