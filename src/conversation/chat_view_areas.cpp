// What the conversation shows for its newest job, and the buttons shown there.

#include "chat_view.h"
#include "localbuild/local_builds.h"
#include "platform/desktop.h"
#include "service/api.h"
#include "service/screen_action.h"

#include <QFileInfo>
#include <QUrl>

namespace brightloom {

namespace {

QString fixCounter(int fixes)
{
    return QStringLiteral(" (fix ") + QString::number(fixes) + QStringLiteral(" of ") +
           QString::number(ChatView::fixLimit) + QLatin1Char(')');
}

QString folderOf(const QString& path)
{
    return QFileInfo(path).absolutePath();
}

ChatButton button(const QString& label, ChatAction action, const QString& target = {})
{
    ChatButton b;
    b.label = label;
    b.action = action;
    b.target = target;
    return b;
}

} // namespace

StatusArea ChatView::status() const
{
    StatusArea area;
    const std::optional<Job> job = latest();
    if (!job)
        return area;
    const auto progress = [&](const QString& text) {
        area.kind = StatusArea::Kind::progress;
        area.text = text;
        area.since = m_stageSince.value(stageKey(*job), QDateTime::currentDateTimeUtc());
    };
    const JobMode mode = job->mode ? job->mode->value() : JobMode::unknown;
    switch (job->status.value()) {
    case JobStatus::queued:
        progress(QStringLiteral("Queued \u2014 waiting for the build machine\u2026"));
        break;
    case JobStatus::building:
        if (mode == JobMode::source)
            progress(QStringLiteral("Writing the code in the cloud\u2026"));
        else if (mode == JobMode::sourceFix)
            progress(QStringLiteral("Writing the code in the cloud\u2026") + fixCounter(fixesSoFar()));
        else
            progress(QStringLiteral("Building: ") + job->stage.value_or(QStringLiteral("starting")) +
                     QStringLiteral("\u2026"));
        break;
    case JobStatus::ready:
        area.kind = job->isSourceBuild() ? StatusArea::Kind::local : StatusArea::Kind::download;
        break;
    case JobStatus::failed:
        area.kind = StatusArea::Kind::failed;
        area.text = QStringLiteral("Build failed. Send another message to try again.");
        break;
    case JobStatus::unknown:
        break; // a status the client does not know shows nothing
    }
    return area;
}

LocalArea ChatView::localStatus(const Job& job) const
{
    LocalArea area;
    const std::optional<LocalState> state = m_local ? m_local->state(job.id) : std::nullopt;
    const LocalState::Phase phase = state ? state->phase : LocalState::Phase::downloading;
    switch (phase) {
    case LocalState::Phase::downloading:
        area.spinner = true;
        area.text = QStringLiteral("Downloading the code\u2026");
        break;
    case LocalState::Phase::compiling:
        area.spinner = true;
        area.text = QStringLiteral("Compiling on this Mac\u2026");
        if (fixesSoFar() > 0)
            area.text += fixCounter(fixesSoFar());
        break;
    case LocalState::Phase::packaging:
        area.spinner = true;
        area.text = QStringLiteral("Packaging and signing\u2026");
        break;
    case LocalState::Phase::askingForFix:
        area.spinner = true;
        area.text = QStringLiteral("Compile errors found. Asking the cloud to fix them\u2026");
        break;
    case LocalState::Phase::done: {
        const QString app = state->app.value_or(QString());
        area.text = QStringLiteral("Compiled on this Mac. Saved to ") + folderOf(app);
        area.buttons.append(button(QStringLiteral("Open app"), ChatAction::open, app));
        area.buttons.append(button(QStringLiteral("Show in Finder"), ChatAction::reveal, app));
        area.note =
            QStringLiteral("Apps are ad-hoc signed, not notarized. If macOS blocks the first launch, use "
                           "System Settings \u2192 Privacy & Security \u2192 Open Anyway.");
        break;
    }
    case LocalState::Phase::failed:
        area.text = QStringLiteral("Could not build on this Mac.");
        area.error = state->error;
        area.log = state->log;
        area.buttons.append(button(QStringLiteral("Try again"), ChatAction::tryAgain, job.id));
        break;
    }
    return area;
}

QString ChatView::dmgName(const Job& job, const Project& project)
{
    return QString(job.appName.value_or(project.name) + QLatin1Char(' ') + job.version.value_or(QString()))
        .trimmed();
}

std::optional<QUrl> ChatView::iconAddress(const Job& job) const
{
    if (!job.iconUrl || !m_api)
        return std::nullopt;
    return m_api->iconURL(*job.iconUrl);
}

DownloadArea ChatView::downloadArea(const Job& job) const
{
    DownloadArea area;
    const QString busy = QStringLiteral("Downloading\u2026");
    if (job.dmgUrl) {
        ChatButton dmg =
            button(m_downloading ? busy : QStringLiteral("Download app (.dmg)"), ChatAction::downloadDmg);
        dmg.enabled = !m_downloading;
        dmg.prominent = true;
        ChatButton zip = button(QStringLiteral(".zip instead"), ChatAction::downloadZip);
        zip.enabled = !m_downloading;
        area.buttons.append(dmg);
        area.buttons.append(zip);
    } else {
        ChatButton zip =
            button(m_downloading ? busy : QStringLiteral("Download app"), ChatAction::downloadZip);
        zip.enabled = !m_downloading;
        area.buttons.append(zip);
    }
    if (m_savedDmg) {
        SavedRow row;
        row.text = QStringLiteral("Saved to ") + folderOf(*m_savedDmg);
        row.buttons.append(button(QStringLiteral("Open .dmg"), ChatAction::open, *m_savedDmg));
        row.buttons.append(button(QStringLiteral("Show in Finder"), ChatAction::reveal, *m_savedDmg));
        area.saved.append(row);
    }
    if (m_downloadedApp) {
        SavedRow row;
        row.text = QStringLiteral("Saved to ") + folderOf(*m_downloadedApp);
        row.buttons.append(button(QStringLiteral("Open app"), ChatAction::open, *m_downloadedApp));
        row.buttons.append(button(QStringLiteral("Show in Finder"), ChatAction::reveal, *m_downloadedApp));
        area.saved.append(row);
    }
    return area;
}

void ChatView::trigger(const ChatButton& b)
{
    if (!b.enabled)
        return;
    switch (b.action) {
    case ChatAction::downloadDmg:
    case ChatAction::downloadZip: {
        const std::optional<Job> job = latest();
        if (!job || m_downloading)
            return;
        download(*job, b.action == ChatAction::downloadDmg);
        return;
    }
    case ChatAction::open:
        if (m_desktop)
            m_desktop->open(QUrl::fromLocalFile(b.target));
        return;
    case ChatAction::reveal:
        if (m_desktop)
            m_desktop->reveal(b.target);
        return;
    case ChatAction::tryAgain:
        if (m_local)
            m_local->remove(b.target);
        return;
    }
}

QCoro::Task<> ChatView::download(Job job, bool diskImage)
{
    if (!m_api || (diskImage && !job.dmgUrl))
        co_return;
    // A failed download stays on the error line until the next send clears it.
    ScreenAction action(this, &ChatView::setDownloading, &ChatView::setError, false);
    // A job without an archive address fails like an archive that cannot be read.
    // Two statements, not one conditional: GCC 12 miscompiles co_await in both arms of "?:".
    std::optional<QString> saved;
    if (diskImage)
        saved = co_await action.attempt(m_api->downloadDmg(*job.dmgUrl, dmgName(job)));
    else
        saved = co_await action.attempt(m_api->downloadApp(job.downloadUrl.value_or(QString())));
    if (!saved)
        co_return;
    if (diskImage)
        setSavedDmg(saved);
    else
        setDownloadedApp(saved);
}

} // namespace brightloom
