#pragma once

// Fetching the files that assets.json declares into the project's ".assets" folder.

#include "build_limits.h"
#include "process_runner.h"

#include <QString>
#include <cstdint>
#include <qcoro/qcorotask.h>

namespace brightloom::LocalBuild {

// The most bytes the assets of one app may add up to (150 MiB; the refusal calls it 157 MB).
constexpr std::int64_t maxAssetBytes = 157'286'400;

// When "<project>/assets.json" exists: makes ".assets" anew and, entry by entry, clones only the
// declared paths of each repository (one commit deep, contents only for those paths) into
// ".assets-src<i>" and copies its regular files into ".assets/<folder>". `log` gets a line when an
// entry starts and when all are ready. Throws Rejected for a rule assets.json breaks or assets that
// are too large, APIError "Could not download assets from …" for a failed git step, AssetsDecodeError
// and FileError as they come. What was copied before a failure stays.
QCoro::Task<> fetchAssets(QString project, OutputObserver log, Limits limits = {});

} // namespace brightloom::LocalBuild
