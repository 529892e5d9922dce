#include "library_reply.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace brightloom::bench {
namespace {

// splitmix64: tiny, fast, and identical everywhere.
class Random
{
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next()
    {
        std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

    // The modulo bias is far below anything a benchmark input could care about.
    std::uint64_t below(std::uint64_t n) { return next() % n; }
    int between(int lo, int hi) { return lo + int(below(std::uint64_t(hi - lo + 1))); }
    bool percent(int p) { return below(100) < std::uint64_t(p); }

    template <std::size_t N> std::string_view pick(const std::array<std::string_view, N>& words)
    {
        return words[below(N)];
    }

private:
    std::uint64_t m_state;
};

// Compact JSON, the way the service sends it.
class JsonText
{
public:
    explicit JsonText(std::size_t reserve) { m_out.reserve(reserve); }

    void beginObject()
    {
        value();
        m_out += '{';
        m_first.push_back(true);
    }
    void endObject()
    {
        m_out += '}';
        m_first.pop_back();
    }
    void beginArray()
    {
        value();
        m_out += '[';
        m_first.push_back(true);
    }
    void endArray()
    {
        m_out += ']';
        m_first.pop_back();
    }
    void key(std::string_view k)
    {
        separate();
        quoted(k);
        m_out += ':';
        m_afterKey = true;
    }
    void string(std::string_view s)
    {
        value();
        quoted(s);
    }
    void boolean(bool b)
    {
        value();
        m_out += b ? "true" : "false";
    }
    void null()
    {
        value();
        m_out += "null";
    }
    void number(std::int64_t n)
    {
        value();
        m_out += std::to_string(n);
    }

    const std::string& text() const { return m_out; }

private:
    void value()
    {
        if (m_afterKey)
            m_afterKey = false;
        else
            separate();
    }
    void separate()
    {
        if (m_first.empty())
            return;
        if (!m_first.back())
            m_out += ',';
        m_first.back() = false;
    }
    void quoted(std::string_view s)
    {
        m_out += '"';
        for (const char c : s) {
            switch (c) {
            case '"':
                m_out += "\\\"";
                break;
            case '\\':
                m_out += "\\\\";
                break;
            case '\n':
                m_out += "\\n";
                break;
            default:
                m_out += c;
            }
        }
        m_out += '"';
    }

    std::string m_out;
    std::vector<bool> m_first;
    bool m_afterKey = false;
};

constexpr std::array<std::string_view, 16> adjectives{"Quick",  "Tiny",   "Calm",  "Bright", "Daily", "Smart",
                                                      "Simple", "Pocket", "Focus", "Swift",  "Cozy",  "Lunar",
                                                      "Retro",  "Zen",    "Pixel", "Morning"};
constexpr std::array<std::string_view, 16> nouns{
    "Notes",   "Timer",  "Budget", "Recipes",   "Habits",   "Journal",   "Weather",    "Tracker",
    "Planner", "Sketch", "Reader", "Clipboard", "Launcher", "Metronome", "Flashcards", "Pomodoro"};
constexpr std::array<std::string_view, 6> suffixes{"", "", " Pro", " Lite", " for Mac", " Studio"};
// Names people really type: accents, CJK and typographic dashes, so the UTF-8 paths get exercised.
constexpr std::array<std::string_view, 6> foreignNames{"Café Finder",  "Zürich Transit", "Señor Tacos",
                                                       "日記 Journal", "Notes — Daily",  "Crème Recipes"};
constexpr std::array<std::string_view, 8> openers{"Adds",    "Fixes",     "Improves", "Introduces",
                                                  "Reworks", "Speeds up", "Polishes", "Removes"};
constexpr std::array<std::string_view, 40> words{
    "the",     "sidebar", "toolbar", "export",   "import",  "a",       "new",       "faster",
    "search",  "sync",    "iCloud",  "settings", "window",  "menu",    "bar",       "shortcuts",
    "support", "for",     "PDF",     "files",    "and",     "widgets", "reminders", "notifications",
    "layout",  "with",    "drag",    "drop",     "undo",    "history", "colour",    "themes",
    "icons",   "crash",   "on",      "launch",   "opening", "large",   "documents", "calendar"};
constexpr std::array<std::string_view, 6> tags{"productivity", "utilities", "education",
                                               "lifestyle",    "games",     "developer-tools"};

std::string hexId(Random& rng)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string id(24, '0');
    const std::uint64_t high = rng.next();
    const std::uint64_t low = rng.next();
    for (int i = 0; i < 16; ++i)
        id[std::size_t(i)] = digits[(high >> (4 * i)) & 15];
    for (int i = 0; i < 8; ++i)
        id[std::size_t(16 + i)] = digits[(low >> (4 * i)) & 15];
    return id;
}

std::string isoTime(std::int64_t msSinceEpoch)
{
    using namespace std::chrono;
    const sys_time<milliseconds> t{milliseconds(msSinceEpoch)};
    const auto day = floor<days>(t);
    const year_month_day ymd{day};
    const hh_mm_ss hms{t - day};
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", int(ymd.year()),
                  unsigned(ymd.month()), unsigned(ymd.day()), int(hms.hours().count()),
                  int(hms.minutes().count()), int(hms.seconds().count()), int(hms.subseconds().count()));
    return text;
}

std::string appName(Random& rng)
{
    if (rng.percent(4))
        return std::string(rng.pick(foreignNames));
    std::string name(rng.pick(adjectives));
    name += ' ';
    name += rng.pick(nouns);
    name += rng.pick(suffixes);
    return name;
}

// The part of a name that can go into a download path as it is.
std::string slug(std::string_view name)
{
    std::string s;
    for (const char c : name) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
            s += c;
    }
    return s.empty() ? std::string("App") : s;
}

// 40 to about 120 characters of release notes; a few quote a phrase, break a line or leave ASCII,
// so unescaping and UTF-8 decoding are part of what gets timed.
std::string summary(Random& rng)
{
    const std::size_t target = std::size_t(rng.between(40, 108));
    std::string s(rng.pick(openers));
    if (rng.percent(3))
        s += " \"dark mode\" for";
    if (rng.percent(2))
        s += " café-style naïve";
    while (s.size() < target) {
        s += rng.percent(2) ? "\n" : " ";
        s += rng.pick(words);
    }
    s += '.';
    return s;
}

QString text(std::string_view s)
{
    return QString::fromUtf8(s.data(), qsizetype(s.size()));
}

} // namespace

LibraryReply makeLibraryReply(int apps, int versionsPerApp, std::uint64_t seed)
{
    Random rng(seed);
    JsonText w(std::size_t(apps) * std::size_t(versionsPerApp) * 320);
    LibraryReply reply;
    reply.expected.apps.reserve(apps);
    std::int64_t clock = 1672531200000; // 2023-01-01T00:00:00Z

    w.beginObject();
    w.key("apps");
    w.beginArray();
    for (int a = 0; a < apps; ++a) {
        LibraryApp app;
        const std::string name = appName(rng);
        const std::string bundleName = slug(name);

        w.beginObject();
        const std::string projectId = hexId(rng);
        w.key("projectId");
        w.string(projectId);
        app.projectId = text(projectId);
        w.key("name");
        w.string(name);
        app.name = text(name);
        if (rng.percent(10)) {
            w.key("thumbnail");
            w.string("https://cdn.brightloom.app/thumbnails/" + hexId(rng) + ".png");
        }
        if (rng.percent(5)) {
            w.key("tags");
            w.beginArray();
            for (int t = rng.between(1, 3); t > 0; --t)
                w.string(rng.pick(tags));
            w.endArray();
        }

        w.key("versions");
        w.beginArray();
        for (int v = 0; v < versionsPerApp; ++v) {
            LibraryVersion version;
            clock += rng.between(60'000, 3 * 86'400'000);
            const std::string jobId = hexId(rng);
            const std::string number = "1." + std::to_string(v) + "." + std::to_string(rng.between(0, 3));

            w.beginObject();
            w.key("jobId");
            w.string(jobId);
            version.jobId = text(jobId);
            w.key("version");
            w.string(number);
            version.version = text(number);
            w.key("appName");
            w.string(name);
            version.appName = app.name;

            const std::uint64_t summaryKind = rng.below(100);
            if (summaryKind < 35) {
                const std::string notes = summary(rng);
                w.key("summary");
                w.string(notes);
                version.summary = text(notes);
            } else if (summaryKind < 70) {
                w.key("summary");
                w.null();
            }

            const std::string download =
                "https://dl.brightloom.app/builds/" + jobId + "/" + bundleName + "-" + number + ".zip";
            w.key("downloadUrl");
            w.string(download);
            version.downloadUrl = text(download);

            const std::uint64_t dmgKind = rng.below(100);
            if (dmgKind < 80) {
                w.key("dmgUrl");
                w.null();
            } else if (dmgKind < 92) {
                const std::string dmg =
                    "https://dl.brightloom.app/builds/" + jobId + "/" + bundleName + "-" + number + ".dmg";
                w.key("dmgUrl");
                w.string(dmg);
                version.dmgUrl = text(dmg);
            }

            version.hasSource = rng.percent(70);
            w.key("hasSource");
            w.boolean(version.hasSource);

            if (rng.percent(4)) {
                w.key("buildSeconds");
                w.number(rng.between(20, 900));
            }
            if (rng.percent(2)) {
                w.key("artifacts");
                w.beginArray();
                w.beginObject();
                w.key("kind");
                w.string("zip");
                w.key("bytes");
                w.number(rng.between(100'000, 90'000'000));
                w.key("signed");
                w.null();
                w.endObject();
                w.endArray();
            }

            const std::string created = isoTime(clock + rng.between(0, 999));
            w.key("createdAt");
            w.string(created);
            version.createdAt = text(created);
            w.endObject();

            app.versions.push_back(std::move(version));
        }
        w.endArray();

        app.templatePublic = rng.percent(30);
        w.key("templatePublic");
        w.boolean(app.templatePublic);

        if (rng.percent(50)) {
            w.key("unsafe");
            switch (rng.below(3)) {
            case 0:
                w.boolean(true);
                app.unsafe = true;
                break;
            case 1:
                w.boolean(false);
                app.unsafe = false;
                break;
            default:
                w.null();
            }
        }

        if (rng.percent(5)) {
            w.key("stats");
            w.beginObject();
            w.key("opens");
            w.number(rng.between(0, 100'000));
            w.key("lastOpened");
            w.string(isoTime(clock));
            w.key("daily");
            w.beginArray();
            for (int d = 0; d < 7; ++d)
                w.number(rng.between(0, 50));
            w.endArray();
            w.endObject();
        }
        w.endObject();

        reply.expected.apps.push_back(std::move(app));
    }
    w.endArray();
    w.endObject();

    reply.json = QByteArray(w.text().data(), qsizetype(w.text().size()));
    return reply;
}

} // namespace brightloom::bench
