#include "asset_set.h"

#include "rejected.h"

#include <QRegularExpression>
#include <nlohmann/json.hpp>

namespace brightloom::LocalBuild {

namespace {

using nlohmann::json;

QString stringAt(const json& object, const char* key, qsizetype index)
{
    const auto found = object.find(key);
    if (found == object.end())
        throw AssetsDecodeError("\"" + std::string(key) + "\" is missing in entry " + std::to_string(index));
    if (!found->is_string())
        throw AssetsDecodeError("\"" + std::string(key) + "\" is not a string in entry " +
                                std::to_string(index));
    return QString::fromStdString(found->get<std::string>());
}

std::optional<QString> optionalStringAt(const json& object, const char* key, qsizetype index)
{
    const auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return std::nullopt;
    return stringAt(object, key, index);
}

QStringList stringsAt(const json& object, const char* key, qsizetype index)
{
    const auto found = object.find(key);
    if (found == object.end())
        throw AssetsDecodeError("\"" + std::string(key) + "\" is missing in entry " + std::to_string(index));
    if (!found->is_array())
        throw AssetsDecodeError("\"" + std::string(key) + "\" is not an array in entry " +
                                std::to_string(index));
    QStringList strings;
    for (const json& item : *found) {
        if (!item.is_string())
            throw AssetsDecodeError("\"" + std::string(key) + "\" holds something other than text in entry " +
                                    std::to_string(index));
        strings.append(QString::fromStdString(item.get<std::string>()));
    }
    return strings;
}

// Searched for; their anchors make them whole-text checks. The end is \z, not $: $ also matches
// before a final newline, which would let "name\n" through to git and to the folder name. Each is
// compiled once.
const QRegularExpression& repoPattern()
{
    static const QRegularExpression pattern(
        QStringLiteral("^https://github\\.com/[A-Za-z0-9_.-]+/[A-Za-z0-9_.-]+\\z"));
    return pattern;
}

const QRegularExpression& refPattern()
{
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z0-9_./-]{1,80}\\z"));
    return pattern;
}

const QRegularExpression& folderPattern()
{
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z0-9_.-]{1,60}\\z"));
    return pattern;
}

bool badPath(const QString& path)
{
    return path.startsWith(QLatin1Char('/')) || path.startsWith(QLatin1Char('-')) ||
           path.contains(QLatin1String("..")) || path.contains(QLatin1Char('\n')) ||
           path.startsWith(QLatin1String(".git"));
}

} // namespace

QList<AssetSet> decodeAssetSets(const QByteArray& text)
{
    const json document = json::parse(text.begin(), text.end(), nullptr, false);
    if (document.is_discarded())
        throw AssetsDecodeError("it is not JSON");
    if (!document.is_array())
        throw AssetsDecodeError("it is not an array");
    QList<AssetSet> sets;
    qsizetype index = 0;
    for (const json& entry : document) {
        if (!entry.is_object())
            throw AssetsDecodeError("entry " + std::to_string(index) + " is not an object");
        AssetSet set;
        set.repo = stringAt(entry, "repo", index);
        set.ref = optionalStringAt(entry, "ref", index);
        set.paths = stringsAt(entry, "paths", index);
        set.to = optionalStringAt(entry, "to", index);
        sets.append(set);
        ++index;
    }
    return sets;
}

void checkAssetSet(const AssetSet& set)
{
    if (!repoPattern().match(set.repo).hasMatch())
        throw Rejected(QStringLiteral("assets.json: ") + set.repo +
                       QStringLiteral(" is not a GitHub repository"));
    if (set.ref && (!refPattern().match(*set.ref).hasMatch() || set.ref->startsWith(QLatin1Char('-'))))
        throw Rejected(QStringLiteral("assets.json: bad ref"));
    if (set.paths.isEmpty() || set.paths.size() > 60)
        throw Rejected(QStringLiteral("assets.json: bad path list"));
    for (const QString& path : set.paths) {
        if (badPath(path))
            throw Rejected(QStringLiteral("assets.json: bad path ") + path);
    }
    const QString folder = assetFolderName(set);
    if (!folderPattern().match(folder).hasMatch() || folder.startsWith(QLatin1Char('.')))
        throw Rejected(QStringLiteral("assets.json: bad folder name"));
}

QString assetFolderName(const AssetSet& set)
{
    if (set.to)
        return *set.to;
    const QStringList segments = set.repo.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return segments.isEmpty() ? QStringLiteral("repo") : segments.last();
}

} // namespace brightloom::LocalBuild
