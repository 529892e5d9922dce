#pragma once

#include <QStringList>
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

} // namespace brightloom::cli
