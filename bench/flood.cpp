// Writes the given number of bytes of compiler-like text lines to standard output, 1 MiB at a time:
// the child whose output the runner benchmark collects.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

int main(int argc, char** argv)
{
    const long long total = argc > 1 ? std::atoll(argv[1]) : 1'000'000'000LL;
    std::string block;
    for (int line = 0; block.size() < (1u << 20); ++line)
        block += "/src/Sources/App/View" + std::to_string(line % 97) +
                 ".swift:12:7: warning: variable 'x' was never mutated; consider changing to 'let'\n";
    block.resize(1u << 20);
    long long left = total;
    while (left > 0) {
        const std::size_t chunk = left < (long long)block.size() ? std::size_t(left) : block.size();
        std::size_t done = 0;
        while (done < chunk) {
            const ssize_t n = ::write(1, block.data() + done, chunk - done);
            if (n <= 0)
                return 1;
            done += std::size_t(n);
        }
        left -= (long long)chunk;
    }
    return 0;
}
