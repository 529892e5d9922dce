#pragma once

#include <QString>

namespace brightloom {

// What the new project screen says under the request when it names a GitHub repository: which one
// (its name in bold), how many were named, what importing means, and whether Xcode is missing.
struct LinkNotice
{
    static const QString foundBefore;  // "Found the GitHub repo "
    static const QString foundAfter;   // " in your request."
    static const QString explanation;  // what an import does
    static const QString missingXcode; // the warning line when the check found no toolchain

    QString name;
    int distinct = 1;
    bool xcodeMissing = false;

    // " You named N repositories; only the first is imported." when more than one, else "".
    QString distinctSentence() const;
    // The first line without emphasis: foundBefore + name + foundAfter + distinctSentence().
    QString foundLine() const;

    bool operator==(const LinkNotice&) const = default;
};

} // namespace brightloom
