// assets.json decoded and each entry checked, as the local build does before it runs git. A file
// that cannot be decoded or an entry the rules refuse is an answer; anything else thrown, a crash, or
// an entry that passes although it breaks a rule is a finding. The rules are spelled out again here
// character by character, so that a pattern that lets more through than it says is caught.

#include "localbuild/asset_set.h"
#include "localbuild/rejected.h"
#include "require.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <cstdlib>

using namespace brightloom;
using brightloom::fuzz::require;
using namespace brightloom::LocalBuild;

namespace {

bool nameCharacter(QChar c)
{
    return (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
           (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
           (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('_') ||
           c == QLatin1Char('.') || c == QLatin1Char('-');
}

bool onlyNameCharacters(QStringView text)
{
    for (const QChar c : text) {
        if (!nameCharacter(c))
            return false;
    }
    return true;
}

void requireRepository(const QString& repo)
{
    const QLatin1String host("https://github.com/");
    require(repo.startsWith(host));
    const QStringList parts = repo.mid(host.size()).split(QLatin1Char('/'));
    require(parts.size() == 2);
    for (const QString& part : parts)
        require(!part.isEmpty() && onlyNameCharacters(part));
}

void requireRef(const QString& ref)
{
    require(!ref.isEmpty() && ref.size() <= 80 && !ref.startsWith(QLatin1Char('-')));
    for (const QChar c : ref)
        require(nameCharacter(c) || c == QLatin1Char('/'));
}

void requirePath(const QString& path)
{
    require(!path.startsWith(QLatin1Char('/')) && !path.startsWith(QLatin1Char('-')));
    require(!path.contains(QLatin1String("..")) && !path.contains(QLatin1Char('\n')));
    require(!path.startsWith(QLatin1String(".git")));
}

void requireFolder(const QString& folder)
{
    require(!folder.isEmpty() && folder.size() <= 60 && !folder.startsWith(QLatin1Char('.')));
    require(onlyNameCharacters(folder));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), qsizetype(size));
    QList<AssetSet> sets;
    try {
        sets = decodeAssetSets(text);
    } catch (const AssetsDecodeError& undecodable) {
        require(QByteArray(undecodable.what()).startsWith("assets.json could not be read: "));
        return 0;
    }
    // Every entry is checked even past the most a file may hold, to reach the rules more often.
    for (const AssetSet& set : sets) {
        try {
            checkAssetSet(set);
        } catch (const Rejected& rejected) {
            require(rejected.reason.startsWith(QLatin1String("assets.json: ")));
            continue;
        }
        requireRepository(set.repo);
        if (set.ref)
            requireRef(*set.ref);
        require(!set.paths.isEmpty() && set.paths.size() <= 60);
        for (const QString& path : set.paths)
            requirePath(path);
        requireFolder(assetFolderName(set));
    }
    return 0;
}
