// Repository link detection stays linear: the time per byte of a 1 MB request against that of a
// 10 KB one, both made of the same mix of prose, near-miss links and real links.
//
//   bench_repo_link [--rounds=N]

#include "bench_support.h"
#include "conversation/repo_link.h"

#include <QCoreApplication>
#include <chrono>
#include <cstdio>
#include <cstring>

using namespace brightloom;

namespace {

QString request(qsizetype size)
{
    const QString pieces[] = {
        QStringLiteral("Build me a menu bar timer like the one at "),
        QStringLiteral("github.com/a/..//github.com/-/./ "),
        QStringLiteral("https://www.github.com/octo/timer/tree/main/ "),
        QStringLiteral("with a Pomodoro countdown, tags, and a dark mode. ......///// "),
        QStringLiteral("mygithub.com/owner/repo.git "),
    };
    QString text;
    text.reserve(size);
    for (int i = 0; text.size() < size; ++i)
        text += pieces[i % 5];
    text.truncate(size);
    return text;
}

double nanosecondsPerByte(const QString& text, int repeats)
{
    const auto start = std::chrono::steady_clock::now();
    int found = 0;
    for (int i = 0; i < repeats; ++i)
        found += RepoLink::detect(text) ? 1 : 0;
    const double elapsed = bench::seconds(std::chrono::steady_clock::now() - start);
    if (found != repeats)
        std::fprintf(stderr, "no link found\n");
    return elapsed * 1e9 / (double(text.size()) * repeats);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    int rounds = 15;
    for (int i = 1; i < argc; ++i)
        if (std::strncmp(argv[i], "--rounds=", 9) == 0)
            rounds = std::atoi(argv[i] + 9);
    const QString small = request(10 * 1024);
    const QString large = request(1024 * 1024);
    nanosecondsPerByte(small, 20); // warm up the pattern and the caches
    std::vector<double> ratios;
    double smallNs = 0, largeNs = 0;
    for (int round = 0; round < rounds; ++round) {
        // Alternate which goes first, so a drifting machine favours neither.
        if (round % 2) {
            largeNs = nanosecondsPerByte(large, 1);
            smallNs = nanosecondsPerByte(small, 100);
        } else {
            smallNs = nanosecondsPerByte(small, 100);
            largeNs = nanosecondsPerByte(large, 1);
        }
        ratios.push_back(largeNs / smallNs);
        std::printf("round %d: 10 KB %.2f ns/byte, 1 MB %.2f ns/byte\n", round + 1, smallNs, largeNs);
    }
    const bench::Spread s = bench::spread(ratios);
    std::printf("repo link detection, time per byte of 1 MB over 10 KB (linear = 1.0): median %.2f "
                "(min %.2f, max %.2f) over %d rounds\n",
                s.median, s.min, s.max, rounds);
    std::printf("RESULT {\"per_byte_1mb_vs_10kb_median\":%.3f,\"per_byte_1mb_vs_10kb_min\":%.3f,"
                "\"per_byte_1mb_vs_10kb_max\":%.3f}\n",
                s.median, s.min, s.max);
    return 0;
}
