#include "process_end.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace brightloom {

namespace {

std::array<std::atomic<void (*)()>, 8> hooks{};
std::atomic<std::size_t> hookCount{0};

} // namespace

void atProcessEnd(void (*hook)())
{
    const std::size_t slot = hookCount.fetch_add(1);
    if (slot < hooks.size())
        hooks[slot].store(hook);
}

void endProcess(int status)
{
    const std::size_t count = std::min(hookCount.load(), hooks.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (void (*hook)() = hooks[i].load())
            hook();
    }
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}

} // namespace brightloom
