#pragma once

#include "build_limits.h"

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;

// The steps a local build runs, in order. The controller only sequences them; the real steps are
// the local build's own, and a front end or test may give others.
struct LocalPipeline
{
    // Takes tool output; may be called from any thread.
    using Log = std::function<void(const QString&)>;

    // Downloads, unpacks and vets a job's source; answers the project folder.
    std::function<QCoro::Task<QString>(API& api, QString sourceUrl, QString job)> fetchSource;
    // Fetches the assets the source declares; throws when they cannot be had.
    std::function<QCoro::Task<>(QString dir, Log log)> fetchAssets;
    // Compiles the project; answers the compiler's output (UTF-8) when it failed, or nothing when it
    // built.
    std::function<QCoro::Task<std::optional<QByteArray>>(QString dir, Log log)> compile;
    // Assembles, signs and saves the app; answers the saved bundle's path.
    std::function<QCoro::Task<QString>(QString dir, QString job, std::optional<QString> version)> package;

    // The local build's own steps, with the standard time limits unless others are given.
    static LocalPipeline standard(LocalBuild::Limits limits = {});
};

} // namespace brightloom
