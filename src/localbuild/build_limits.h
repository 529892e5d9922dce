#pragma once

#include "process_runner.h"

#include <memory>

namespace brightloom::LocalBuild {

// Time limits, in seconds, of every tool the build runs after the source is fetched. The defaults are
// the product's; tests pass shorter ones to try each limit quickly. A cancellation, when given, ends
// every tool early.
struct Limits
{
    std::shared_ptr<const Cancellation> cancellation;

    // How a run of the tool with the limit `seconds` ends.
    RunEnd until(double seconds) const { return RunEnd(seconds, cancellation); }

    // Swift toolchain
    double toolchainCheck = 30;
    double compile = 1500;
    double findProduct = 60;
    // Signing
    double sign = 120;
    // Asset repositories
    double gitClone = 300;
    double gitFetch = 300;
    double gitCheckoutFetched = 120;
    double gitSparseCheckout = 60;
    double gitCheckout = 600;
    // Icon
    double resize = 30;
    double packIcon = 30;
    // Frameworks
    double fileCheck = 10;
    double addRunPath = 10;
};

} // namespace brightloom::LocalBuild
