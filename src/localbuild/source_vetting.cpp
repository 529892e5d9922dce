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

// White space within a line, as the Swift compiler reads it.
bool isSwiftSpace(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\v') ||
           c == QLatin1Char('\f') || c == QChar(0);
}

QStringView trimSwiftSpace(QStringView text)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && isSwiftSpace(text[start]))
        ++start;
    while (end > start && isSwiftSpace(text[end - 1]))
        --end;
    return text.sliced(start, end - start);
}

bool isIdentifierPart(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

// `text` without the attributes ("@name", "@name(...)") and access levels ("public", "internal", ...)
// that may stand before a declaration.
QStringView withoutAttributesAndAccess(QStringView text)
{
    static const QStringList accessLevels = {QStringLiteral("public"),   QStringLiteral("package"),
                                             QStringLiteral("internal"), QStringLiteral("fileprivate"),
                                             QStringLiteral("private"),  QStringLiteral("open")};
    for (;;) {
        text = trimSwiftSpace(text);
        if (text.startsWith(QLatin1Char('@'))) {
            qsizetype at = 1;
            while (at < text.size() && isIdentifierPart(text[at]))
                ++at;
            while (at < text.size() && isSwiftSpace(text[at]))
                ++at;
            if (at < text.size() && text[at] == QLatin1Char('(')) {
                int depth = 0;
                for (; at < text.size(); ++at) {
                    if (text[at] == QLatin1Char('('))
                        ++depth;
                    else if (text[at] == QLatin1Char(')') && --depth == 0) {
                        ++at;
                        break;
                    }
                }
            }
            text = text.sliced(at);
            continue;
        }
        bool stripped = false;
        for (const QString& level : accessLevels) {
            if (text.startsWith(level) && text.size() > level.size() && isSwiftSpace(text[level.size()])) {
                text = text.sliced(level.size());
                stripped = true;
                break;
            }
        }
        if (!stripped)
            return text;
    }
}

// Whether a declaration that starts `text` is an import: the keyword, then white space or nothing,
// after any attributes and access level.
bool declaresAnImport(QStringView text)
{
    const QStringView rest = withoutAttributesAndAccess(text);
    const QLatin1String keyword("import");
    return rest.startsWith(keyword) && (rest.size() == keyword.size() || isSwiftSpace(rest[keyword.size()]));
}

// Every import of the manifest, as written between white space. A declaration can start a line (a
// line feed or a carriage return ends one), follow a ";" or follow the end of a block comment, so
// each of those starts a piece that is looked at.
QStringList importsOf(const QString& manifest)
{
    QStringList imports;
    qsizetype start = 0;
    const qsizetype size = manifest.size();
    for (qsizetype at = 0; at <= size; ++at) {
        qsizetype separator = 0;
        if (at == size)
            separator = 1;
        else if (manifest[at] == QLatin1Char('\n') || manifest[at] == QLatin1Char('\r') ||
                 manifest[at] == QLatin1Char(';'))
            separator = 1;
        else if (manifest[at] == QLatin1Char('*') && at + 1 < size && manifest[at + 1] == QLatin1Char('/'))
            separator = 2;
        if (separator == 0)
            continue;
        const QStringView piece = trimSwiftSpace(QStringView(manifest).sliced(start, at - start));
        if (declaresAnImport(piece))
            imports.append(piece.toString());
        at += separator - 1;
        start = at + 1;
    }
    return imports;
}

void checkImports(const QString& manifest)
{
    const QStringList imports = importsOf(manifest);
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
