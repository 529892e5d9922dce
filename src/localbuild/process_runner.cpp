#include "process_runner.h"

#include "child_launch.h"
#include "platform/process_end.h"
#include "text/lossy_utf8.h"
#include "threads/background_priority.h"
#include "threads/system_roads.h"

#include <QDir>
#include <QFile>
#include <QMutex>
#include <QSet>
#include <QStringDecoder>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <poll.h>
#include <qcoro/qcorofuture.h>
#include <sys/wait.h>
#include <unistd.h>
#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX
#include <sys/syscall.h>
#endif

extern char** environ;

namespace brightloom::LocalBuild {
namespace {

using Clock = std::chrono::steady_clock;

constexpr qsizetype chunkSize = 1 << 20; // as much as the pipe holds
// Bytes of a text the allocator maps on its own whatever its history (glibc's threshold for that
// moves up to 32 MB).
constexpr qsizetype mappedSize = qsizetype(32) << 20;

// Each waiting run holds one thread for the life of its child, so runs get a pool of their own and
// never starve the shared one that unpacking and decoding use.
QThreadPool& runnerPool()
{
    static QThreadPool* pool = [] {
        auto* p = new QThreadPool;
        p->setMaxThreadCount(256);
        return p;
    }();
    return *pool;
}

class Descriptor
{
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }
    void reset(int fd = -1)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd;
};

// Moves a fresh descriptor to 3 or above, so it can never collide with the child's 0, 1 and 2.
int aboveStandard(int fd)
{
    if (fd < 0 || fd > 2)
        return fd;
    const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, 3);
    ::close(fd);
    return moved;
}

// The child's whole environment: our own variables whose names wholly match keepEnv, then `extra`.
QList<QByteArray> childEnvironment(const QMap<QString, QString>& extra)
{
    QMap<QByteArray, QByteArray> chosen;
    for (char** entry = environ; entry && *entry; ++entry) {
        const QByteArray line(*entry);
        const qsizetype equals = line.indexOf('=');
        if (equals <= 0)
            continue;
        QStringDecoder strict(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString name = strict(QByteArrayView(line).first(equals));
        if (strict.hasError())
            continue; // a name the pattern cannot be asked about
        const QRegularExpressionMatch match = keepEnv().match(name);
        if (match.hasMatch() && match.capturedStart() == 0 && match.capturedLength() == name.size())
            chosen.insert(line.first(equals), line);
    }
    for (auto it = extra.cbegin(); it != extra.cend(); ++it) {
        const QByteArray name = it.key().toUtf8();
        if (name.isEmpty() || name.contains('=') || name.contains('\0'))
            continue; // cannot be expressed as an environment entry
        chosen.insert(name, name + '=' + it.value().toUtf8());
    }
    return chosen.values();
}

// Reads the pipe and keeps the stream as it arrives, repaired where it is not UTF-8, so the whole
// output sits in memory once, as the bytes the tool printed. A multi-byte character cut by a chunk's
// end is kept back for the next read; only at the end of the stream is an unfinished one replaced.
// Damaged sequences become one U+FFFD each, so repairing chunk by chunk gives the same text as
// repairing the whole stream at once.
class StreamText
{
public:
    StreamText() : m_buffer(chunkSize, Qt::Uninitialized) {}

    // One read(): the chunk it returned (which the observer sees as it stands), or an empty view
    // with the read's result in `status` (0 at the end, -1 with errno).
    QByteArrayView read(int fd, ssize_t& status)
    {
        char* base = m_buffer.data();
        status = ::read(fd, base + m_carry, std::size_t(m_buffer.size() - m_carry));
        if (status <= 0)
            return {};
        const QByteArrayView chunk(base + m_carry, status);
        const qsizetype total = m_carry + status;
        const qsizetype whole = completeLength(QByteArrayView(base, total));
        keep(QByteArrayView(base, whole));
        m_carry = total - whole;
        std::memmove(base, base + whole, std::size_t(m_carry));
        return chunk;
    }

    QByteArray finish()
    {
        keep(QByteArrayView(m_buffer.constData(), m_carry));
        m_carry = 0;
        m_text.truncate(m_used);
        m_text.squeeze();
        return std::move(m_text);
    }

private:
    // How much of `bytes` can be kept now: all of it unless it ends inside a character that more
    // bytes could still complete.
    static qsizetype completeLength(QByteArrayView bytes)
    {
        const qsizetype n = bytes.size();
        for (qsizetype back = 1; back <= std::min<qsizetype>(3, n); ++back) {
            const auto byte = static_cast<unsigned char>(bytes[n - back]);
            if ((byte & 0xC0) == 0x80)
                continue; // a continuation byte: its lead is further back
            int needs = 1;
            if (byte >= 0xC2 && byte < 0xE0)
                needs = 2;
            else if (byte >= 0xE0 && byte < 0xF0)
                needs = 3;
            else if (byte >= 0xF0 && byte <= 0xF4)
                needs = 4;
            return needs > back ? n - back : n;
        }
        return n;
    }

    void keep(QByteArrayView bytes)
    {
        if (bytes.isEmpty())
            return;
        QByteArray repaired;
        if (!text::isWellFormedUtf8(bytes)) {
            repaired = text::repairedUtf8(bytes);
            bytes = repaired;
        }
        // Grows by doubling through realloc; the unused end is never touched, so it costs no memory.
        // Once past its first size it jumps to a size the allocator always maps on its own: growing
        // such a block moves pages instead of copying bytes while holding the allocator's lock, which
        // any other thread freeing memory of this thread's may be waiting for (the main thread
        // among them).
        if (m_text.size() < m_used + bytes.size()) {
            const qsizetype grown = m_text.isEmpty() ? 0 : std::max<qsizetype>(m_text.size() * 2, mappedSize);
            m_text.resize(std::max<qsizetype>(m_used + bytes.size(), grown));
        }
        std::memcpy(m_text.data() + m_used, bytes.data(), std::size_t(bytes.size()));
        m_used += bytes.size();
    }

    QByteArray m_buffer;
    qsizetype m_carry = 0;
    QByteArray m_text;
    qsizetype m_used = 0;
};

// Hands a chunk to the observer when it is valid UTF-8 on its own.
void observe(const OutputObserver& onOutput, QByteArrayView chunk)
{
    if (!onOutput)
        return;
    QStringDecoder strict(QStringDecoder::Utf8,
                          QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    const QString text = strict(chunk);
    if (!strict.hasError())
        onOutput(text);
}

// A descriptor that turns readable when the child exits, where the kernel has them; elsewhere the
// run asks waitpid now and then.
int openPidfd(pid_t pid)
{
#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX && defined(SYS_pidfd_open)
    return int(::syscall(SYS_pidfd_open, pid, 0));
#else
    Q_UNUSED(pid);
    return -1;
#endif
}

// One pipe whose ends close at exec.
bool makePipe(int fds[2])
{
#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX
    return ::pipe2(fds, O_CLOEXEC) == 0;
#else
    // A tool this runner starts on another thread cannot inherit the ends in between: its child
    // marks every descriptor from 3 up close-on-exec before exec. Children started otherwise (the
    // desktop's helpers, through QProcess) are not covered, and only ever run briefly.
    if (::pipe(fds) != 0)
        return false;
    ::fcntl(fds[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(fds[1], F_SETFD, FD_CLOEXEC);
    return true;
#endif
}

// The process groups of the tools running now, so that the client's end can end them: elsewhere
// than on Linux nothing else would (there a tool's child asks for SIGTERM when the client dies).
class LiveGroups
{
public:
    static LiveGroups& instance()
    {
        static LiveGroups* groups = new LiveGroups; // never destroyed: it may be used at the very end
        return *groups;
    }

    void add(pid_t group)
    {
        static std::once_flag hooked;
        std::call_once(hooked, [] { atProcessEnd(&LiveGroups::endAll); });
        QMutexLocker locked(&m_lock);
        m_groups.insert(group);
    }
    void remove(pid_t group)
    {
        QMutexLocker locked(&m_lock);
        m_groups.remove(group);
    }

private:
    static void endAll()
    {
        LiveGroups& groups = instance();
        QMutexLocker locked(&groups.m_lock);
        for (const pid_t group : std::as_const(groups.m_groups))
            ::kill(-group, SIGTERM);
    }

    QMutex m_lock;
    QSet<pid_t> m_groups;
};

struct Job
{
    QByteArray executable;
    QList<QByteArray> arguments;
    QList<QByteArray> environment;
    std::optional<QByteArray> cwd;
    double timeout = 0;
    std::shared_ptr<const Cancellation> cancellation;
    OutputObserver onOutput;
};

// The child as this run sees it, with the process group it leads: exit noticed through a pidfd
// where the kernel has them, else by asking now and then. The child is reaped only at the end,
// after its group was ended: until then its id cannot name another process or group.
class Child
{
public:
    explicit Child(pid_t pid) : m_pid(pid), m_pidfd(openPidfd(pid)) { LiveGroups::instance().add(pid); }
    ~Child() { LiveGroups::instance().remove(m_pid); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Whether it has exited, without reaping it.
    bool ended()
    {
        if (m_ended)
            return true;
        siginfo_t info;
        info.si_pid = 0;
        const int r = ::waitid(P_PID, id_t(m_pid), &info, WEXITED | WNOHANG | WNOWAIT);
        m_ended = (r == 0 && info.si_pid == m_pid) || (r < 0 && errno != EINTR);
        return m_ended;
    }

    int waitFd() const { return m_pidfd.get(); }

    // Asks the tool and everything it started in its group to terminate.
    void terminate() { ::kill(-m_pid, SIGTERM); }

    // Ends what is left of the group, then waits for the child: its status. The group leaves the
    // live list before the child is reaped, since its id is free for reuse from then on.
    qint32 finish()
    {
        terminate();
        LiveGroups::instance().remove(m_pid);
        int status = 0;
        pid_t r;
        do {
            r = ::waitpid(m_pid, &status, 0);
        } while (r < 0 && errno == EINTR);
        if (r != m_pid)
            status = 0; // not ours to wait for any more
        if (WIFSIGNALED(status))
            return WTERMSIG(status);
        return WEXITSTATUS(status);
    }

private:
    pid_t m_pid;
    Descriptor m_pidfd;
    bool m_ended = false;
};

Output failedToStart(const QByteArray& executable, const QString& why)
{
    const QString text =
        QStringLiteral("Could not start ") + QFile::decodeName(executable) + QStringLiteral(": ") + why;
    return Output{-1, text.toUtf8()};
}

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Everything from start to drained, on a thread of the runner's pool.
Output runBlocking(const Job& job)
{
    if (job.cancellation && job.cancellation->cancelled())
        return failedToStart(job.executable, QStringLiteral("the build was cancelled"));
    int fds[2];
    if (!makePipe(fds))
        return failedToStart(job.executable, systemError(errno));
    Descriptor reader(aboveStandard(fds[0]));
    Descriptor writer(aboveStandard(fds[1]));
    Descriptor null(aboveStandard(::open("/dev/null", O_RDONLY | O_CLOEXEC)));
    if (reader.get() < 0 || writer.get() < 0 || null.get() < 0)
        return failedToStart(job.executable, systemError(errno));
#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX && defined(F_SETPIPE_SZ)
    // A larger pipe means fewer wake-ups for a talkative child; the default still works.
    ::fcntl(writer.get(), F_SETPIPE_SZ, int(chunkSize));
#endif
    ::fcntl(reader.get(), F_SETFL, ::fcntl(reader.get(), F_GETFL) | O_NONBLOCK);

    detail::LaunchRequest request{job.executable, job.arguments, job.environment,
                                  job.cwd,        null.get(),    writer.get()};
    const detail::Launched launched = detail::launch(request);
    writer.reset();
    null.reset();
    if (launched.pid <= 0)
        return failedToStart(job.executable, launched.failure);

    Child child(launched.pid);
    const auto started = Clock::now();
    std::optional<Clock::time_point> deadline;
    if (std::isfinite(job.timeout)) {
        const double limited = std::clamp(job.timeout, -1.0, 1e9);
        deadline =
            started + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limited));
    }
    bool signalled = false;
    bool pipeOpen = true;
    bool exited = false;
    const Cancellation* cancellation = job.cancellation.get();
    bool cancelSeen = false;
    StreamText text;

    // The pipe is read to its end, also after the child has exited: a process it left behind may
    // still write. Such a process can hold the run only until the tool's own time limit; then what
    // has come is kept and the run ends.
    while (pipeOpen || !exited) {
        if (pipeOpen) {
            ssize_t n = 0;
            const QByteArrayView chunk = text.read(reader.get(), n);
            if (n > 0) {
                observe(job.onOutput, chunk);
                continue;
            }
            if (n == 0) {
                pipeOpen = false;
                continue;
            }
            if (errno == EINTR)
                continue;
            if (errno != EAGAIN)
                pipeOpen = false; // a failed read ends the stream with what was collected
        }
        if (!exited && child.ended()) {
            exited = true;
            continue; // the pipe may hold its last output
        }
        if (cancellation && !cancelSeen && cancellation->cancelled()) {
            // Cancelling is the time limit come early: the group is asked once, and the run ends
            // with what came once the tool has exited, whatever still holds the pipe.
            cancelSeen = true;
            deadline = Clock::now();
            continue;
        }

        int waitMs = -1;
        const auto now = Clock::now();
        if (deadline && now >= *deadline) {
            if (exited)
                break; // what is in the pipe has just been read
            if (!signalled) {
                child.terminate();
                signalled = true;
                continue;
            }
        } else if (deadline) {
            waitMs = int(std::chrono::ceil<std::chrono::milliseconds>(*deadline - now).count());
        }
        if (!exited && child.waitFd() < 0)
            waitMs = waitMs < 0 ? 50 : std::min(waitMs, 50);
        pollfd watched[3];
        nfds_t count = 0;
        if (pipeOpen)
            watched[count++] = pollfd{reader.get(), POLLIN, 0};
        if (!exited && child.waitFd() >= 0)
            watched[count++] = pollfd{child.waitFd(), POLLIN, 0};
        if (cancellation && !cancelSeen)
            watched[count++] = pollfd{cancellation->readyDescriptor(), POLLIN, 0};
        ::poll(watched, count, waitMs);
    }
    Output result;
    result.code = child.finish();
    result.output = text.finish();
    return result;
}

// The output travels in a box that the caller empties, so that the future, which keeps its result
// until its last watcher goes, never holds a second reference to a text of hundreds of megabytes:
// whoever holds the only one decides on which thread it is freed.
QFuture<std::shared_ptr<Output>> startRun(Job job)
{
    return QtConcurrent::run(&runnerPool(), [job = std::move(job)] {
        // The tool started from here inherits the lowered priority.
        yieldToMainThread();
        return std::make_shared<Output>(runBlocking(job));
    });
}

QByteArray absoluteExecutable(const QString& executable)
{
    // An address made from a relative path is taken relative to our own folder, not the child's.
    if (executable.isEmpty() || executable.startsWith(QLatin1Char('/')))
        return QFile::encodeName(executable);
    return QFile::encodeName(QDir::currentPath() + QLatin1Char('/') + executable);
}

} // namespace

Cancellation::Cancellation()
{
    if (makePipe(m_fds))
        ::fcntl(m_fds[1], F_SETFL, ::fcntl(m_fds[1], F_GETFL) | O_NONBLOCK);
}

Cancellation::~Cancellation()
{
    for (const int fd : m_fds) {
        if (fd >= 0)
            ::close(fd);
    }
}

void Cancellation::cancel()
{
    if (m_cancelled.exchange(true))
        return;
    // The byte stays unread: the descriptor stays readable for every run waiting on it.
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_fds[1], &byte, 1);
}

const QRegularExpression& keepEnv()
{
    static const QRegularExpression pattern(
        QStringLiteral("^(PATH|HOME|USER|LOGNAME|SHELL|TMPDIR|LANG|LC_.*|TERM|DEVELOPER_DIR|SDKROOT|XPC_.*|__"
                       "CF_.*|HTTPS?_PROXY|NO_PROXY)$"));
    return pattern;
}

QCoro::Task<Output> run(QString executable, QStringList arguments, std::optional<QString> cwd, RunEnd end,
                        QMap<QString, QString> env, OutputObserver onOutput)
{
    Job job;
    job.executable = absoluteExecutable(executable);
    for (const QString& argument : std::as_const(arguments))
        job.arguments.append(argument.toUtf8());
    job.environment = childEnvironment(env);
    if (cwd)
        job.cwd = QFile::encodeName(*cwd);
    job.timeout = end.timeout;
    job.cancellation = std::move(end.cancellation);
    job.onOutput = std::move(onOutput);
    const std::shared_ptr<Output> ran = co_await startRun(std::move(job));
    co_return std::move(*ran);
}

QString Output::text() const
{
    // A byte order mark at the start is part of what the tool printed.
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return decoder(output);
}

} // namespace brightloom::LocalBuild
