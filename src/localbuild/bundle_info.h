#pragma once

// The names and the property list of a locally built app bundle, derived from the source folder's
// app.json and Package.swift.

#include <QByteArray>
#include <QString>
#include <QStringView>
#include <optional>

namespace brightloom::LocalBuild {

// The start of every locally built app's bundle identifier; the identifier slug follows it.
extern const char* const bundleIdentifierPrefix;

// The app's name from the text of app.json: its "name" with only letters, digits, " ", ".", "-" and
// "_" kept, at most 40 of them, spaces and tabs trimmed; "My App" when the text is not an object
// with a string "name" or nothing is left.
QString displayName(const QByteArray& appJson);

// The bundle's folder name without ".app": the display name with every space made a hyphen.
QString bundleSlug(const QString& displayName);

// The end of the bundle identifier: the bundle slug lower-cased, letters and digits only.
QString identifierSlug(const QString& bundleSlug);

// The lowest macOS version the app runs on, from the first ".macOS(.vN)" of the manifest's text:
// "N.0", or "13.0" when there is none.
QString minimumSystemVersion(const QString& manifest);

// Whether a job's version may stand as the bundle's short version: one to three numbers of at most
// nine digits joined by dots ("1", "2.0", "10.14.1"), as the system reads that key.
bool isBundleVersion(QStringView version);
// The refusal of a version that is not one, raised before anything of the build is written.
extern const char* const badVersionText;
// Throws APIError(badVersionText) unless `version` is absent or a bundle version.
void checkBundleVersion(const std::optional<QString>& version);

// `text` as XML character data: "&", "<" and ">" escaped, in that order.
QString xmlEscaped(const QString& text);

// The Info.plist text of an app bundle, line by line as every locally built app has it. Every value
// is escaped for XML.
QString infoPlist(const QString& displayName, const QString& version, const QString& minimumSystem);

} // namespace brightloom::LocalBuild
