#pragma once

// The one routine that starts every external tool of the local build: a cleaned environment,
// standard output and standard error merged into one stream, a time limit, and the whole text back.

#include <QByteArray>
#include <QMap>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QtGlobal>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom::LocalBuild {

struct Output
{
    qint32 code =
        0; // the child's exit status, the signal number when a signal ended it, -1 when it could not start
    // Standard output and standard error as they arrived, as UTF-8 with every damaged sequence
    // replaced by U+FFFD. Kept as bytes: a compiler may print hundreds of megabytes that nobody
    // reads, and UTF-16 would double them.
    QByteArray output;

    // The output as text, for what shows it or searches it.
    QString text() const;
};

// Called with each chunk of output that is valid UTF-8 on its own, from a thread of the pool, while
// the child runs. It must be safe to call from any thread.
using OutputObserver = std::function<void(const QString&)>;

// Ends the runs it is handed to early, as their time limits would: each tool still running, and
// everything it started in its group, is asked to terminate, and the run returns what it collected.
// A run handed one that is already cancelled does not start. One is shared by the runs of one owner
// (a window's local builds); safe from any thread.
class Cancellation
{
public:
    Cancellation();
    ~Cancellation();
    Cancellation(const Cancellation&) = delete;
    Cancellation& operator=(const Cancellation&) = delete;

    void cancel();
    bool cancelled() const { return m_cancelled.load(); }
    // Turns readable once cancelled, for a run waiting in poll.
    int readyDescriptor() const { return m_fds[0]; }

private:
    int m_fds[2] = {-1, -1};
    std::atomic<bool> m_cancelled{false};
};

// When a run ends at the latest: after `timeout` seconds, or when `cancellation` is cancelled.
struct RunEnd
{
    RunEnd(double seconds, std::shared_ptr<const Cancellation> cancelledBy = {})
        : timeout(seconds), cancellation(std::move(cancelledBy))
    {}
    double timeout;
    std::shared_ptr<const Cancellation> cancellation;
};

// The names of the variables of our own environment a child may inherit (a whole match).
const QRegularExpression& keepEnv();

// Starts `executable` (an absolute path; no search of PATH) with `arguments` as they stand, in `cwd`
// or our own working directory, with the kept environment overlaid by `env`, standard input at the
// null device, in a process group of its own. After `end.timeout` seconds, or once `end` is
// cancelled, the group of a child still running is sent SIGTERM, once; when the run ends, whatever
// is left of the group is sent SIGTERM too. Resumes on the calling thread when the child has ended
// and its output is drained; never throws: a child that cannot start comes back with code -1 and
// "Could not start <executable>: <reason>".
QCoro::Task<Output> run(QString executable, QStringList arguments, std::optional<QString> cwd, RunEnd end,
                        QMap<QString, QString> env = {}, OutputObserver onOutput = {});

} // namespace brightloom::LocalBuild
