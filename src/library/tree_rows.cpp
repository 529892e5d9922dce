#include "tree_rows.h"

#include <QtConcurrent/QtConcurrentRun>

namespace brightloom::TreeRows {

QString versionLine(const TreeNode& node)
{
    return QStringLiteral("Version ") + node.version;
}

QString forkLine(const TreeFork& fork)
{
    return QStringLiteral("Fork: ") + fork.name + (fork.mine ? QStringLiteral(" (yours)") : QString());
}

QString privateForksLine(std::int64_t count)
{
    return QString::number(count) + QStringLiteral(" private ") +
           (count == 1 ? QStringLiteral("fork") : QStringLiteral("forks"));
}

QString detailLine(const TreeNode& node)
{
    QString line = node.summary.value_or(node.prompt);
    for (QChar& c : line) {
        if (c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    }
    return line;
}

std::vector<TreeRow> flatten(const std::vector<std::shared_ptr<const TreeNode>>& tree)
{
    // What is still to be listed, the next item on top: a version, a fork, or a private-fork count.
    struct Pending
    {
        const TreeNode* node = nullptr;
        const TreeFork* fork = nullptr;
        std::int64_t hiddenForks = 0;
        int depth = 0;
    };
    std::vector<Pending> stack;
    std::vector<TreeRow> rows;
    for (auto it = tree.rbegin(); it != tree.rend(); ++it)
        stack.push_back({it->get(), nullptr, 0, 0});
    while (!stack.empty()) {
        const Pending item = stack.back();
        stack.pop_back();
        TreeRow row;
        row.depth = item.depth;
        if (item.node) {
            const TreeNode& node = *item.node;
            row.kind = TreeRow::Kind::version;
            row.text = versionLine(node);
            row.detail = detailLine(node);
            row.jobId = node.jobId;
            row.hasSource = node.hasSource;
            if (node.hiddenForks > 0)
                stack.push_back({nullptr, nullptr, node.hiddenForks, item.depth});
            for (auto it = node.forks.rbegin(); it != node.forks.rend(); ++it)
                stack.push_back({nullptr, it->get(), 0, item.depth});
        } else if (item.fork) {
            row.kind = TreeRow::Kind::fork;
            row.text = forkLine(*item.fork);
            row.mine = item.fork->mine;
            for (auto it = item.fork->nodes.rbegin(); it != item.fork->nodes.rend(); ++it)
                stack.push_back({it->get(), nullptr, 0, item.depth + 1});
        } else {
            row.kind = TreeRow::Kind::privateForks;
            row.text = privateForksLine(item.hiddenForks);
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

QFuture<std::shared_ptr<std::vector<TreeRow>>>
flattenInBackground(std::vector<std::shared_ptr<const TreeNode>> tree)
{
    return QtConcurrent::run(
        [tree = std::move(tree)] { return std::make_shared<std::vector<TreeRow>>(flatten(tree)); });
}

TemplateButton templateButton(const TreeRow& row, bool canTemplate, const QString& forking)
{
    TemplateButton button;
    button.label = !forking.isEmpty() && forking == row.jobId ? starting : useAsTemplate;
    button.enabled = canTemplate && forking.isEmpty() && row.hasSource;
    button.help = row.hasSource ? templateHelp : noSourceHelp;
    return button;
}

} // namespace brightloom::TreeRows
