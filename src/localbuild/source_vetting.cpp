// The rules a job's source must keep before anything of it runs on this machine.

#include "rejected.h"
#include "source_fetch.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>

namespace brightloom::LocalBuild {
namespace {

const QString& allowedImport()
{
    static const QString line = QStringLiteral("import PackageDescription");
    return line;
}

// Checked in this order; the first one found is the one reported.
const QStringList& forbiddenConstructs()
{
    static const QStringList list = {
        QStringLiteral(".plugin"),        QStringLiteral("plugins:"),      QStringLiteral(".binaryTarget"),
        QStringLiteral(".systemLibrary"), QStringLiteral(".package(path"), QStringLiteral("Process("),
        QStringLiteral("FileManager"),    QStringLiteral("ProcessInfo"),   QStringLiteral("#if"),
        QStringLiteral("readFile"),
    };
    return list;
}

const QString declarationPattern = QStringLiteral(R"re(\.package\(([^)]*)\))re");
const QString occurrencePattern = QStringLiteral(R"re(\.package\b)re");
const QString addressPattern = QStringLiteral(R"re(^\s*url:\s*"([^"]+)")re");
const QString exactPinPattern = QStringLiteral(R"re(exact:\s*"(\d+\.\d+\.\d+)")re");
const QString flagsPattern = QStringLiteral(R"re(unsafeFlags\(\[([^\]]*)\])re");
// The one flag allowed, with its quotes, as it stands in the manifest.
const QString allowedFlag = QStringLiteral("\"-parse-as-library\"");

// Unicode-aware classes (\s, \d, \b), as the manifest's own tools read them; compiled once per text.
QRegularExpression compiled(const QString& pattern)
{
    static thread_local QHash<QString, QRegularExpression> cache;
    auto it = cache.find(pattern);
    if (it == cache.end()) {
        QRegularExpression re(pattern, QRegularExpression::UseUnicodePropertiesOption);
        if (re.isValid())
            re.optimize();
        if (cache.size() > 64)
            cache.clear();
        it = cache.insert(pattern, re);
    }
    return *it;
}

qsizetype countMatches(const QString& pattern, const QString& text)
{
    qsizetype count = 0;
    auto it = compiled(pattern).globalMatch(text);
    while (it.hasNext()) {
        it.next();
        ++count;
    }
    return count;
}

QString trimSpacesAndTabs(QStringView line)
{
    qsizetype start = 0;
    qsizetype end = line.size();
    const auto blank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    while (start < end && blank(line[start]))
        ++start;
    while (end > start && blank(line[end - 1]))
        --end;
    return line.sliced(start, end - start).toString();
}

void checkImports(const QString& manifest)
{
    QStringList imports;
    for (QStringView line : QStringView(manifest).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        QString trimmed = trimSpacesAndTabs(line);
        if (trimmed.startsWith(QLatin1String("import ")))
            imports.append(std::move(trimmed));
    }
    if (imports.size() != 1 || imports.front() != allowedImport())
        throw Rejected(QStringLiteral("Package.swift imports something other than PackageDescription"));
}

void checkConstructs(const QString& manifest)
{
    for (const QString& construct : forbiddenConstructs()) {
        if (manifest.contains(construct))
            throw Rejected(QStringLiteral("Package.swift uses ") + construct);
    }
}

void checkDependencies(const QString& manifest)
{
    const QStringList declarations = captures(declarationPattern, manifest);
    if (declarations.size() != countMatches(occurrencePattern, manifest))
        throw Rejected(
            QStringLiteral("Package.swift declares a dependency in a form that cannot be checked"));
    for (const QString& declaration : declarations) {
        const QStringList addresses = captures(addressPattern, declaration);
        if (addresses.isEmpty())
            throw Rejected(QStringLiteral("a dependency in Package.swift does not start with url:"));
        const QString& address = addresses.front();
        if (!allowedPackageURLs().contains(address))
            throw Rejected(QStringLiteral("dependency ") + address +
                           QStringLiteral(" is not on the allowed list"));
        if (countMatches(exactPinPattern, declaration) != 1 ||
            declaration.contains(QLatin1String("branch:")) || declaration.contains(QLatin1String("from:")))
            throw Rejected(QStringLiteral("dependency ") + address +
                           QStringLiteral(" is not pinned to an exact version"));
    }
}

void checkFlags(const QString& manifest)
{
    for (QString flags : captures(flagsPattern, manifest)) {
        flags.remove(QLatin1Char(' '));
        if (flags != allowedFlag)
            throw Rejected(QStringLiteral("unsafe compiler flags in Package.swift"));
    }
}

} // namespace

const QStringList& allowedPackageURLs()
{
    static const QStringList urls = {
        QStringLiteral("https://github.com/openid/AppAuth-iOS"),
        QStringLiteral("https://github.com/mattt/llama.swift"),
        QStringLiteral("https://github.com/microsoft/onnxruntime-swift-package-manager"),
        QStringLiteral("https://github.com/apple/ml-stable-diffusion"),
    };
    return urls;
}

QStringList captures(const QString& pattern, const QString& text)
{
    QStringList found;
    const QRegularExpression re = compiled(pattern);
    if (!re.isValid())
        return found;
    auto it = re.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        if (match.lastCapturedIndex() >= 1 && match.capturedStart(1) >= 0)
            found.append(match.captured(1));
    }
    return found;
}

void validateManifest(const QString& manifest)
{
    checkImports(manifest);
    checkConstructs(manifest);
    checkDependencies(manifest);
    checkFlags(manifest);
}

void validateTree(const QString& root)
{
    // A path that cannot be resolved stands as it is.
    const auto resolved = [](const QString& path) {
        const QString canonical = QFileInfo(path).canonicalFilePath();
        return canonical.isEmpty() ? path : canonical;
    };
    const QString rootPath = resolved(root);
    if (!QFileInfo(root).isDir())
        return; // nothing to enumerate
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (it.fileInfo().isSymLink())
            throw Rejected(QStringLiteral("the zip contains a symbolic link"));
        // A plain prefix test, as the rule is written: no separator is appended to the root.
        if (!resolved(path).startsWith(rootPath))
            throw Rejected(QStringLiteral("a file is outside the project folder"));
    }
}

} // namespace brightloom::LocalBuild
