#include "bundle_info.h"

#include "service/api_error.h"
#include "text/characters.h"

#include <QRegularExpression>
#include <nlohmann/json.hpp>

namespace brightloom::LocalBuild {

const char* const bundleIdentifierPrefix = "app.brightloom.local.";
const char* const badVersionText =
    "The service gave this build a version that is not one to three numbers joined by dots, such as "
    "1.2, so the app was not built.";

namespace {

constexpr int maxNameCharacters = 40;

// Whether a whole character (a code point with its combining marks) is a letter or a digit, judged
// by its first code point's Unicode properties.
bool isLetterOrDigit(QStringView character)
{
    const char32_t first = character.toUcs4().value(0);
    return QChar::isLetter(first) || QChar::isNumber(first);
}

QString trimSpacesAndTabs(const QString& text)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    auto blank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    while (start < end && blank(text.at(start)))
        ++start;
    while (end > start && blank(text.at(end - 1)))
        --end;
    return text.mid(start, end - start);
}

QString nameOf(const QByteArray& appJson)
{
    const nlohmann::json json = nlohmann::json::parse(appJson.begin(), appJson.end(), nullptr, false);
    if (json.is_discarded() || !json.is_object())
        return {};
    const auto name = json.find("name");
    if (name == json.end() || !name->is_string())
        return {};
    return QString::fromStdString(name->get<std::string>());
}

} // namespace

QString displayName(const QByteArray& appJson)
{
    const QString name = nameOf(appJson);
    QString kept;
    int count = 0;
    text::forEachCharacter(name, [&](QStringView character) {
        const bool punctuation = character == QLatin1String(" ") || character == QLatin1String(".") ||
                                 character == QLatin1String("-") || character == QLatin1String("_");
        if (punctuation || isLetterOrDigit(character)) {
            kept += character;
            ++count;
        }
        return count < maxNameCharacters;
    });
    kept = trimSpacesAndTabs(kept);
    return kept.isEmpty() ? QStringLiteral("My App") : kept;
}

QString bundleSlug(const QString& displayName)
{
    QString slug = displayName;
    slug.replace(QLatin1Char(' '), QLatin1Char('-'));
    return slug;
}

QString identifierSlug(const QString& bundleSlug)
{
    // By whole characters, as the display name was kept: a letter keeps its combining marks.
    QString slug;
    text::forEachCharacter(bundleSlug.toLower(), [&slug](QStringView character) {
        if (isLetterOrDigit(character))
            slug += character;
        return true;
    });
    return slug;
}

QString minimumSystemVersion(const QString& manifest)
{
    static const QRegularExpression platform(QStringLiteral("\\.macOS\\(\\.v(\\d+)\\)"),
                                             QRegularExpression::UseUnicodePropertiesOption);
    const QRegularExpressionMatch first = platform.match(manifest);
    return (first.hasMatch() ? first.captured(1) : QStringLiteral("13")) + QStringLiteral(".0");
}

bool isBundleVersion(QStringView version)
{
    int numbers = 0;
    int digits = 0;
    for (const QChar c : version) {
        if (c == QLatin1Char('.')) {
            if (digits == 0)
                return false;
            digits = 0;
        } else if (c >= QLatin1Char('0') && c <= QLatin1Char('9')) {
            if (digits == 0)
                ++numbers;
            if (++digits > 9)
                return false;
        } else {
            return false;
        }
    }
    return digits > 0 && numbers <= 3;
}

void checkBundleVersion(const std::optional<QString>& version)
{
    if (version && !isBundleVersion(*version))
        throw APIError(QString::fromLatin1(badVersionText));
}

QString xmlEscaped(const QString& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('&'), QStringLiteral("&amp;"));
    escaped.replace(QLatin1Char('<'), QStringLiteral("&lt;"));
    escaped.replace(QLatin1Char('>'), QStringLiteral("&gt;"));
    return escaped;
}

QString infoPlist(const QString& displayName, const QString& version, const QString& minimumSystem)
{
    const QString name = xmlEscaped(displayName);
    const QString identifier =
        xmlEscaped(QString::fromLatin1(bundleIdentifierPrefix) + identifierSlug(bundleSlug(displayName)));
    return QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                          "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                          "<plist version=\"1.0\"><dict>\n"
                          "<key>CFBundleExecutable</key><string>App</string>\n"
                          "<key>CFBundleIconFile</key><string>AppIcon</string>\n"
                          "<key>CFBundleIdentifier</key><string>") +
           identifier +
           QStringLiteral("</string>\n"
                          "<key>CFBundleName</key><string>") +
           name +
           QStringLiteral("</string>\n"
                          "<key>CFBundlePackageType</key><string>APPL</string>\n"
                          "<key>CFBundleShortVersionString</key><string>") +
           xmlEscaped(version) +
           QStringLiteral("</string>\n"
                          "<key>LSMinimumSystemVersion</key><string>") +
           xmlEscaped(minimumSystem) +
           QStringLiteral("</string>\n"
                          "<key>NSHighResolutionCapable</key><true/>\n"
                          "<key>NSPrincipalClass</key><string>NSApplication</string>\n"
                          "</dict></plist>");
}

} // namespace brightloom::LocalBuild
