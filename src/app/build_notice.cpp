#include "build_notice.h"

namespace brightloom {
namespace {

bool isActive(const std::optional<Job>& job)
{
    return job && (job->status == QLatin1String("queued") || job->status == QLatin1String("building"));
}

bool isSourceJob(const Job& job)
{
    return job.mode == QStringLiteral("source") || job.mode == QStringLiteral("source-fix");
}

} // namespace

std::optional<BuildNotice> BuildNotice::forJob(const QString& projectName, const std::optional<Job>& before,
                                               const std::optional<Job>& after)
{
    // Only the same job ending counts: a first look at a finished project tells nothing new.
    if (!before || !after || before->id != after->id || !isActive(before))
        return std::nullopt;
    if (after->status == QLatin1String("failed"))
        return BuildNotice{projectName, QStringLiteral("The build failed.")};
    if (after->status != QLatin1String("ready"))
        return std::nullopt;
    // The source of a build on this machine is only the start; its own notice comes when it ends.
    if (isSourceJob(*after))
        return std::nullopt;
    return BuildNotice{projectName, QStringLiteral("Your app is ready to download.")};
}

std::optional<BuildNotice> BuildNotice::forLocalBuild(const QString& projectName, const LocalState& state)
{
    if (state.phase == LocalState::Phase::done)
        return BuildNotice{projectName, QStringLiteral("Compiled on this Mac and saved.")};
    if (state.phase == LocalState::Phase::failed)
        return BuildNotice{projectName, QStringLiteral("Could not build on this Mac.")};
    return std::nullopt;
}

} // namespace brightloom
