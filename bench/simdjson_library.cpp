// Built with the machine's own instruction set (see bench/CMakeLists.txt): simdjson's on-demand walk is
// compiled inline into this file, and without it simdjson falls back to its scalar code for everything
// after the structural index, which would flatter the project.

#include "baseline_decoders.h"
#include "service/record_codec.h"

#include <simdjson.h>
#include <string_view>

namespace brightloom::bench {
namespace {

namespace od = simdjson::ondemand;

[[noreturn]] void reject(std::string_view what, simdjson::error_code error)
{
    throw DecodeError(std::string(what) + " (" + simdjson::error_message(error) + ")");
}

[[noreturn]] void reject(std::string_view what)
{
    throw DecodeError(std::string(what));
}

inline void check(simdjson::error_code error, std::string_view what)
{
    if (error != simdjson::SUCCESS) [[unlikely]]
        reject(what, error);
}

inline QString text(std::string_view s)
{
    return QString::fromUtf8(s.data(), qsizetype(s.size()));
}

// get_string() and get_bool() refuse null and every other type, which is the required-field rule.
inline QString requiredString(od::value& v, std::string_view key)
{
    std::string_view s;
    check(v.get_string().get(s), key);
    return text(s);
}

inline std::optional<QString> optionalString(od::value& v, std::string_view key)
{
    bool isNull = false;
    check(v.is_null().get(isNull), key);
    if (isNull)
        return std::nullopt;
    return requiredString(v, key);
}

inline bool requiredBool(od::value& v, std::string_view key)
{
    bool b = false;
    check(v.get_bool().get(b), key);
    return b;
}

inline std::optional<bool> optionalBool(od::value& v, std::string_view key)
{
    bool isNull = false;
    check(v.is_null().get(isNull), key);
    if (isNull)
        return std::nullopt;
    return requiredBool(v, key);
}

// The keys arrive in whatever order the service wrote them, so each object is walked once and every
// key dispatched; a value nobody asks for is skipped by the iterator on its own.
void readVersion(od::object& object, LibraryVersion& out)
{
    enum : unsigned { JobId = 1, Version = 2, AppName = 4, DownloadUrl = 8, HasSource = 16, CreatedAt = 32 };
    constexpr unsigned required = JobId | Version | AppName | DownloadUrl | HasSource | CreatedAt;
    unsigned seen = 0;
    for (auto member : object) {
        std::string_view key;
        check(member.unescaped_key().get(key), "a key in versions");
        od::value v;
        check(member.value().get(v), key);
        if (key == "jobId") {
            out.jobId = requiredString(v, key);
            seen |= JobId;
        } else if (key == "version") {
            out.version = requiredString(v, key);
            seen |= Version;
        } else if (key == "appName") {
            out.appName = requiredString(v, key);
            seen |= AppName;
        } else if (key == "summary") {
            out.summary = optionalString(v, key);
        } else if (key == "downloadUrl") {
            out.downloadUrl = requiredString(v, key);
            seen |= DownloadUrl;
        } else if (key == "dmgUrl") {
            out.dmgUrl = optionalString(v, key);
        } else if (key == "hasSource") {
            out.hasSource = requiredBool(v, key);
            seen |= HasSource;
        } else if (key == "createdAt") {
            out.createdAt = requiredString(v, key);
            seen |= CreatedAt;
        }
    }
    if ((seen & required) != required)
        reject("a version lacks a required key");
}

void readApp(od::object& object, LibraryApp& out)
{
    enum : unsigned { ProjectId = 1, Name = 2, Versions = 4, TemplatePublic = 8 };
    constexpr unsigned required = ProjectId | Name | Versions | TemplatePublic;
    unsigned seen = 0;
    for (auto member : object) {
        std::string_view key;
        check(member.unescaped_key().get(key), "a key in apps");
        od::value v;
        check(member.value().get(v), key);
        if (key == "projectId") {
            out.projectId = requiredString(v, key);
            seen |= ProjectId;
        } else if (key == "name") {
            out.name = requiredString(v, key);
            seen |= Name;
        } else if (key == "versions") {
            od::array versions;
            check(v.get_array().get(versions), key);
            QList<LibraryVersion> list;
            for (auto element : versions) {
                od::object version;
                check(element.get_object().get(version), "an element of versions");
                readVersion(version, list.emplace_back());
            }
            out.versions = std::move(list);
            seen |= Versions;
        } else if (key == "templatePublic") {
            out.templatePublic = requiredBool(v, key);
            seen |= TemplatePublic;
        } else if (key == "unsafe") {
            out.unsafe = optionalBool(v, key);
        }
    }
    if ((seen & required) != required)
        reject("an app lacks a required key");
}

LibraryResp readDocument(od::parser& parser, simdjson::padded_string_view json)
{
    od::document document;
    check(parser.iterate(json).get(document), "the reply");
    od::object root;
    check(document.get_object().get(root), "the reply");

    LibraryResp out;
    bool seenApps = false;
    for (auto member : root) {
        std::string_view key;
        check(member.unescaped_key().get(key), "a key of the reply");
        if (key != "apps")
            continue;
        od::value v;
        check(member.value().get(v), key);
        od::array apps;
        check(v.get_array().get(apps), key);
        QList<LibraryApp> list;
        for (auto element : apps) {
            od::object app;
            check(element.get_object().get(app), "an element of apps");
            readApp(app, list.emplace_back());
        }
        out.apps = std::move(list);
        seenApps = true;
    }
    if (!seenApps)
        reject("\"apps\" is missing");
    // On-demand stops where the root object ends; anything after it has to be looked for.
    const char* rest = nullptr;
    if (document.current_location().get(rest) != simdjson::OUT_OF_BOUNDS)
        reject("there is more after the reply");
    return out;
}

} // namespace

struct SimdjsonLibraryDecoder::State
{
    explicit State(QByteArrayView bytes) : json(bytes.data(), std::size_t(bytes.size())) {}

    simdjson::padded_string json;
    od::parser parser;
};

SimdjsonLibraryDecoder::SimdjsonLibraryDecoder(QByteArrayView json) : m_state(std::make_unique<State>(json))
{}

SimdjsonLibraryDecoder::~SimdjsonLibraryDecoder() = default;

LibraryResp SimdjsonLibraryDecoder::decode()
{
    return readDocument(m_state->parser, m_state->json);
}

LibraryResp SimdjsonLibraryDecoder::decodeOnce(QByteArrayView json)
{
    State state(json);
    return readDocument(state.parser, state.json);
}

#define BRIGHTLOOM_STRINGIFY_(x) #x
#define BRIGHTLOOM_STRINGIFY(x) BRIGHTLOOM_STRINGIFY_(x)

std::string SimdjsonLibraryDecoder::implementation()
{
    static constexpr const char* version = BRIGHTLOOM_STRINGIFY(SIMDJSON_VERSION);
    static constexpr const char* walk = BRIGHTLOOM_STRINGIFY(SIMDJSON_BUILTIN_IMPLEMENTATION);
    std::string text = "simdjson ";
    text += version;
    text += ", on-demand walk built for ";
    text += walk;
    text += ", structural index by ";
    text += simdjson::get_active_implementation()->name();
    return text;
}

} // namespace brightloom::bench
