// Commands of the local build: turning a job's source into a signed app on this machine.

#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "localbuild/local_build.h"
#include "service/api.h"
#include "service/api_error.h"
#include "text/control_characters.h"

#include <cstdio>

namespace brightloom::cli {

namespace {

// Tool output and progress go to standard error as they come, so that standard output holds only
// the result. Called from the runner's threads too; stdio serialises the writes.
void progress(const QString& output)
{
    const QByteArray bytes = text::visibleControls(output).toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace

QCoro::Task<int> buildSource(API& api, Arguments args)
{
    const QString url = args.positional(0, "source URL");
    const QString job = args.required(QStringLiteral("job"));
    const std::optional<QString> version = args.option(QStringLiteral("version"));

    // A refusal or failure is thrown; the caller prints its text alone and exits with 1.
    LocalBuild::checkBundleVersion(version);
    const QString folder = co_await LocalBuild::fetchSource(api, url, job);

    // Without a toolchain the vetted source is the result: its folder is printed as it stands.
    if (!co_await LocalBuild::toolchainVersion()) {
        progress(QStringLiteral(
            "No Swift toolchain answers, so the source was fetched and vetted but not built.\n"));
        out(folder);
        co_return 0;
    }

    // Assets are optional: the app is built without them when they cannot be had.
    QString skipped;
    try {
        co_await LocalBuild::fetchAssets(folder, &progress);
    } catch (const std::exception& e) {
        skipped = QStringLiteral("Assets skipped: ") + QString::fromUtf8(e.what()) + QLatin1Char('\n');
    }
    if (!skipped.isEmpty())
        progress(skipped);

    const std::optional<QByteArray> errors = co_await LocalBuild::compile(folder, &progress);
    if (errors)
        throw APIError(QStringLiteral("The app did not compile; the compiler's output is above."));

    const QString saved = co_await LocalBuild::package(folder, job, version);
    out(saved);
    co_return 0;
}

} // namespace brightloom::cli
