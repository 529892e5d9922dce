// Package.swift vetting and the pattern helper on arbitrary text. A refusal is an answer; anything
// else thrown, a crash, or a reason that is not one of the rule texts is a finding.

#include "localbuild/rejected.h"
#include "localbuild/source_fetch.h"

#include <QString>
#include <cstdint>
#include <cstdlib>

using namespace brightloom;

namespace {

bool knownReason(const QString& reason)
{
    static const QStringList fixed = {
        QStringLiteral("Package.swift imports something other than PackageDescription"),
        QStringLiteral("Package.swift declares a dependency in a form that cannot be checked"),
        QStringLiteral("a dependency in Package.swift does not start with url:"),
        QStringLiteral("unsafe compiler flags in Package.swift"),
    };
    return fixed.contains(reason) || reason.startsWith(QLatin1String("Package.swift uses ")) ||
           (reason.startsWith(QLatin1String("dependency ")) &&
            (reason.endsWith(QLatin1String(" is not on the allowed list")) ||
             reason.endsWith(QLatin1String(" is not pinned to an exact version"))));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    try {
        LocalBuild::validateManifest(text);
    } catch (const LocalBuild::Rejected& rejected) {
        if (!knownReason(rejected.reason))
            std::abort();
    }
    // The first line as a pattern (kept short: the engine's own backtracking is not under test) and
    // the rest as the text it searches.
    const qsizetype newline = text.indexOf(QLatin1Char('\n'));
    if (newline > 0 && newline <= 40) {
        const QStringList found = LocalBuild::captures(text.left(newline), text.mid(newline + 1));
        for (const QString& capture : found) {
            if (capture.size() > text.size())
                std::abort();
        }
    }
    return 0;
}
