#include "process_end.h"

#include <cstdio>
#include <cstdlib>

namespace brightloom {

void endProcess(int status)
{
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}

} // namespace brightloom
