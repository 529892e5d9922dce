#pragma once

// The Swift toolchain: whether one answers, and the release build of a package.

#include "build_limits.h"
#include "process_runner.h"

#include <QString>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom::LocalBuild {

// The toolchain's first version line as it prints it, or nothing when no toolchain answers.
QCoro::Task<std::optional<QString>> toolchainVersion(Limits limits = {});

// Builds the package in `dir` for release, handing every chunk of the build's output to `log` (from
// any thread) as it arrives. Answers nothing when it built, else the build's whole output: compiler
// errors, a toolchain that could not start, or a build stopped at its time limit alike.
QCoro::Task<std::optional<QByteArray>> compile(QString dir, OutputObserver log, Limits limits = {});

} // namespace brightloom::LocalBuild
