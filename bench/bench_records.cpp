// How fast the project decodes a large library reply, against simdjson's on-demand parser and
// QJsonDocument filling the same records from the same bytes.
//
//   bench_records                          the alternating-rounds summary only
//   bench_records --rounds=N               N rounds instead of 15 (0: no summary)
//   bench_records --benchmark_filter=RE    also Google Benchmark's own entries matching RE (BM_Project,
//                                          BM_Simdjson, BM_QJsonDocument), before the summary
//
// The summary is the figure to quote. The machines are shared and vary by a fifth from one run to the
// next, so each round times every decoder once, in rotating order, and what is reported is the spread
// of the per-round speed ratios: noise that hits a whole round cancels out of them.

#include "baseline_decoders.h"
#include "library_reply.h"
#include "service/record_codec.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace brightloom;
using namespace brightloom::bench;

constexpr int appCount = 20'000;
constexpr int versionsPerApp = 5;
constexpr std::uint64_t seed = 0xB71647100Dull;
constexpr int defaultRounds = 15;
// The project is meant to reach at least half of simdjson's speed.
constexpr double goalVsSimdjson = 0.5;

struct Decoder
{
    const char* name;
    std::function<LibraryResp(QByteArrayView)> decode;
};

[[noreturn]] void die(const std::string& why)
{
    std::fprintf(stderr, "bench_records: %s\n", why.c_str());
    std::fflush(stdout);
    std::abort();
}

std::string show(const QString& s)
{
    std::string quoted(1, '"');
    quoted += s.toStdString();
    quoted += '"';
    return quoted;
}
std::string show(const std::optional<QString>& s)
{
    return s ? show(*s) : std::string("(absent)");
}
std::string show(bool b)
{
    return b ? "true" : "false";
}
std::string show(const std::optional<bool>& b)
{
    return b ? show(*b) : std::string("(absent)");
}

template <class T> bool differs(std::string& out, const std::string& where, const T& want, const T& got)
{
    if (want == got)
        return false;
    out = where + ": expected " + show(want) + ", got " + show(got);
    return true;
}

// Names the first field that differs, so a failed comparison says where to look.
std::string firstDifference(const LibraryResp& want, const LibraryResp& got)
{
    std::string d;
    if (want.apps.size() != got.apps.size())
        return "expected " + std::to_string(want.apps.size()) + " apps, got " +
               std::to_string(got.apps.size());
    for (qsizetype i = 0; i < want.apps.size(); ++i) {
        const LibraryApp& w = want.apps[i];
        const LibraryApp& g = got.apps[i];
        if (w == g)
            continue;
        const std::string at = "apps[" + std::to_string(i) + "]";
        if (differs(d, at + ".projectId", w.projectId, g.projectId) ||
            differs(d, at + ".name", w.name, g.name) ||
            differs(d, at + ".templatePublic", w.templatePublic, g.templatePublic) ||
            differs(d, at + ".unsafe", w.unsafe, g.unsafe))
            return d;
        if (w.versions.size() != g.versions.size())
            return at + ": expected " + std::to_string(w.versions.size()) + " versions, got " +
                   std::to_string(g.versions.size());
        for (qsizetype j = 0; j < w.versions.size(); ++j) {
            const LibraryVersion& wv = w.versions[j];
            const LibraryVersion& gv = g.versions[j];
            const std::string vat = at + ".versions[" + std::to_string(j) + "]";
            if (differs(d, vat + ".jobId", wv.jobId, gv.jobId) ||
                differs(d, vat + ".version", wv.version, gv.version) ||
                differs(d, vat + ".appName", wv.appName, gv.appName) ||
                differs(d, vat + ".summary", wv.summary, gv.summary) ||
                differs(d, vat + ".downloadUrl", wv.downloadUrl, gv.downloadUrl) ||
                differs(d, vat + ".dmgUrl", wv.dmgUrl, gv.dmgUrl) ||
                differs(d, vat + ".hasSource", wv.hasSource, gv.hasSource) ||
                differs(d, vat + ".createdAt", wv.createdAt, gv.createdAt))
                return d;
        }
        return at + " differs";
    }
    return {};
}

// The baselines only count if they are as strict as the project: small documents that each of the
// three must accept or refuse alike, and decode alike when they accept.
std::size_t checkSameRules(const std::array<Decoder, 3>& decoders)
{
    const std::string appText = R"("projectId":"p","name":"n","templatePublic":false)";
    const std::string version =
        R"("jobId":"j","version":"1","appName":"A","downloadUrl":"u","hasSource":true,)"
        R"("createdAt":"2024-01-01T00:00:00.000Z")";
    const auto withApp = [&](const std::string& extra) {
        return R"({"apps":[{)" + appText + R"(,"versions":[])" + extra + "}]}";
    };
    const auto withVersion = [&](const std::string& fields) {
        return R"({"apps":[{)" + appText + R"(,"versions":[{)" + fields + "}]}]}";
    };
    const std::vector<std::pair<std::string, bool>> cases = {
        {R"({"apps":[]})", true},
        {withApp(""), true},
        {withApp(R"(,"unsafe":null)"), true},
        {withApp(R"(,"unsafe":true,"thumbnail":{"x":[1,{"y":null}],"z":"w"})"), true},
        {withVersion(version), true},
        {withVersion(version + R"(,"summary":null,"dmgUrl":"d","extra":[true,2.5])"), true},
        {withVersion(version + R"(,"summary":"caf\u00e9 \"quoted\"\n","dmgUrl":null)"), true},
        {R"({"app\u0073":[]})", true},
        {R"({"other":1})", false},
        {R"({"apps":null})", false},
        {R"({"apps":{}})", false},
        {R"({"apps":[null]})", false},
        {R"({"apps":[1]})", false},
        {R"({"apps":[{"projectId":"p","name":"n","versions":[]}]})", false},
        {R"({"apps":[{"projectId":"p","name":null,"versions":[],"templatePublic":false}]})", false},
        {R"({"apps":[{"projectId":"p","name":"n","versions":[],"templatePublic":"no"}]})", false},
        {withApp(R"(,"unsafe":1)"), false},
        {R"({"apps":[{)" + appText + R"(,"versions":null}]})", false},
        {R"({"apps":[{)" + appText + R"(,"versions":[null]}]})", false},
        {withVersion(version + R"(,"summary":7)"), false},
        {withVersion(version + R"(,"hasSource":null)"), false},
        {withVersion(R"("jobId":"j","version":"1","appName":"A","downloadUrl":"u","hasSource":true)"), false},
        {R"([])", false},
        {R"({"apps":[]} x)", false},
        {R"({"apps":[})", false},
        {"", false},
    };

    for (const auto& [json, valid] : cases) {
        const QByteArrayView bytes(json.data(), qsizetype(json.size()));
        std::optional<LibraryResp> first;
        for (const Decoder& d : decoders) {
            std::optional<LibraryResp> result;
            std::string error;
            try {
                result = d.decode(bytes);
            } catch (const DecodeError& e) {
                error = e.what();
            }
            if (result.has_value() != valid)
                die(std::string(d.name) + (valid ? " refuses " : " accepts ") + json +
                    (error.empty() ? std::string() : " (" + error + ")"));
            if (!result)
                continue;
            if (!first)
                first = std::move(result);
            else if (const std::string diff = firstDifference(*first, *result); !diff.empty())
                die(std::string(d.name) + " reads " + json + " differently: " + diff);
        }
    }
    return cases.size();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

struct Spread
{
    double median, min, max;
};

Spread spread(const std::vector<double>& values)
{
    const auto [lo, hi] = std::minmax_element(values.begin(), values.end());
    return {median(values), *lo, *hi};
}

void registerLibraryBenchmarks(const std::array<Decoder, 3>& decoders, const QByteArray& json)
{
    static constexpr std::array<const char*, 3> names{"BM_Project", "BM_Simdjson", "BM_QJsonDocument"};
    for (std::size_t i = 0; i < decoders.size(); ++i) {
        const Decoder& d = decoders[i];
        benchmark::RegisterBenchmark(names[i],
                                     [&d, &json](benchmark::State& state) {
                                         for (auto _ : state) {
                                             LibraryResp result = d.decode(json);
                                             benchmark::DoNotOptimize(result);
                                             // Freeing the records costs all three the same; it
                                             // would only blur the difference.
                                             state.PauseTiming();
                                             result = LibraryResp{};
                                             state.ResumeTiming();
                                         }
                                         state.SetBytesProcessed(std::int64_t(state.iterations()) *
                                                                 json.size());
                                     })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
}

void runRounds(const std::array<Decoder, 3>& decoders, const QByteArray& json, int rounds)
{
    using Clock = std::chrono::steady_clock;
    std::array<std::vector<double>, 3> seconds;
    for (int r = 0; r < rounds; ++r) {
        // Rotating who goes first spreads any first-in-round effect (caches, the allocator's state
        // after the previous decoder freed its records) evenly across the three.
        for (std::size_t k = 0; k < decoders.size(); ++k) {
            const std::size_t i = (std::size_t(r) + k) % decoders.size();
            const auto start = Clock::now();
            LibraryResp result = decoders[i].decode(json);
            const auto stop = Clock::now();
            benchmark::DoNotOptimize(result);
            seconds[i].push_back(std::chrono::duration<double>(stop - start).count());
        }
    }

    // Speed ratio project / baseline is baseline time / project time; above 1 the project is faster.
    std::array<std::vector<double>, 3> ratios;
    for (std::size_t b = 1; b < decoders.size(); ++b) {
        for (int r = 0; r < rounds; ++r)
            ratios[b].push_back(seconds[b][std::size_t(r)] / seconds[0][std::size_t(r)]);
    }
    const Spread vsSimdjson = spread(ratios[1]);
    const Spread vsQJson = spread(ratios[2]);
    std::array<double, 3> mbps{};
    std::array<double, 3> medianMs{};
    for (std::size_t i = 0; i < decoders.size(); ++i) {
        const double m = median(seconds[i]);
        medianMs[i] = m * 1e3;
        mbps[i] = double(json.size()) / m / 1e6;
    }

    std::printf("\n%d alternating rounds (MB = 10^6 bytes)\n", rounds);
    std::printf("  %-15s %10s %9s\n", "decoder", "median ms", "MB/s");
    for (std::size_t i = 0; i < decoders.size(); ++i)
        std::printf("  %-15s %10.1f %9.1f\n", decoders[i].name, medianMs[i], mbps[i]);
    std::printf("\n  project speed / baseline speed, per round (>1: project faster)\n");
    std::printf("  %-19s %7s %7s %7s\n", "", "median", "min", "max");
    std::printf("  %-19s %7.3f %7.3f %7.3f\n", "vs simdjson", vsSimdjson.median, vsSimdjson.min,
                vsSimdjson.max);
    std::printf("  %-19s %7.3f %7.3f %7.3f\n", "vs QJsonDocument", vsQJson.median, vsQJson.min, vsQJson.max);
    std::printf("\n  goal, at least %.2fx simdjson: %s (median %.3f)\n", goalVsSimdjson,
                vsSimdjson.median >= goalVsSimdjson ? "met" : "NOT met", vsSimdjson.median);
    std::printf("RESULT {\"project_vs_simdjson_median\":%.4f,\"project_vs_simdjson_min\":%.4f,"
                "\"project_vs_simdjson_max\":%.4f,\"project_vs_qjson_median\":%.4f,"
                "\"project_vs_qjson_min\":%.4f,\"project_vs_qjson_max\":%.4f,\"project_mbps\":%.1f,"
                "\"simdjson_mbps\":%.1f,\"qjson_mbps\":%.1f}\n",
                vsSimdjson.median, vsSimdjson.min, vsSimdjson.max, vsQJson.median, vsQJson.min, vsQJson.max,
                mbps[0], mbps[1], mbps[2]);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    int rounds = defaultRounds;
    bool libraryEntries = false;
    std::vector<char*> args{argv[0]};
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg.starts_with("--rounds=")) {
            char* end = nullptr;
            const long n = std::strtol(argv[i] + 9, &end, 10);
            if (*end != '\0' || n < 0 || n > 1000)
                die("--rounds wants a number from 0 to 1000");
            rounds = int(n);
            continue;
        }
        if (arg.starts_with("--benchmark_filter=") || arg == "--benchmark_list_tests" ||
            arg.starts_with("--benchmark_list_tests="))
            libraryEntries = true;
        args.push_back(argv[i]);
    }
    int benchArgc = int(args.size());
    args.push_back(nullptr);
    benchmark::Initialize(&benchArgc, args.data());
    if (benchmark::ReportUnrecognizedArguments(benchArgc, args.data()))
        return 2;

    const auto made = std::chrono::steady_clock::now();
    LibraryReply reply = makeLibraryReply(appCount, versionsPerApp, seed);
    const QByteArray json = reply.json;
    const double madeSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - made).count();

    SimdjsonLibraryDecoder simdjson(json);
    const std::array<Decoder, 3> decoders{
        Decoder{"project", [](QByteArrayView j) { return decodeRecord<LibraryResp>(j); }},
        // The big reply goes through the decoder that keeps its padded copy and parser; anything
        // else is one of the small rule probes.
        Decoder{"simdjson",
                [&simdjson, &json](QByteArrayView j) {
                    if (j.data() == json.constData() && j.size() == json.size())
                        return simdjson.decode();
                    return SimdjsonLibraryDecoder::decodeOnce(j);
                }},
        Decoder{"QJsonDocument", [](QByteArrayView j) { return decodeLibraryWithQJson(j); }},
    };

    std::printf("library reply: %d apps x %d versions, %.2f MB (made in %.1f s)\n", appCount, versionsPerApp,
                double(json.size()) / 1e6, madeSeconds);
    std::printf("%s\n", SimdjsonLibraryDecoder::implementation().c_str());

    const std::size_t probes = checkSameRules(decoders);
    {
        // Each decoder is held to what the generator wrote, not only to the others.
        LibraryResp expected = std::move(reply.expected);
        for (const Decoder& d : decoders) {
            LibraryResp got;
            try {
                got = d.decode(json);
            } catch (const DecodeError& e) {
                die(std::string(d.name) + " refuses the library reply: " + e.what());
            }
            if (const std::string diff = firstDifference(expected, got); !diff.empty())
                die(std::string(d.name) + " decodes the library reply wrongly: " + diff);
        }
    }
    std::printf("all three decoders match the generated records, and each other on %zu rule probes\n",
                probes);
    std::fflush(stdout);

    if (libraryEntries) {
        registerLibraryBenchmarks(decoders, json);
        benchmark::RunSpecifiedBenchmarks();
    }
    benchmark::Shutdown();

    if (rounds > 0)
        runRounds(decoders, json, rounds);
    return 0;
}
