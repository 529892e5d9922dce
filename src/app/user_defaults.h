#pragma once

#include <QSettings>
#include <memory>

namespace brightloom {

// The user's settings store, shared by every process of the client ("buildLocation",
// "localBuildAcknowledged", "localBuiltApps").
std::unique_ptr<QSettings> userDefaults();

} // namespace brightloom
