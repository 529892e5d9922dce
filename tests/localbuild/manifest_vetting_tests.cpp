#include "localbuild/rejected.h"
#include "localbuild/source_fetch.h"

#include <gtest/gtest.h>
#include <optional>

using namespace brightloom;
using LocalBuild::Rejected;

namespace {

// The reason the manifest is refused for, or nothing when it passes.
std::optional<QString> refusal(const QString& manifest)
{
    try {
        LocalBuild::validateManifest(manifest);
    } catch (const Rejected& rejected) {
        return rejected.reason;
    }
    return std::nullopt;
}

QString manifestWith(const QString& dependencies, const QString& settings = {})
{
    return QStringLiteral("// swift-tools-version:5.9\nimport PackageDescription\n\nlet package = Package(\n"
                          "    name: \"App\",\n    dependencies: [\n") +
           dependencies +
           QStringLiteral(
               "\n    ],\n    targets: [\n        .executableTarget(name: \"App\", path: \"Sources/App\"") +
           settings + QStringLiteral(")\n    ]\n)\n");
}

QString dependency(const QString& arguments)
{
    return QStringLiteral("        .package(") + arguments + QStringLiteral("),");
}

const QString appAuth = QStringLiteral("https://github.com/openid/AppAuth-iOS");

QString pinned(const QString& address, const QString& pin)
{
    return dependency(QStringLiteral("url: \"") + address + QStringLiteral("\", ") + pin);
}

} // namespace

TEST(Manifest, ToolsVersionCommentThenTheOneImportPasses)
{
    EXPECT_EQ(refusal(QStringLiteral("// swift-tools-version:5.9\nimport PackageDescription\n\nlet package = "
                                     "Package(name: \"App\")\n")),
              std::nullopt);
}

TEST(Manifest, AnotherImportBesideTheAllowedOneIsRefused)
{
    EXPECT_EQ(
        refusal(QStringLiteral("// swift-tools-version:5.9\nimport PackageDescription\nimport Foundation\n")),
        QStringLiteral("Package.swift imports something other than PackageDescription"));
}

TEST(Manifest, TheAllowedImportTwiceIsRefusedAlsoWhenIndented)
{
    const QString reason = QStringLiteral("Package.swift imports something other than PackageDescription");
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\nimport PackageDescription\n")), reason);
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\n  \t import PackageDescription\n")), reason);
}

TEST(Manifest, ImportWithATabBeforeTheModuleIsAnImport)
{
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\nimport\tFoundation\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\n\timport\t\tFoundation\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
}

TEST(Manifest, AttributeOrAccessLevelBeforeImportIsStillAnImport)
{
    for (const QString& line :
         {QStringLiteral("@preconcurrency import Foundation"), QStringLiteral("@_exported import Foundation"),
          QStringLiteral("@testable\timport Foundation"),
          QStringLiteral("@available(macOS 10.15, *) import Foundation"),
          QStringLiteral("@preconcurrency @_exported import Foundation"),
          QStringLiteral("internal import Foundation"), QStringLiteral("public import Foundation")}) {
        EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\n") + line + QLatin1Char('\n')),
                  QStringLiteral("Package.swift imports something other than PackageDescription"))
            << line.toStdString();
    }
    EXPECT_EQ(refusal(QStringLiteral("@preconcurrency import PackageDescription\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
}

TEST(Manifest, LoneCarriageReturnEndsALine)
{
    // The import hides behind a comment when only line feeds end lines.
    EXPECT_EQ(
        refusal(QStringLiteral("// swift-tools-version:5.9\rimport Foundation\nimport PackageDescription\n")),
        QStringLiteral("Package.swift imports something other than PackageDescription"));
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\n// tools\r\timport Darwin\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
}

TEST(Manifest, ImportAfterASemicolonOrABlockCommentIsStillAnImport)
{
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\nlet a = 1; import Foundation\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\n/* tools */ import Foundation\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\n/*\n note\n*/import Foundation\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
}

TEST(Manifest, TheOneAllowedImportPassesWithAnyLineEnds)
{
    const QString rest = QStringLiteral("let package = Package(name: \"App\")");
    EXPECT_EQ(
        refusal(QStringLiteral("// swift-tools-version:5.9\r\nimport PackageDescription\r\n\r\n") + rest),
        std::nullopt);
    EXPECT_EQ(refusal(QStringLiteral("// swift-tools-version:5.9\rimport PackageDescription\r") + rest),
              std::nullopt);
    EXPECT_EQ(
        refusal(QStringLiteral("import PackageDescription\n// import is a word, important too\n") + rest),
        std::nullopt);
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\nlet importance = 1\n") + rest),
              std::nullopt);
}

TEST(Manifest, NoImportAtAllIsRefused)
{
    EXPECT_EQ(refusal(QStringLiteral("let package = Package(name: \"App\")\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
}

TEST(Manifest, IndentedImportCountsAndTrailingSpacesAreTrimmed)
{
    EXPECT_EQ(refusal(QStringLiteral("\t  import PackageDescription \t\n")), std::nullopt);
}

TEST(Manifest, FileManagerInsideACommentIsRefused)
{
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\n// no FileManager here\n")),
              QStringLiteral("Package.swift uses FileManager"));
}

TEST(Manifest, FirstForbiddenConstructInListOrderIsReported)
{
    EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\n#if os(macOS)\n#endif\n// .plugin\n")),
              QStringLiteral("Package.swift uses .plugin"));
}

TEST(Manifest, EveryForbiddenConstructIsRefused)
{
    const QStringList constructs = {QStringLiteral(".plugin"),       QStringLiteral("plugins:"),
                                    QStringLiteral(".binaryTarget"), QStringLiteral(".systemLibrary"),
                                    QStringLiteral(".package(path"), QStringLiteral("Process("),
                                    QStringLiteral("FileManager"),   QStringLiteral("ProcessInfo"),
                                    QStringLiteral("#if"),           QStringLiteral("readFile")};
    for (const QString& construct : constructs)
        EXPECT_EQ(refusal(QStringLiteral("import PackageDescription\nlet x = \"") + construct +
                          QStringLiteral("\"\n")),
                  QStringLiteral("Package.swift uses ") + construct);
}

TEST(Manifest, AllowedAddressPinnedExactlyPasses)
{
    for (const QString& address : LocalBuild::allowedPackageURLs())
        EXPECT_EQ(refusal(manifestWith(pinned(address, QStringLiteral("exact: \"1.2.3\"")))), std::nullopt)
            << address.toStdString();
}

TEST(Manifest, FourAllowedPackagesOnGitHubWithoutSuffix)
{
    const QStringList& urls = LocalBuild::allowedPackageURLs();
    ASSERT_EQ(urls.size(), 4);
    const QStringList names = {QStringLiteral("/AppAuth-iOS"), QStringLiteral("/llama.swift"),
                               QStringLiteral("/onnxruntime-swift-package-manager"),
                               QStringLiteral("/ml-stable-diffusion")};
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(urls[i].startsWith(QLatin1String("https://github.com/")));
        EXPECT_TRUE(urls[i].endsWith(names[i])) << urls[i].toStdString();
    }
}

TEST(Manifest, FromBranchOrShortVersionIsNotPinned)
{
    const QString reason =
        QStringLiteral("dependency ") + appAuth + QStringLiteral(" is not pinned to an exact version");
    EXPECT_EQ(refusal(manifestWith(pinned(appAuth, QStringLiteral("from: \"1.2.3\"")))), reason);
    EXPECT_EQ(refusal(manifestWith(pinned(appAuth, QStringLiteral("branch: \"main\"")))), reason);
    EXPECT_EQ(refusal(manifestWith(pinned(appAuth, QStringLiteral("exact: \"1.2\"")))), reason);
}

TEST(Manifest, TwoExactPinsOrAnExactPinBesideFromAreNotPinned)
{
    const QString reason =
        QStringLiteral("dependency ") + appAuth + QStringLiteral(" is not pinned to an exact version");
    EXPECT_EQ(refusal(manifestWith(pinned(appAuth, QStringLiteral("exact: \"1.2.3\", exact: \"1.2.4\"")))),
              reason);
    EXPECT_EQ(refusal(manifestWith(pinned(appAuth, QStringLiteral("exact: \"1.2.3\", from: \"1.0.0\"")))),
              reason);
}

TEST(Manifest, AllowedAddressWithTrailingSlashOrGitSuffixIsNotOnTheList)
{
    for (const QString& address : QStringList{appAuth + QLatin1Char('/'), appAuth + QStringLiteral(".git")})
        EXPECT_EQ(refusal(manifestWith(pinned(address, QStringLiteral("exact: \"1.2.3\"")))),
                  QStringLiteral("dependency ") + address + QStringLiteral(" is not on the allowed list"));
}

TEST(Manifest, UnknownPackageIsNotOnTheList)
{
    EXPECT_EQ(refusal(manifestWith(
                  pinned(QStringLiteral("https://github.com/evil/pkg"), QStringLiteral("exact: \"1.0.0\"")))),
              QStringLiteral("dependency https://github.com/evil/pkg is not on the allowed list"));
}

TEST(Manifest, NameBeforeUrlDoesNotStartWithUrl)
{
    EXPECT_EQ(refusal(manifestWith(dependency(QStringLiteral("name: \"AppAuth\", url: \"") + appAuth +
                                              QStringLiteral("\", exact: \"1.2.3\"")))),
              QStringLiteral("a dependency in Package.swift does not start with url:"));
}

// The declaration pattern stops at the first ")", so a nested parenthesis cuts the declaration short
// instead of leaving a .package uncounted: with "String(" the address no longer starts with url: "…".
TEST(Manifest, NestedParenthesisAroundTheAddressDoesNotStartWithUrl)
{
    EXPECT_EQ(refusal(manifestWith(dependency(QStringLiteral("url: String(\"") + appAuth +
                                              QStringLiteral("\"), exact: \"1.2.3\"")))),
              QStringLiteral("a dependency in Package.swift does not start with url:"));
}

// …and a nested parenthesis after the address cuts off the pin.
TEST(Manifest, NestedParenthesisAroundThePinIsNotPinned)
{
    EXPECT_EQ(refusal(manifestWith(pinned(appAuth, QStringLiteral("exact: Version(\"1.2.3\")")))),
              QStringLiteral("dependency ") + appAuth + QStringLiteral(" is not pinned to an exact version"));
}

// The form that cannot be checked: a .package not followed at once by its parenthesis.
TEST(Manifest, PackageWithASpaceBeforeItsParenthesisCannotBeChecked)
{
    EXPECT_EQ(refusal(manifestWith(QStringLiteral("        .package (url: \"") + appAuth +
                                   QStringLiteral("\", exact: \"1.2.3\"),"))),
              QStringLiteral("Package.swift declares a dependency in a form that cannot be checked"));
    EXPECT_EQ(refusal(manifestWith(QStringLiteral("        .package"))),
              QStringLiteral("Package.swift declares a dependency in a form that cannot be checked"));
}

TEST(Manifest, ProductReferenceNamedPackageIsNotADependency)
{
    // ".product(name:package:)" has "package:" without a dot before it, and ".packages" has no word end.
    EXPECT_EQ(refusal(manifestWith(pinned(appAuth, QStringLiteral("exact: \"1.2.3\"")),
                                   QStringLiteral(", dependencies: [.product(name: \"AppAuth\", package: "
                                                  "\"AppAuth-iOS\")]"))),
              std::nullopt);
}

TEST(Manifest, ParseAsLibraryAloneWithOrWithoutSpacesPasses)
{
    for (const QString& list :
         {QStringLiteral("[\"-parse-as-library\"]"), QStringLiteral("[ \"-parse-as-library\" ]"),
          QStringLiteral("[  \"-parse-as-library\"]")})
        EXPECT_EQ(refusal(manifestWith(QString(), QStringLiteral(", swiftSettings: [.unsafeFlags(") + list +
                                                      QStringLiteral(")]"))),
                  std::nullopt)
            << list.toStdString();
}

TEST(Manifest, SecondUnsafeFlagIsRefused)
{
    EXPECT_EQ(refusal(manifestWith(QString(),
                                   QStringLiteral(", swiftSettings: [.unsafeFlags([\"-parse-as-library\", "
                                                  "\"-Xlinker\"])]"))),
              QStringLiteral("unsafe compiler flags in Package.swift"));
}

TEST(Manifest, FlagWithATabOrUnquotedIsRefused)
{
    // Only U+0020 is removed before the comparison.
    EXPECT_EQ(refusal(manifestWith(
                  QString(), QStringLiteral(", swiftSettings: [.unsafeFlags([\t\"-parse-as-library\"])]"))),
              QStringLiteral("unsafe compiler flags in Package.swift"));
    EXPECT_EQ(refusal(manifestWith(QString(), QStringLiteral(", swiftSettings: [.unsafeFlags([])]"))),
              QStringLiteral("unsafe compiler flags in Package.swift"));
}

TEST(Manifest, RulesAreCheckedInOrder)
{
    // A bad import wins over everything after it; a forbidden construct over a bad dependency.
    EXPECT_EQ(refusal(QStringLiteral("import Foundation\nFileManager\n")),
              QStringLiteral("Package.swift imports something other than PackageDescription"));
    EXPECT_EQ(refusal(manifestWith(pinned(QStringLiteral("https://x"), QStringLiteral("from: \"1.0.0\""))) +
                      QStringLiteral("// ProcessInfo")),
              QStringLiteral("Package.swift uses ProcessInfo"));
}

TEST(Manifest, RefusalDescriptionIsTheSentenceTheUserSees)
{
    try {
        LocalBuild::validateManifest(QStringLiteral("import Foundation\n"));
        FAIL() << "not refused";
    } catch (const Rejected& rejected) {
        EXPECT_STREQ(
            rejected.what(),
            "Refused to build this source: Package.swift imports something other than PackageDescription");
    }
}

TEST(Captures, GroupOneOfEveryMatchInOrder)
{
    EXPECT_EQ(LocalBuild::captures(QStringLiteral("a(\\d)"), QStringLiteral("a1 b2 a3 a")),
              (QStringList{QStringLiteral("1"), QStringLiteral("3")}));
}

TEST(Captures, MatchesDoNotOverlap)
{
    EXPECT_EQ(LocalBuild::captures(QStringLiteral("(aa)"), QStringLiteral("aaaaa")),
              (QStringList{QStringLiteral("aa"), QStringLiteral("aa")}));
}

TEST(Captures, PatternWithoutGroupOneGivesNothing)
{
    EXPECT_TRUE(LocalBuild::captures(QStringLiteral("a"), QStringLiteral("aaa")).isEmpty());
    EXPECT_EQ(LocalBuild::captures(QStringLiteral("(x)?y"), QStringLiteral("y xy")),
              (QStringList{QStringLiteral("x")}));
}

TEST(Captures, PatternThatDoesNotCompileGivesNothing)
{
    EXPECT_TRUE(LocalBuild::captures(QStringLiteral("(unclosed"), QStringLiteral("(unclosed")).isEmpty());
}

TEST(Captures, CaretMeansTheStartOfTheWholeText)
{
    EXPECT_EQ(LocalBuild::captures(QStringLiteral("^(\\w+)"), QStringLiteral("one\ntwo")),
              (QStringList{QStringLiteral("one")}));
}
