#pragma once

// Unpacks zip archives from the service: keeps the archive's paths, permissions (less set-user-id
// and set-group-id) and inner symbolic links, but never writes through a link, never outside the
// target folder, and stops at limits no honest archive reaches.

#include <QString>
#include <cstdint>

namespace brightloom::zip {

struct Limits
{
    std::int64_t maxEntries = 100'000;
    std::int64_t maxBytes = std::int64_t(2) << 30; // unpacked, all entries together
    std::int64_t maxMilliseconds = 0;              // 0: no time limit
};

struct Result
{
    bool ok = false;
    QString error; // what went wrong, as a sentence; empty when ok
    std::int64_t entries = 0;
    std::int64_t bytes = 0;
};

// Unpacks `archive` into the existing folder `target`. Blocks: call it off the main thread.
Result extract(const QString& archive, const QString& target, Limits limits = {});

} // namespace brightloom::zip
