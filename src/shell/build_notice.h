#pragma once

#include "localbuild/local_state.h"
#include "service/records.h"

#include <QString>
#include <optional>

namespace brightloom {

// A desktop notification about a build that ended while the user looked elsewhere.
struct BuildNotice
{
    QString title; // the project's name
    QString body;

    bool operator==(const BuildNotice&) const = default;

    // The open project's newest job moved from queued or building to ready or failed.
    static std::optional<BuildNotice> forJob(const QString& projectName, const std::optional<Job>& before,
                                             const std::optional<Job>& after);
    // A build on this machine ended, done or failed.
    static std::optional<BuildNotice> forLocalBuild(const QString& projectName, const LocalState& state);
};

} // namespace brightloom
