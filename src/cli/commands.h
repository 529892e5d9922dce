#pragma once

#include <QStringList>
#include <chrono>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {
class API;
}

namespace brightloom::cli {

// A command gets the words after its name and answers the process's exit status. Failures are
// thrown; the caller prints their text.
using Command = QCoro::Task<int> (*)(API& api, QStringList words);

struct CommandInfo
{
    const char* name;
    Command run;
    const char* usage;
};

// Every command, in the order the help lists them.
const QList<CommandInfo>& commands();

// Signing in and out, and the project list.
QCoro::Task<int> login(API& api, QStringList words);
QCoro::Task<int> signup(API& api, QStringList words);
QCoro::Task<int> logout(API& api, QStringList words);
QCoro::Task<int> session(API& api, QStringList words);
QCoro::Task<int> projects(API& api, QStringList words);

// Projects, the library, the gallery, GitHub and the build machines.
QCoro::Task<int> newProject(API& api, QStringList words);
QCoro::Task<int> show(API& api, QStringList words);
QCoro::Task<int> sendMessage(API& api, QStringList words);
QCoro::Task<int> download(API& api, QStringList words);
QCoro::Task<int> library(API& api, QStringList words);
QCoro::Task<int> fork(API& api, QStringList words);
QCoro::Task<int> gallery(API& api, QStringList words);
QCoro::Task<int> favorite(API& api, QStringList words);
QCoro::Task<int> github(API& api, QStringList words);
QCoro::Task<int> workerStatus(API& api, QStringList words);

// The local build: fetch and vet a job's source, printing its project folder.
QCoro::Task<int> buildSource(API& api, QStringList words);

// Following a project's newest job to its end, building source jobs on this machine.
QCoro::Task<int> follow(API& api, QStringList words);
// Polls every `interval` instead of the screen's own rhythm when given. Answers 0 when the newest
// job is built, 1 when it failed.
QCoro::Task<int> followProject(API& api, QString projectId,
                               std::optional<std::chrono::milliseconds> interval);
class Arguments;
// The --interval option in seconds, if given.
std::optional<std::chrono::milliseconds> pollInterval(const Arguments& args);

} // namespace brightloom::cli
