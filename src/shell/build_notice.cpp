#include "build_notice.h"

namespace brightloom {

std::optional<BuildNotice> BuildNotice::forJob(const QString& projectName, const std::optional<Job>& before,
                                               const std::optional<Job>& after)
{
    // Only the same job ending counts: a first look at a finished project tells nothing new.
    if (!before || !after || before->id != after->id || !before->isActive())
        return std::nullopt;
    if (after->status == JobStatus::failed)
        return BuildNotice{projectName, QStringLiteral("The build failed.")};
    if (after->status != JobStatus::ready)
        return std::nullopt;
    // The source of a build on this machine is only the start; its own notice comes when it ends.
    if (after->isSourceBuild())
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
