// Starting a project from a description, through the new project screen's own model.

#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "conversation/new_project_view.h"
#include "localbuild/local_builds.h"
#include "service/api.h"
#include "service/api_error.h"
#include "settle.h"
#include "terminal_dialogs.h"

namespace brightloom::cli {
namespace {

// The flags answer the screen's two questions; a question without a flag is asked on the terminal.
void prepareAnswers(TerminalDialogs& dialogs, const Arguments& args)
{
    std::optional<QString> compile;
    if (args.flag(QStringLiteral("yes")))
        compile = QStringLiteral("Compile on this Mac");
    dialogs.prepare(QStringLiteral("Compile on this Mac?"), compile,
                    QStringLiteral("add --yes to compile on this Mac, or --cloud to build in the cloud."));
    std::optional<QString> import;
    if (args.flag(QStringLiteral("import")))
        import = QStringLiteral("Import and build");
    else if (args.flag(QStringLiteral("no-import")))
        import = QStringLiteral("Build without importing");
    dialogs.prepare(
        QStringLiteral("Build from the GitHub repo "), import,
        QStringLiteral("add --import to import the repository, or --no-import to build without it."));
}

} // namespace

QCoro::Task<int> newProject(API& api, Arguments args)
{
    const QString prompt = args.positional(0, "prompt");
    if (args.flag(QStringLiteral("local")) && args.flag(QStringLiteral("cloud")))
        throw UsageError(QStringLiteral("--local and --cloud exclude each other"));
    if (args.flag(QStringLiteral("import")) && args.flag(QStringLiteral("no-import")))
        throw UsageError(QStringLiteral("--import and --no-import exclude each other"));
    const auto interval = pollInterval(args);

    LocalBuilds local;
    TerminalDialogs dialogs;
    prepareAnswers(dialogs, args);
    std::optional<QString> created;
    const std::function<void(QString)> onCreated = [&created](QString id) { created = std::move(id); };
    NewProjectView view(api, local, dialogs, onCreated);
    if (args.flag(QStringLiteral("local")))
        view.setLocationForThisRun(NewProjectView::local);
    else if (args.flag(QStringLiteral("cloud")))
        view.setLocationForThisRun(NewProjectView::cloud);
    view.setPrompt(prompt);

    // As the screen does when it is shown, and then as the user pressing Return.
    view.appear();
    while (view.checkingToolchain())
        co_await nextChange(&view, &NewProjectView::checkingToolchainChanged);
    view.build();
    while (view.busy())
        co_await nextChange(&view, &NewProjectView::busyChanged);

    if (!created) {
        if (dialogs.refusal())
            throw AnswerNeeded(*dialogs.refusal());
        if (view.error())
            throw APIError(*view.error());
        throw APIError(QStringLiteral("Cancelled; nothing was created."));
    }
    out(*created);
    if (args.flag(QStringLiteral("follow")))
        co_return co_await followProject(api, *created, interval);
    co_return 0;
}

} // namespace brightloom::cli
