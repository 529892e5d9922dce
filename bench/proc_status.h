#pragma once

// One number from /proc/self/status (Linux): the field's value as the kernel writes it, or -1.

#include <fstream>
#include <string>

namespace brightloom::bench {

inline long long statusValue(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(field) + ":";
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0)
            return std::stoll(line.substr(prefix.size()));
    }
    return -1;
}

} // namespace brightloom::bench
