#include "job_files.h"

#include "zip_writer.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace brightloom::devserver {

namespace jobfiles {

namespace {

// Big enough that a download shows progress and is streamed, small enough that tests making many
// jobs stay quick.
constexpr qsizetype diskImageSize = 512 * 1024;

QString executableName(const QString& appName)
{
    QString name;
    for (const QChar c : appName) {
        if (c.isLetterOrNumber())
            name += c;
    }
    return name.isEmpty() ? QStringLiteral("App") : name;
}

QString xmlEscaped(const QString& text)
{
    return text.toHtmlEscaped();
}

QByteArray infoPlist(const Job& job)
{
    const QString exe = executableName(job.appName);
    return QStringLiteral(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>CFBundleName</key>
	<string>%1</string>
	<key>CFBundleDisplayName</key>
	<string>%1</string>
	<key>CFBundleExecutable</key>
	<string>%2</string>
	<key>CFBundleIdentifier</key>
	<string>app.brightloom.%3</string>
	<key>CFBundlePackageType</key>
	<string>APPL</string>
	<key>CFBundleShortVersionString</key>
	<string>%4</string>
	<key>CFBundleVersion</key>
	<string>%4</string>
	<key>CFBundleIconFile</key>
	<string>AppIcon</string>
	<key>LSMinimumSystemVersion</key>
	<string>14.0</string>
</dict>
</plist>
)")
        .arg(xmlEscaped(job.appName), exe, exe.toLower(), xmlEscaped(job.version))
        .toUtf8();
}

void writeAppArchive(const QString& path, const Job& job, const QByteArray& icon)
{
    const QString bundle = job.appName + QStringLiteral(".app/");
    ZipWriter zip(path);
    zip.addDirectory(bundle);
    zip.addDirectory(bundle + QStringLiteral("Contents"));
    zip.addFile(bundle + QStringLiteral("Contents/Info.plist"), infoPlist(job));
    zip.addFile(bundle + QStringLiteral("Contents/PkgInfo"), QByteArrayLiteral("APPL????"));
    zip.addDirectory(bundle + QStringLiteral("Contents/MacOS"));
    zip.addFile(bundle + QStringLiteral("Contents/MacOS/") + executableName(job.appName),
                QStringLiteral("#!/bin/sh\necho \"%1 %2, built by the Brightloom stand-in service\"\n")
                    .arg(job.appName, job.version)
                    .toUtf8(),
                0755);
    zip.addDirectory(bundle + QStringLiteral("Contents/Resources"));
    zip.addFile(bundle + QStringLiteral("Contents/Resources/AppIcon.png"), icon);
    zip.addFile(bundle + QStringLiteral("Contents/Resources/About.txt"),
                QStringLiteral("%1\n\nMade from: %2\n").arg(job.appName, job.prompt).toUtf8());
    zip.commit();
}

void writeDiskImage(const QString& path, const Job& job)
{
    // Any bytes will do for the client, which only saves and opens the file; a recognisable header
    // helps whoever looks inside.
    QByteArray image =
        QStringLiteral("Brightloom stand-in disk image\n%1 %2\n").arg(job.appName, job.version).toUtf8();
    image.reserve(diskImageSize);
    while (image.size() < diskImageSize)
        image.append(char('a' + image.size() % 26));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(image) != image.size() || !file.commit())
        throw ZipError("cannot write " + path.toStdString());
}

QByteArray packageManifest(bool forbidden)
{
    QString manifest = QStringLiteral(R"(// swift-tools-version:5.9
import PackageDescription

let package = Package(
    name: "App",
    platforms: [.macOS(.v14)],
    targets: [
        .executableTarget(
            name: "App",
            path: "Sources/App",
            swiftSettings: [.unsafeFlags(["-parse-as-library"])]
        )
    ]
)
)");
    if (forbidden)
        manifest += QStringLiteral("\nlet generatedAt = FileManager.default.currentDirectoryPath\n");
    return manifest.toUtf8();
}

QByteArray swiftSource(const Job& job, bool broken)
{
    QString title = job.appName;
    title.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
        .replace(QLatin1Char('"'), QStringLiteral("\\\""));
    QString source = QStringLiteral(R"(import SwiftUI

@main
struct GeneratedApp: App {
    var body: some Scene {
        WindowGroup("%1") {
            ContentView()
        }
    }
}

struct ContentView: View {
    @State private var taps = 0

    var body: some View {
        VStack(spacing: 12) {
            Text("%1").font(.largeTitle)
            Text("Version %2")
            Button("Tapped \(taps) times") { taps += 1 }
        }
        .padding(40)
    }
}
)")
                         .arg(title, job.version);
    if (broken)
        source += QStringLiteral("\n#error(\"ContentView is not finished yet\")\n");
    return source.toUtf8();
}

bool wantsAssets(const Job& job)
{
    return job.prompt.contains(QStringLiteral("asset"), Qt::CaseInsensitive) ||
           job.prompt.contains(QStringLiteral("model"), Qt::CaseInsensitive);
}

QByteArray assetsJson()
{
    QJsonObject set;
    set.insert(QStringLiteral("repo"), QStringLiteral("https://github.com/brightloom-samples/sample-assets"));
    set.insert(QStringLiteral("paths"), QJsonArray{QStringLiteral("images")});
    set.insert(QStringLiteral("to"), QStringLiteral("samples"));
    return QJsonDocument(QJsonArray{set}).toJson();
}

void writeSourceArchive(const QString& path, const Job& job, const QByteArray& icon)
{
    const QString& fault = job.sourceFault;
    ZipWriter zip(path);
    zip.addFile(QStringLiteral("Package.swift"), packageManifest(fault == QLatin1String(faultManifest)));
    zip.addDirectory(QStringLiteral("Sources"));
    zip.addDirectory(QStringLiteral("Sources/App"));
    zip.addFile(QStringLiteral("Sources/App/App.swift"),
                swiftSource(job, fault == QLatin1String(faultCompile)));
    QJsonObject app;
    app.insert(QStringLiteral("name"), job.appName);
    zip.addFile(QStringLiteral("app.json"), QJsonDocument(app).toJson());
    // Some apps come with their own icon and some leave it to the client to draw one.
    if (!job.prompt.contains(QStringLiteral("no icon"), Qt::CaseInsensitive))
        zip.addFile(QStringLiteral("icon.png"), icon);
    if (wantsAssets(job))
        zip.addFile(QStringLiteral("assets.json"), assetsJson());
    if (fault == QLatin1String(faultSymlink))
        zip.addSymlink(QStringLiteral("Sources/App/Shared.swift"), QStringLiteral("App.swift"));
    if (fault == QLatin1String(faultEscape))
        zip.addFile(QStringLiteral("../x"), QByteArrayLiteral("written outside the project folder\n"));
    zip.commit();
}

} // namespace

bool isSourceFault(const QString& fault)
{
    return fault == QLatin1String(faultSymlink) || fault == QLatin1String(faultEscape) ||
           fault == QLatin1String(faultManifest) || fault == QLatin1String(faultCompile);
}

bool isSourceMode(const QString& mode)
{
    return mode == QLatin1String("source") || mode == QLatin1String("source-fix");
}

bool offers(const Job& job, const QString& name)
{
    if (job.status != QLatin1String("ready"))
        return false;
    if (name == QLatin1String(sourceArchive))
        return isSourceMode(job.mode);
    return name == QLatin1String(appArchive) || name == QLatin1String(diskImage) ||
           name == QLatin1String(icon);
}

void make(const QString& folder, const Job& job)
{
    if (!QDir().mkpath(folder))
        throw ZipError("cannot make " + folder.toStdString());
    const QDir dir(folder);
    const QByteArray png = iconPng(job.appName);
    QSaveFile iconFile(dir.filePath(QString::fromLatin1(icon)));
    if (!iconFile.open(QIODevice::WriteOnly) || iconFile.write(png) != png.size() || !iconFile.commit())
        throw ZipError("cannot write the icon in " + folder.toStdString());
    writeAppArchive(dir.filePath(QString::fromLatin1(appArchive)), job, png);
    writeDiskImage(dir.filePath(QString::fromLatin1(diskImage)), job);
    if (isSourceMode(job.mode))
        writeSourceArchive(dir.filePath(QString::fromLatin1(sourceArchive)), job, png);
}

} // namespace jobfiles

} // namespace brightloom::devserver
