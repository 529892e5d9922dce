#pragma once

// assets.json: the public repositories, and the paths inside them, that a generated app needs beside
// its source.

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <stdexcept>

namespace brightloom::LocalBuild {

// One entry of assets.json.
struct AssetSet
{
    QString repo;               // https address of a repository on github.com
    std::optional<QString> ref; // branch, tag or commit instead of the default branch
    QStringList paths;          // files or folders inside the repository, from its root
    std::optional<QString> to;  // folder under ".assets" for its files; default: the repository's name
};

// assets.json that is not JSON, or does not have the shape above.
class AssetsDecodeError : public std::runtime_error
{
public:
    explicit AssetsDecodeError(const std::string& detail)
        : std::runtime_error("assets.json could not be read: " + detail)
    {}
};

// Decodes the text of assets.json: an array of objects with a string "repo", an array of strings
// "paths", and optionally a string "ref" and a string "to" (null counts as absent); other keys are
// ignored. Throws AssetsDecodeError.
QList<AssetSet> decodeAssetSets(const QByteArray& json);

// The most entries assets.json may have.
constexpr qsizetype maxAssetSets = 5;

// Refuses, with LocalBuild::Rejected, the first rule that `set` breaks: its address, its ref, the
// number of its paths, each path, its folder name, checked in that order.
void checkAssetSet(const AssetSet& set);

// The folder under ".assets" that receives the set's files: `to`, or the address's last segment.
QString assetFolderName(const AssetSet& set);

} // namespace brightloom::LocalBuild
