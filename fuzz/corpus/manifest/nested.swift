// swift-tools-version:5.9
import PackageDescription

let package = Package(
    name: "App",
    dependencies: [
        .package(url: "https://github.com/openid/AppAuth-iOS", exact: Version("1.7.5")),
    ],
    targets: [
        .executableTarget(name: "App", path: "Sources/App", swiftSettings: [.unsafeFlags(["-parse-as-library"])])
    ]
)
