#include "chat_view.h"

#include "localbuild/local_builds.h"
#include "service/api.h"
#include "service/screen_action.h"
#include "threads/release_in_background.h"

#include <QRegularExpression>
#include <qcoro/qcorotimer.h>

namespace brightloom {

ChatView::ChatView(API& api, LocalBuilds& local, Project project, Desktop* desktop, QObject* parent)
    : QObject(parent), m_api(&api), m_local(&local), m_project(std::move(project)), m_desktop(desktop)
{
    // The local build area reads the controller's states, so their changes are the screen's too.
    connect(&local, &LocalBuilds::statesChanged, this, &ChatView::statusChanged);
}

ChatView::~ChatView() = default;

void ChatView::setPrompt(const QString& prompt)
{
    assignAndNotify(this, m_prompt, prompt, &ChatView::promptChanged);
}

std::optional<Job> ChatView::latest() const
{
    if (m_jobs.isEmpty())
        return std::nullopt;
    return m_jobs.front();
}

int ChatView::fixesSoFar() const
{
    int count = 0;
    for (const Job& job : m_jobs) {
        if (!job.mode || !(*job.mode == JobMode::sourceFix))
            break;
        ++count;
    }
    return count;
}

QString ChatView::stageKey(const Job& job)
{
    return job.id + QLatin1Char('|') + job.status.text() + QLatin1Char('|') + job.stage.value_or(QString());
}

std::optional<QDateTime> ChatView::parseCreatedAt(const std::optional<QString>& text)
{
    // Internet date-times only: a date, "T", a time with or without a fraction, and a zone.
    static const QRegularExpression internetDateTime(
        QStringLiteral(R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}(\.\d+)?(Z|[+-]\d{2}:\d{2})$)"),
        QRegularExpression::CaseInsensitiveOption);
    if (!text || !internetDateTime.match(*text).hasMatch())
        return std::nullopt;
    const QDateTime parsed = QDateTime::fromString(*text, Qt::ISODateWithMs);
    if (!parsed.isValid())
        return std::nullopt;
    return parsed.toUTC();
}

QCoro::Task<> ChatView::refresh()
{
    QPointer<ChatView> self(this);
    if (!m_api)
        co_return;
    std::optional<ProjectDetail> detail;
    try {
        detail = co_await m_api->detail(m_project.id);
    } catch (...) {
        // A failed refresh is silent: the next poll tries again.
    }
    if (!self)
        co_return;
    if (!detail) {
        Q_EMIT refreshed();
        co_return;
    }

    const bool messagesDiffer =
        detail->messages.size() != m_messages.size() ||
        !std::equal(detail->messages.cbegin(), detail->messages.cend(), m_messages.cbegin(),
                    [](const Message& a, const Message& b) {
                        return a.id == b.id && a.role == b.role && a.content == b.content;
                    });
    if (messagesDiffer) {
        QList<Message> before = std::exchange(m_messages, std::move(detail->messages));
        Q_EMIT messagesChanged();
        releaseInBackground(std::move(before)); // perhaps the last holder of thousands of messages
    }

    const std::optional<Job> before = latest();
    const std::optional<Job> after =
        detail->jobs.isEmpty() ? std::nullopt : std::optional<Job>(detail->jobs.front());
    const bool newestChanged = before.has_value() != after.has_value() ||
                               (before && (before->id != after->id || before->status != after->status));
    if (newestChanged) {
        setDownloadedApp(std::nullopt);
        setSavedDmg(std::nullopt);
    }

    m_jobs = std::move(detail->jobs);
    Q_EMIT jobsChanged();

    if (after && after->isActive()) {
        const QString key = stageKey(*after);
        if (!m_stageSince.contains(key)) {
            std::optional<QDateTime> since;
            if (after->status == JobStatus::queued)
                since = parseCreatedAt(after->createdAt);
            m_stageSince.insert(key, since.value_or(QDateTime::currentDateTimeUtc()));
            Q_EMIT stageSinceChanged();
        }
    }

    if (!m_loaded) {
        m_loaded = true;
        Q_EMIT loadedChanged();
    }
    Q_EMIT statusChanged();

    if (after && after->status == JobStatus::ready && after->isSourceBuild() && m_local && m_api)
        m_local->handle(m_project.id, *after, fixesSoFar(), *m_api);
    Q_EMIT refreshed();
}

void ChatView::startPolling()
{
    if (m_polling)
        return;
    m_polling = true;
    poll(++m_pollRun);
}

void ChatView::stopPolling()
{
    m_polling = false;
}

namespace {

QCoro::Task<> sleepOnTimer(std::chrono::milliseconds interval)
{
    co_await QCoro::sleepFor(interval);
}

} // namespace

// Ends at the first step after the screen is gone or polling stopped; a wait in progress then runs
// out first. A loop whose run was stopped and started again ends too: the new start has its own.
QCoro::Task<> ChatView::poll(int run)
{
    QPointer<ChatView> self(this);
    const auto current = [&] { return self && m_polling && m_pollRun == run; };
    // A copy of its own: a wait in progress outlives the screen.
    const PollWait wait = m_wait ? m_wait : PollWait(&sleepOnTimer);
    while (current()) {
        co_await refresh();
        if (!current())
            co_return;
        const std::optional<Job> newest = latest();
        if (!m_loaded || (newest && newest->isActive())) {
            co_await wait(m_intervals.active);
            continue;
        }
        const auto extra = m_intervals.becameActive;
        co_await wait(m_intervals.idle);
        if (!current())
            co_return;
        const std::optional<Job> now = latest();
        if (now && now->isActive())
            co_await wait(extra);
    }
}

bool ChatView::canSend() const
{
    if (m_sending || m_prompt.trimmed().isEmpty())
        return false;
    const std::optional<Job> newest = latest();
    return !newest || !newest->isActive();
}

void ChatView::send()
{
    if (!canSend())
        return;
    sendText(m_prompt.trimmed());
}

QCoro::Task<> ChatView::sendText(QString text)
{
    if (!m_api)
        co_return;
    bool ok = false;
    {
        // The error line clears as the message goes.
        ScreenAction action(this, &ChatView::setSending, &ChatView::setError);
        ok = co_await action.attempt(m_api->send(text, m_project.id, false));
        if (ok) {
            setPrompt(QString());
            // Still sending until the refresh shows the job the message started, so a second
            // Return in between cannot send again.
            co_await refresh();
        }
        if (!action.screenAlive())
            co_return;
    }
    Q_EMIT sent(ok);
}

void ChatView::setError(std::optional<QString> error)
{
    assignAndNotify(this, m_error, std::move(error), &ChatView::errorChanged);
}

void ChatView::setSending(bool sending)
{
    assignAndNotify(this, m_sending, sending, &ChatView::sendingChanged);
}

void ChatView::setDownloading(bool downloading)
{
    if (assignAndNotify(this, m_downloading, downloading, &ChatView::downloadingChanged))
        Q_EMIT statusChanged();
}

void ChatView::setDownloadedApp(std::optional<QString> path)
{
    if (assignAndNotify(this, m_downloadedApp, std::move(path), &ChatView::downloadedAppChanged))
        Q_EMIT statusChanged();
}

void ChatView::setSavedDmg(std::optional<QString> path)
{
    if (assignAndNotify(this, m_savedDmg, std::move(path), &ChatView::savedDmgChanged))
        Q_EMIT statusChanged();
}

} // namespace brightloom
