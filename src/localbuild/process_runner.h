#pragma once

// The one routine that starts every external tool of the local build: a cleaned environment,
// standard output and standard error merged into one stream, a time limit, and the whole text back.

#include <QByteArray>
#include <QMap>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QtGlobal>
#include <functional>
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

// The names of the variables of our own environment a child may inherit (a whole match).
const QRegularExpression& keepEnv();

// Starts `executable` (an absolute path; no search of PATH) with `arguments` as they stand, in `cwd`
// or our own working directory, with the kept environment overlaid by `env`, standard input at the
// null device. After `timeout` seconds a child still running is sent SIGTERM, once. Resumes on the
// calling thread when the child has ended and its output is drained; never throws: a child that
// cannot start comes back with code -1 and "Could not start <executable>: <reason>".
QCoro::Task<Output> run(QString executable, QStringList arguments, std::optional<QString> cwd, double timeout,
                        QMap<QString, QString> env = {}, OutputObserver onOutput = {});

} // namespace brightloom::LocalBuild
