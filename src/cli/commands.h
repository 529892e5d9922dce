#pragma once

#include "arguments.h"

#include <QStringList>
#include <chrono>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {
class API;
}

namespace brightloom::cli {

// A command gets the words after its name, checked against its description in the command table,
// and answers the process's exit status. Failures are thrown; the caller prints their text.
using Command = QCoro::Task<int> (*)(API& api, Arguments args);

// The code that runs each command of the table.
struct Runner
{
    const char* name;
    Command run;
};
const QList<Runner>& runners();

// Signing in and out, and the project list.
QCoro::Task<int> login(API& api, Arguments args);
QCoro::Task<int> signup(API& api, Arguments args);
QCoro::Task<int> logout(API& api, Arguments args);
QCoro::Task<int> session(API& api, Arguments args);
QCoro::Task<int> projects(API& api, Arguments args);

// Projects, the library, the gallery, GitHub and the build machines.
QCoro::Task<int> newProject(API& api, Arguments args);
QCoro::Task<int> show(API& api, Arguments args);
QCoro::Task<int> sendMessage(API& api, Arguments args);
QCoro::Task<int> download(API& api, Arguments args);
QCoro::Task<int> library(API& api, Arguments args);
QCoro::Task<int> fork(API& api, Arguments args);
QCoro::Task<int> gallery(API& api, Arguments args);
QCoro::Task<int> favorite(API& api, Arguments args);
QCoro::Task<int> github(API& api, Arguments args);
QCoro::Task<int> workerStatus(API& api, Arguments args);

// The names a shell completion offers ("projects" or "slugs"), one per line; ends the
// application, with status 1 and nothing printed when the service gives no answer within a second.
QCoro::Task<> completeNames(QString kind);

// The local build: fetch and vet a job's source, printing its project folder.
QCoro::Task<int> buildSource(API& api, Arguments args);

// Following a project's newest job to its end, building source jobs on this machine.
QCoro::Task<int> follow(API& api, Arguments args);
// Polls every `interval` instead of the screen's own rhythm when given. Answers 0 when the newest
// job is built, 1 when it failed.
QCoro::Task<int> followProject(API& api, QString projectId,
                               std::optional<std::chrono::milliseconds> interval);
// The --interval option in seconds, if given.
std::optional<std::chrono::milliseconds> pollInterval(const Arguments& args);

} // namespace brightloom::cli
