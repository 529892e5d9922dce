#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "service/api.h"

#include <QCoreApplication>
#include <QTimer>
#include <cstdio>

namespace brightloom::cli {

const QList<CommandInfo>& commands()
{
    static const QList<CommandInfo> list = {
        {"login", &login, "login --email E --password P | login --browser"},
        {"signup", &signup, "signup --name N --email E --password P"},
        {"logout", &logout, "logout"},
        {"session", &session, "session"},
        {"projects", &projects, "projects [--json]"},
        {"new", &newProject, "new \"PROMPT\" [--local] [--import-repo URL] [--import-ref REF]"},
        {"show", &show, "show PROJECT [--json]"},
        {"send", &sendMessage, "send PROJECT \"TEXT\""},
        {"download", &download, "download PROJECT [--dmg|--zip]"},
        {"library", &library, "library [PROJECT] [--json]"},
        {"fork", &fork, "fork JOB"},
        {"gallery", &gallery, "gallery [--favorites] [--json]"},
        {"favorite", &favorite, "favorite SLUG on|off"},
        {"github", &github, "github PROJECT [repos|link REPO|unlink|push] [--json]"},
        {"worker-status", &workerStatus, "worker-status [--json]"},
        {"build-source", &buildSource, "build-source URL --job ID"},
    };
    return list;
}

namespace {

QString usage()
{
    QString text = QStringLiteral("usage: brightloom-cli COMMAND [ARGUMENTS]\n\ncommands:");
    for (const CommandInfo& command : commands())
        text += QStringLiteral("\n  ") + QString::fromLatin1(command.usage);
    return text;
}

// Runs one command and ends the application with its status. Every failure ends as its text alone
// on one line of standard error, and status 1.
QCoro::Task<> runCommand(QStringList words)
{
    int status = 1;
    try {
        API api;
        const QString name = words.value(0);
        const CommandInfo* found = nullptr;
        for (const CommandInfo& command : commands()) {
            if (name == QLatin1String(command.name))
                found = &command;
        }
        if (name == QLatin1String("help") || name == QLatin1String("--help")) {
            out(usage());
            status = 0;
        } else if (!found) {
            throw UsageError(name.isEmpty() ? QStringLiteral("no command given")
                                            : QStringLiteral("unknown command ") + name);
        } else {
            status = co_await found->run(api, words.mid(1));
        }
    } catch (const UsageError& e) {
        err(QString::fromUtf8(e.what()));
        err(usage());
        status = 2;
    } catch (const std::exception& e) {
        err(QString::fromUtf8(e.what()));
        status = 1;
    }
    QCoreApplication::exit(status);
}

} // namespace
} // namespace brightloom::cli

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    const QStringList words = QCoreApplication::arguments().mid(1);
    QTimer::singleShot(0, &app, [words] { brightloom::cli::runCommand(words); });
    return app.exec();
}
