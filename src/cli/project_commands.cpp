// Commands about projects: show, send, download.

#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "conversation/chat_view.h"
#include "download_progress.h"
#include "service/api.h"
#include "service/api_error.h"

namespace brightloom::cli {
namespace {

QString jobLine(const Job& job)
{
    QStringList fields{job.id, job.status.text()};
    fields.append(job.stage.value_or(QString()));
    fields.append(job.mode ? job.mode->text() : QString());
    fields.append(job.appName.value_or(QString()));
    fields.append(job.version.value_or(QString()));
    if (job.error)
        fields.append(*job.error);
    return QStringLiteral("job\t") + fields.join(QLatin1Char('\t'));
}

} // namespace

QCoro::Task<int> show(API& api, Arguments args)
{
    const ProjectDetail detail = co_await api.detail(args.positional(0, "project id"));
    if (args.flag(QStringLiteral("json"))) {
        out(QString::fromUtf8(encodeRecord(detail)));
        co_return 0;
    }
    out(QStringLiteral("project\t") + detail.project.id + QLatin1Char('\t') + detail.project.name +
        (detail.project.unsafe.value_or(false) ? QStringLiteral("\tunsafe") : QString()));
    for (const Message& message : detail.messages)
        out(message.role + QStringLiteral(": ") + message.content);
    for (const Job& job : detail.jobs)
        out(jobLine(job));
    co_return 0;
}

QCoro::Task<int> sendMessage(API& api, Arguments args)
{
    // --fix sends the text as a request to repair a local compile failure, as the local build does.
    co_await api.send(args.positional(1, "text"), args.positional(0, "project id"),
                      args.flag(QStringLiteral("fix")));
    co_return 0;
}

QCoro::Task<int> download(API& api, Arguments args)
{
    const ProjectDetail detail = co_await api.detail(args.positional(0, "project id"));
    const Job* ready = nullptr;
    for (const Job& job : detail.jobs) {
        if (job.status == JobStatus::ready) {
            ready = &job;
            break;
        }
    }
    if (!ready)
        throw APIError(QStringLiteral("This project has no ready build yet."));
    const Job job = *ready;
    const bool wantZip =
        args.flag(QStringLiteral("zip")) || (!args.flag(QStringLiteral("dmg")) && !job.dmgUrl);
    DownloadProgress progress;
    QString saved;
    if (wantZip) {
        if (!job.downloadUrl)
            throw APIError(QStringLiteral("This build has no app archive."));
        saved = co_await api.downloadApp(*job.downloadUrl, progress.observer());
    } else {
        if (!job.dmgUrl)
            throw APIError(QStringLiteral("This build has no disk image."));
        saved = co_await api.downloadDmg(*job.dmgUrl, ChatView::dmgName(job, detail.project),
                                         progress.observer());
    }
    progress.finish();
    out(saved);
    co_return 0;
}

} // namespace brightloom::cli
