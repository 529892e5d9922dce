#include "source_package.h"

namespace brightloom::test {

const QByteArray sourceManifest = R"(// swift-tools-version:5.9
import PackageDescription

let package = Package(
    name: "App",
    platforms: [.macOS(.v14)],
    targets: [
        .executableTarget(name: "App", path: "Sources/App")
    ]
)
)";

const QByteArray compilingSwift =
    "import SwiftUI\n@main struct TheApp: App { var body: some Scene { WindowGroup { Text(\"Hi\") } } }\n";

ZipMaker sourcePackage(const QByteArray& appSwift, const QByteArray& name)
{
    ZipMaker zip;
    zip.file(QStringLiteral("Package.swift"), sourceManifest)
        .file(QStringLiteral("Sources/App/App.swift"), appSwift)
        .file(QStringLiteral("app.json"), "{\"name\":\"" + name + "\"}");
    return zip;
}

} // namespace brightloom::test
