#pragma once

#include "service/records.h"

#include <QFuture>
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

namespace brightloom {

// One line of the version tree as it is listed: a version, a fork branching off the version above
// it, or the count of forks that are not listed. The tree's nesting becomes `depth`.
struct TreeRow
{
    enum class Kind : std::uint8_t { version, fork, privateForks };

    Kind kind = Kind::version;
    int depth = 0;
    QString text;   // "Version 1.0", "Fork: Notes (yours)", "2 private forks"
    QString detail; // a version's summary, else its request, on one line; empty for other rows
    QString jobId;  // a version's job; empty for other rows
    bool hasSource = false;
    bool mine = false; // a fork of the signed-in user
};

// What a version's "Use as template" button reads and whether it can be pressed.
struct TemplateButton
{
    QString label;
    bool enabled = false;
    QString help;
};

namespace TreeRows {

inline const QString useAsTemplate = QStringLiteral("Use as template");
inline const QString starting = QStringLiteral("Starting\u2026");
inline const QString templateHelp = QStringLiteral("Start a new project from this build");
inline const QString noSourceHelp =
    QStringLiteral("This build did not keep its source, so it cannot start a new project.");

// Every row of `tree` in reading order: a version, then for each of its forks the fork's line and
// the fork's versions one level deeper, then its private-fork line. Walks with an explicit stack, so
// a tree of any depth is listed without deep recursion.
std::vector<TreeRow> flatten(const std::vector<std::shared_ptr<const TreeNode>>& tree);

// flatten() on the thread pool. The rows come back behind a pointer: a future hands out copies of
// its result, and a copy of a long list would cost the main thread what the pool saved it.
QFuture<std::shared_ptr<std::vector<TreeRow>>>
flattenInBackground(std::vector<std::shared_ptr<const TreeNode>> tree);

QString versionLine(const TreeNode& node);
QString forkLine(const TreeFork& fork);
QString privateForksLine(std::int64_t count);
// The summary, or the request when there is none, with its line breaks turned into spaces.
QString detailLine(const TreeNode& node);

// A version row's button while `forking` (empty: none) runs, in a tree whose versions may be used as
// templates when `canTemplate`. A build without its source cannot be started from.
TemplateButton templateButton(const TreeRow& row, bool canTemplate, const QString& forking);

} // namespace TreeRows
} // namespace brightloom
