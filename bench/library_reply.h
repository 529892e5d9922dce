#pragma once

// A large library reply made up in memory, together with the records it must decode to, so every
// decoder in the benchmark can be checked against what was written rather than only against the others.

#include "service/records.h"

#include <QByteArray>
#include <cstdint>

namespace brightloom::bench {

struct LibraryReply
{
    QByteArray json;
    LibraryResp expected;
};

// The same arguments give the same bytes on every run and machine: the generator uses its own random
// numbers, not the standard library's distributions, whose output differs between implementations.
LibraryReply makeLibraryReply(int apps, int versionsPerApp, std::uint64_t seed);

} // namespace brightloom::bench
