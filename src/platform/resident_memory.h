#pragma once

// The process's resident memory: what the window reports at its first screen when asked, and what
// the benchmarks and their yardstick programs measure.

#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace brightloom {

// Resident bytes now (Linux); elsewhere the peak so far, the nearest the system tells (bytes on a
// Mac). -1 when unknown.
inline long long residentBytes()
{
#if defined(__linux__)
    long long pages = 0, resident = -1;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%lld %lld", &pages, &resident) != 2)
            resident = -1;
        std::fclose(statm);
    }
    return resident < 0 ? -1 : resident * ::sysconf(_SC_PAGESIZE);
#else
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<long long>(usage.ru_maxrss);
#endif
}

} // namespace brightloom
