#include "arguments.h"
#include "commandline/completion_scripts.h"
#include "commandline/help_text.h"
#include "commands.h"
#include "console.h"
#include "platform/process_end.h"
#include "platform/quit_on_signals.h"
#include "platform/version.h"
#include "service/api.h"
#include "service/api_error.h"
#include "terminal_dialogs.h"

#include <QGuiApplication>
#include <QTimer>
#include <cstdio>
#include <memory>

namespace brightloom::cli {

const QList<Runner>& runners()
{
    static const QList<Runner> list = {
        {"login", &login},
        {"signup", &signup},
        {"logout", &logout},
        {"session", &session},
        {"projects", &projects},
        {"new", &newProject},
        {"show", &show},
        {"send", &sendMessage},
        {"download", &download},
        {"library", &library},
        {"fork", &fork},
        {"gallery", &gallery},
        {"favorite", &favorite},
        {"github", &github},
        {"worker-status", &workerStatus},
        {"build-source", &buildSource},
        {"follow", &follow},
    };
    return list;
}

namespace {

using commandline::CommandDescription;

const QString notSignedIn = QStringLiteral("Not signed in. Run: brightloom-cli login");

// Our own text, which holds line feeds and nothing from the service.
void print(const QString& text, bool toError = false)
{
    const QString line = text.endsWith(QLatin1Char('\n')) ? text.chopped(1) : text;
    toError ? err(line) : out(line);
}

Command runnerOf(const CommandDescription& command)
{
    for (const Runner& runner : runners()) {
        if (qstrcmp(runner.name, command.name) == 0)
            return runner.run;
    }
    return nullptr;
}

// Runs one command and ends the application with its status. Every failure ends as its text alone
// on one line of standard error, and status 1.
QCoro::Task<> runCommand(const CommandDescription* command, Arguments args)
{
    int status = 1;
    try {
        API api;
        status = co_await runnerOf(*command)(api, std::move(args));
    } catch (const AnswerNeeded& e) {
        err(QString::fromUtf8(e.what()));
        status = 2;
    } catch (const UsageError& e) {
        err(QString::fromUtf8(e.what()));
        print(commandline::shortUsage(commandline::cliProgram(), *command), true);
        status = 2;
    } catch (const APIError& e) {
        // The service's "Unauthorized" says nothing about what to do.
        err(e.httpStatus() == 401 && command->needsSession ? notSignedIn : e.message());
        status = 1;
    } catch (const std::exception& e) {
        err(QString::fromUtf8(e.what()));
        status = 1;
    }
    QCoreApplication::exit(status);
}

// What the command line answers before any application is made: help, the version, and whether
// the words fit the command. Answers the exit status when that already ends the program.
std::optional<int> answerWithoutRunning(const QStringList& words, const CommandDescription*& command,
                                        Arguments& args)
{
    const commandline::ProgramDescription& program = commandline::cliProgram();
    const QString name = words.value(0);
    if (words.size() == 1 && (name == QLatin1String("--help") || name == QLatin1String("-h"))) {
        print(commandline::programHelp(program));
        return 0;
    }
    command = name.startsWith(QLatin1Char('-'))
                  ? nullptr
                  : commandline::findCommand(program, name.toUtf8().constData());
    if (!command || (!runnerOf(*command) && qstrcmp(command->name, "help") != 0)) {
        err(name.isEmpty() ? QStringLiteral("no command given") : QStringLiteral("unknown command ") + name);
        print(commandline::usageLines(program, program.own) +
                  QStringLiteral("Run \"brightloom-cli help\" for the commands.\n"),
              true);
        return 2;
    }
    try {
        args = Arguments(*command, words.mid(1));
    } catch (const UsageError& e) {
        err(QString::fromUtf8(e.what()));
        print(commandline::shortUsage(program, *command), true);
        return 2;
    }
    if (args.helpRequested()) {
        print(commandline::commandHelp(program, *command));
        return 0;
    }
    if (qstrcmp(command->name, "help") == 0) {
        if (args.positionalCount() == 0) {
            print(commandline::programHelp(program));
            return 0;
        }
        const QString asked = args.positional(0, "command");
        const CommandDescription* about = commandline::findCommand(program, asked.toUtf8().constData());
        if (!about) {
            err(QStringLiteral("unknown command ") + asked);
            print(commandline::shortUsage(program, *command), true);
            return 2;
        }
        print(commandline::commandHelp(program, *about));
        return 0;
    }
    return std::nullopt;
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
    const bool completing = words.value(0) == QLatin1String(brightloom::commandline::completeCommand);
    const brightloom::commandline::CommandDescription* command = nullptr;
    brightloom::cli::Arguments args;
    if (!completing) {
        if (const std::optional<int> status = brightloom::cli::answerWithoutRunning(words, command, args))
            return *status;
    }
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
    if (completing) {
        QTimer::singleShot(0, app.get(), [kind = words.value(1)] { brightloom::cli::completeNames(kind); });
    } else {
        QTimer::singleShot(0, app.get(), [command, args] { brightloom::cli::runCommand(command, args); });
    }
    const int status = app->exec();
    // The command saved what it changed and destroyed what it made before the loop ended, unless a
    // signal ended the loop: then endProcess's hooks end the build tools it left running.
    app.reset();
    brightloom::endProcess(status);
}
