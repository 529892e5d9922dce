#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "platform/process_end.h"
#include "platform/quit_on_signals.h"
#include "platform/version.h"
#include "service/api.h"
#include "terminal_dialogs.h"

#include <QGuiApplication>
#include <QTimer>
#include <cstdio>
#include <memory>

namespace brightloom::cli {

const QList<CommandInfo>& commands()
{
    static const QList<CommandInfo> list = {
        {"login", &login, "login --email E --password P | login --browser"},
        {"signup", &signup, "signup --name N --email E --password P"},
        {"logout", &logout, "logout"},
        {"session", &session, "session"},
        {"projects", &projects, "projects [--json]"},
        {"new", &newProject,
         "new \"PROMPT\" [--local|--cloud] [--yes] [--import|--no-import] [--follow [--interval SECONDS]]"},
        {"show", &show, "show PROJECT [--json]"},
        {"send", &sendMessage, "send PROJECT \"TEXT\" [--fix]"},
        {"download", &download, "download PROJECT [--dmg|--zip]"},
        {"library", &library, "library [PROJECT [--download JOB]] [--json]"},
        {"fork", &fork, "fork JOB"},
        {"gallery", &gallery,
         "gallery [--favorites] [--json] | gallery use SLUG [--follow [--interval SECONDS]]"},
        {"favorite", &favorite, "favorite SLUG on|off"},
        {"github", &github, "github PROJECT [repos|link REPO|unlink|push] [--json]"},
        {"worker-status", &workerStatus, "worker-status [--json]"},
        {"build-source", &buildSource, "build-source URL --job ID [--version V]"},
        {"follow", &follow, "follow PROJECT [--interval SECONDS]"},
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
    } catch (const AnswerNeeded& e) {
        err(QString::fromUtf8(e.what()));
        status = 2;
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

// Qt's own warnings go to standard error like any other, less the one a headless session always
// earns: the offscreen platform asks for a runtime folder that only desktop sessions have.
void filterQtMessages(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    std::fputs(qFormatLogMessage(type, context, message).toLocal8Bit().append('\n').constData(), stderr);
}

// Whether the command may build an app on this machine, whose icon is drawn with a font: only
// that needs a GUI application. The rest start as a bare core application, in a fraction of the time.
bool mayBuildLocally(const QStringList& words)
{
    const QString name = words.value(0);
    if (name == QLatin1String("follow") || name == QLatin1String("build-source"))
        return true;
    return (name == QLatin1String("new") || name == QLatin1String("gallery")) &&
           words.contains(QLatin1String("--follow"));
}

} // namespace
} // namespace brightloom::cli

int main(int argc, char** argv)
{
    if (argc == 2 && (qstrcmp(argv[1], "--version") == 0 || qstrcmp(argv[1], "version") == 0)) {
        std::printf("brightloom-cli %s\n", BRIGHTLOOM_VERSION);
        return 0;
    }
    qInstallMessageHandler(brightloom::cli::filterQtMessages);
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromLocal8Bit(argv[i]));
    // Local builds draw app icons, which needs fonts and so a GUI application; the offscreen
    // platform keeps the command line free of any display.
    std::unique_ptr<QCoreApplication> app;
    if (brightloom::cli::mayBuildLocally(words)) {
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        app = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    // Ctrl+C and a session's end stop the command through endProcess, which ends the build tools.
    brightloom::quitOnTerminationSignals(*app, brightloom::SignalStatus::shellConvention);
    QTimer::singleShot(0, app.get(), [words] { brightloom::cli::runCommand(words); });
    const int status = app->exec();
    // The command saved what it changed and destroyed what it made before the loop ended, unless a
    // signal ended the loop: then endProcess's hooks end the build tools it left running.
    app.reset();
    brightloom::endProcess(status);
}
