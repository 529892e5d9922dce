// Following a project until its newest job is built or has failed.

#include "arguments.h"
#include "commands.h"
#include "conversation/chat_view.h"
#include "follow_printer.h"
#include "localbuild/local_builds.h"
#include "service/api.h"

#include <qcoro/qcorosignal.h>

namespace brightloom::cli {

QCoro::Task<int> followProject(API& api, QString projectId, std::optional<std::chrono::milliseconds> interval)
{
    const ProjectDetail detail = co_await api.detail(projectId);
    LocalBuilds local;
    ChatView view(api, local, detail.project);
    if (interval) {
        ChatView::PollIntervals intervals;
        intervals.active = *interval;
        intervals.idle = *interval;
        intervals.becameActive = *interval;
        view.setPollIntervals(intervals);
    }
    FollowPrinter printer(view, local);
    view.startPolling();
    const int status = co_await qCoro(&printer, &FollowPrinter::ended);
    co_return status;
}

std::optional<std::chrono::milliseconds> pollInterval(const Arguments& args)
{
    const std::optional<QString> text = args.option(QStringLiteral("interval"));
    if (!text)
        return std::nullopt;
    bool ok = false;
    const double seconds = text->toDouble(&ok);
    if (!ok || seconds <= 0 || seconds > 3600)
        throw UsageError(QStringLiteral("--interval takes a number of seconds"));
    return std::chrono::milliseconds(static_cast<qint64>(seconds * 1000));
}

QCoro::Task<int> follow(API& api, Arguments args)
{
    const auto interval = pollInterval(args);
    co_return co_await followProject(api, args.positional(0, "project id"), interval);
}

} // namespace brightloom::cli
