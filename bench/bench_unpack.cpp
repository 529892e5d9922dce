// How fast the project's unpacker, with every check on, unpacks a 200 MB zip of 2,000 mixed files,
// against `bsdtar -xf` and `unzip -q` of the same file and a plain `cp -r` of the unpacked tree.
//
//   bench_unpack                 7 alternating rounds, summary only
//   bench_unpack --rounds=N      N rounds
//
// Quote the RESULT line: the project's time over each baseline's as the median of per-round ratios
// (below 1: the project is faster), with min and max, and the longest pause of the main thread's
// 5 ms timer while the unpacker ran on the thread pool.

#include "archive/zip_extraction.h"
#include "bench_support.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <archive.h>
#include <archive_entry.h>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

namespace {

using namespace brightloom;
using namespace brightloom::bench;
using Clock = std::chrono::steady_clock;

constexpr int fileCount = 2000;
constexpr qint64 totalBytes = 200'000'000;

// Source-like text that compresses well, and random bytes (images, models) that do not.
QByteArray content(QRandomGenerator& random, int index, qint64 size)
{
    QByteArray data(size, Qt::Uninitialized);
    if (index % 4 == 3) {
        random.fillRange(reinterpret_cast<quint32*>(data.data()), size / 4);
        return data;
    }
    const QByteArray line = "    let value" + QByteArray::number(index) + " = compute(\"" +
                            QByteArray::number(random.generate()) + "\") // keeps the view in step\n";
    for (qint64 at = 0; at < size; at += line.size())
        std::memcpy(data.data() + at, line.constData(),
                    std::size_t(std::min<qint64>(line.size(), size - at)));
    return data;
}

// 2,000 files in 40 folders, sizes from a few kB to about half a MB, 200 MB in all; deflated.
void makeArchive(const QString& path)
{
    QRandomGenerator random(2000);
    archive* a = archive_write_new();
    archive_write_set_format_zip(a);
    archive_write_open_filename(a, QFile::encodeName(path).constData());
    const qint64 average = totalBytes / fileCount;
    qint64 written = 0;
    for (int i = 0; i < fileCount; ++i) {
        qint64 size = i + 1 == fileCount ? totalBytes - written
                                         : qint64(average * (0.05 + 1.9 * random.generateDouble()));
        size = std::max<qint64>(std::min(size, totalBytes - written), 0);
        written += size;
        const QByteArray data = content(random, i, size);
        archive_entry* e = archive_entry_new();
        const QByteArray name = "Sources/Module" + QByteArray::number(i % 40) + "/File" +
                                QByteArray::number(i) + (i % 4 == 3 ? ".bin" : ".swift");
        archive_entry_set_pathname(e, name.constData());
        archive_entry_set_filetype(e, AE_IFREG);
        archive_entry_set_perm(e, 0644);
        archive_entry_set_size(e, size);
        archive_write_header(a, e);
        archive_write_data(a, data.constData(), std::size_t(data.size()));
        archive_entry_free(e);
    }
    archive_write_close(a);
    archive_write_free(a);
}

bool runTool(const QString& program, const QStringList& args)
{
    QProcess process;
    process.start(program, args);
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

void runRounds(int rounds)
{
    QTemporaryDir work;
    const QString archive = work.filePath(QStringLiteral("source.zip"));
    const auto madeAt = Clock::now();
    makeArchive(archive);
    std::printf("archive: %d files, %.0f MB unpacked, %.1f MB packed (made in %.1f s)\n", fileCount,
                totalBytes / 1e6, QFileInfo(archive).size() / 1e6, seconds(Clock::now() - madeAt));

    // The tree that the plain copy copies: unpacked once by the project.
    const QString tree = work.filePath(QStringLiteral("tree"));
    QDir().mkpath(tree);
    if (!zip::extract(archive, tree).ok)
        std::abort();

    struct Contender
    {
        const char* name;
        std::function<bool(const QString& target)> unpack;
    };
    const std::vector<Contender> contenders = {
        {"project", [&](const QString& t) { return zip::extract(archive, t).ok; }},
        {"bsdtar -xf",
         [&](const QString& t) {
             return runTool(QStringLiteral("bsdtar"),
                            {QStringLiteral("-xf"), archive, QStringLiteral("-C"), t});
         }},
        {"unzip -q",
         [&](const QString& t) {
             return runTool(QStringLiteral("unzip"),
                            {QStringLiteral("-q"), archive, QStringLiteral("-d"), t});
         }},
        {"cp -r (tree)",
         [&](const QString& t) {
             return runTool(QStringLiteral("cp"),
                            {QStringLiteral("-r"), tree + QStringLiteral("/Sources"), t});
         }},
    };
    std::vector<std::vector<double>> times(contenders.size());
    std::vector<std::vector<double>> ratios(contenders.size());
    for (int r = 0; r < rounds; ++r) {
        std::vector<double> round(contenders.size());
        for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
            const std::size_t which = (turn + std::size_t(r)) % contenders.size();
            const QString target = work.filePath(QStringLiteral("out"));
            QDir(target).removeRecursively();
            QDir().mkpath(target);
            ::sync(); // each contender starts with no one else's writes in flight
            const auto began = Clock::now();
            if (!contenders[which].unpack(target))
                std::abort();
            ::sync();
            round[which] = seconds(Clock::now() - began);
            times[which].push_back(round[which]);
        }
        for (std::size_t i = 1; i < contenders.size(); ++i)
            ratios[i].push_back(round[0] / round[i]);
    }

    // The main thread while the unpacker runs on the pool.
    const QString target = work.filePath(QStringLiteral("out"));
    QDir(target).removeRecursively();
    QDir().mkpath(target);
    std::optional<zip::Result> result;
    const double gap = runWatchingTicks(zip::extractInBackground(archive, target), result);
    if (!result || !result->ok)
        std::abort();

    std::printf("\n%d alternating rounds, each writing the whole tree and syncing it to disk\n", rounds);
    std::printf("  %-16s %9s\n", "", "median s");
    for (std::size_t i = 0; i < contenders.size(); ++i)
        std::printf("  %-16s %9.3f\n", contenders[i].name, spread(times[i]).median);
    std::printf("\n  project time / baseline time, per round (<1: project faster)\n");
    std::printf("  %-16s %7s %7s %7s\n", "", "median", "min", "max");
    for (std::size_t i = 1; i < contenders.size(); ++i) {
        const Spread s = spread(ratios[i]);
        std::printf("  %-16s %7.3f %7.3f %7.3f\n", contenders[i].name, s.median, s.min, s.max);
    }
    std::printf("  longest main-thread gap (5 ms timer) while unpacking on the pool: %.1f ms\n", gap);
    const Spread tar = spread(ratios[1]), unz = spread(ratios[2]), copy = spread(ratios[3]);
    std::printf("\n  goals: <= 1.05x bsdtar: %s (%.3f); <= 1.4x plain copy: %s (%.3f)\n",
                tar.median <= 1.05 ? "met" : "NOT met", tar.median, copy.median <= 1.4 ? "met" : "NOT met",
                copy.median);
    std::printf(
        "RESULT {\"project_vs_bsdtar_median\":%.4f,\"project_vs_bsdtar_min\":%.4f,"
        "\"project_vs_bsdtar_max\":%.4f,\"project_vs_unzip_median\":%.4f,\"project_vs_copy_median\":%.4f,"
        "\"project_vs_copy_min\":%.4f,\"project_vs_copy_max\":%.4f,\"longest_gap_ms\":%.1f,\"rounds\":%d}\n",
        tar.median, tar.min, tar.max, unz.median, copy.median, copy.min, copy.max, gap, rounds);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    int rounds = 7;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.rfind("--rounds=", 0) == 0)
            rounds = std::max(1, std::atoi(arg.c_str() + 9));
    }
    runRounds(rounds);
    return 0;
}
