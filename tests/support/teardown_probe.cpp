// Loaded into a program under test with LD_PRELOAD: says so on standard error when the libraries'
// teardown runs at the program's exit.

#include <unistd.h>

namespace {

__attribute__((destructor)) void teardownRan()
{
    static const char said[] = "library teardown ran\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, said, sizeof said - 1);
}

} // namespace
