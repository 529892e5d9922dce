#pragma once

#include <QString>
#include <QStringView>
#include <optional>

namespace brightloom {

class Dialogs;

// A GitHub repository named in a request, in its canonical form, and how many different
// repositories the whole request names.
struct RepoLink
{
    // The user's answer to the import question, in the order the alert offers them.
    enum class Choice { importAndBuild, buildWithoutImporting, cancel };

    static const QString host;        // "github.com"
    static const QString hostAddress; // "https://github.com"

    QString url;                // hostAddress + "/" + owner + "/" + name; never a ref or ".git"
    std::optional<QString> ref; // the branch, tag or commit after "/tree/", when usable
    QString name;               // the repository's name as written
    int distinct = 1;           // different repositories in the text, this one included

    bool operator==(const RepoLink&) const = default;

    // The first usable repository link in `text`, or nothing.
    static std::optional<RepoLink> detect(QStringView text);

    // Asks whether to import this repository, build without it, or stop.
    Choice confirm(Dialogs& dialogs) const;
};

} // namespace brightloom
