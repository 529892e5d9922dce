#pragma once

// Starting one child process for the runner: an explicit path, an argument vector, a complete
// environment, a working directory, given standard descriptors, and nothing else inherited.

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>
#include <sys/types.h>

namespace brightloom::LocalBuild::detail {

struct LaunchRequest
{
    QByteArray executable;         // absolute
    QList<QByteArray> arguments;   // without the program name
    QList<QByteArray> environment; // "NAME=value" entries, the child's whole environment
    std::optional<QByteArray> cwd; // absent: our own working directory
    int input = -1;                // becomes the child's descriptor 0
    int output = -1;               // becomes the child's descriptors 1 and 2
};

struct Launched
{
    pid_t pid = -1;  // > 0 when the child runs
    QString failure; // why it could not start, when pid <= 0
};

// Starts the child, as the leader of a process group of its own (its id is the child's). On Linux
// the child also asks to be sent SIGTERM when the calling thread ends (with it the whole client),
// so call this from a thread that lives until the child has been waited for.
Launched launch(const LaunchRequest& request);

} // namespace brightloom::LocalBuild::detail
