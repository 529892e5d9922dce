#include "baseline_decoders.h"
#include "service/record_codec.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>

namespace brightloom::bench {
namespace {

using namespace Qt::Literals::StringLiterals;

[[noreturn]] void reject(QLatin1StringView key, const char* problem)
{
    throw DecodeError("\"" + std::string(key.data(), std::size_t(key.size())) + "\" " + problem);
}

// Looking keys up suits QJsonObject, which keeps its keys sorted; walking it would make a QString of
// every key.
QJsonValue required(const QJsonObject& object, QLatin1StringView key)
{
    QJsonValue v = object.value(key);
    if (v.isUndefined())
        reject(key, "is missing");
    if (v.isNull())
        reject(key, "must not be null");
    return v;
}

QString requiredString(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue v = required(object, key);
    if (!v.isString())
        reject(key, "must be a string");
    return v.toString();
}

std::optional<QString> optionalString(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue v = object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    if (!v.isString())
        reject(key, "must be a string");
    return v.toString();
}

bool requiredBool(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue v = required(object, key);
    if (!v.isBool())
        reject(key, "must be a Boolean");
    return v.toBool();
}

std::optional<bool> optionalBool(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue v = object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    if (!v.isBool())
        reject(key, "must be a Boolean");
    return v.toBool();
}

QJsonArray requiredArray(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue v = required(object, key);
    if (!v.isArray())
        reject(key, "must be a list");
    return v.toArray();
}

LibraryVersion readVersion(const QJsonObject& object)
{
    LibraryVersion out;
    out.jobId = requiredString(object, "jobId"_L1);
    out.version = requiredString(object, "version"_L1);
    out.appName = requiredString(object, "appName"_L1);
    out.summary = optionalString(object, "summary"_L1);
    out.downloadUrl = requiredString(object, "downloadUrl"_L1);
    out.dmgUrl = optionalString(object, "dmgUrl"_L1);
    out.hasSource = requiredBool(object, "hasSource"_L1);
    out.createdAt = requiredString(object, "createdAt"_L1);
    return out;
}

LibraryApp readApp(const QJsonObject& object)
{
    LibraryApp out;
    out.projectId = requiredString(object, "projectId"_L1);
    out.name = requiredString(object, "name"_L1);
    const QJsonArray versions = requiredArray(object, "versions"_L1);
    out.versions.reserve(versions.size());
    for (const QJsonValue version : versions) {
        if (!version.isObject())
            reject("versions"_L1, "must hold objects only");
        out.versions.push_back(readVersion(version.toObject()));
    }
    out.templatePublic = requiredBool(object, "templatePublic"_L1);
    out.unsafe = optionalBool(object, "unsafe"_L1);
    return out;
}

} // namespace

LibraryResp decodeLibraryWithQJson(QByteArrayView json)
{
    QJsonParseError error;
    // fromRawData: the document is parsed where it lies, not copied first.
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromRawData(json.data(), json.size()), &error);
    if (error.error != QJsonParseError::NoError)
        throw DecodeError("it is not valid JSON (" + error.errorString().toStdString() + ")");
    if (!document.isObject())
        throw DecodeError("the reply is not a JSON object");

    const QJsonArray apps = requiredArray(document.object(), "apps"_L1);
    LibraryResp out;
    out.apps.reserve(apps.size());
    for (const QJsonValue app : apps) {
        if (!app.isObject())
            reject("apps"_L1, "must hold objects only");
        out.apps.push_back(readApp(app.toObject()));
    }
    return out;
}

} // namespace brightloom::bench
