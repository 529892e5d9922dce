#include "compile.h"

#include "platform/tool_paths.h"
#include "threads/release_in_background.h"

namespace brightloom::LocalBuild {

namespace {

QStringList swiftArguments(const char* first, const char* second)
{
    QStringList arguments;
    arguments << QStringLiteral("swift") << QString::fromLatin1(first);
    if (second)
        arguments << QString::fromLatin1(second);
    return arguments;
}

} // namespace

QCoro::Task<std::optional<QString>> toolchainVersion(Limits limits)
{
    const Output answer =
        co_await run(toolPath(QStringLiteral("xcrun")), swiftArguments("--version", nullptr), std::nullopt,
                     limits.until(limits.toolchainCheck));
    if (answer.code != 0)
        co_return std::nullopt;
    const QStringList lines = answer.text().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (lines.isEmpty())
        co_return std::nullopt;
    co_return lines.first();
}

QCoro::Task<std::optional<QByteArray>> compile(QString dir, OutputObserver log, Limits limits)
{
    QStringList arguments = swiftArguments("build", "-c");
    arguments << QStringLiteral("release");
    Output built = co_await run(toolPath(QStringLiteral("xcrun")), arguments, dir,
                                limits.until(limits.compile), QMap<QString, QString>(), std::move(log));
    if (built.code == 0) {
        // A build may have written a hundred megabytes that nobody reads now.
        releaseInBackground(std::move(built.output));
        co_return std::nullopt;
    }
    co_return std::move(built.output);
}

} // namespace brightloom::LocalBuild
