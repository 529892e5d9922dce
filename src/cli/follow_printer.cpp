#include "follow_printer.h"

#include "console.h"
#include "conversation/chat_view.h"
#include "localbuild/local_builds.h"
#include "text/control_characters.h"

#include <QDateTime>
#include <QFileInfo>
#include <cstdio>

namespace brightloom::cli {

namespace {

constexpr int logTailLines = 15;

} // namespace

FollowPrinter::FollowPrinter(ChatView& view, LocalBuilds& local, QObject* parent)
    : QObject(parent), m_view(&view), m_local(&local)
{
    connect(&view, &ChatView::statusChanged, this, &FollowPrinter::update);
    m_ticker.setInterval(1000);
    connect(&m_ticker, &QTimer::timeout, this, &FollowPrinter::tick);
    if (stdoutIsTerminal())
        m_ticker.start();
}

void FollowPrinter::update()
{
    if (m_ended || !m_view)
        return;
    const std::optional<Job> job = m_view->latest();
    if (!job)
        return;
    const StatusArea status = m_view->status();
    switch (status.kind) {
    case StatusArea::Kind::none:
        return;
    case StatusArea::Kind::progress:
        show(status.text, true);
        return;
    case StatusArea::Kind::failed:
        show(status.text, false);
        if (job->error)
            err(*job->error);
        finish(1);
        return;
    case StatusArea::Kind::download: {
        show(QStringLiteral("Built in the cloud: ") + m_view->dmgName(*job), false);
        finish(0);
        return;
    }
    case StatusArea::Kind::local:
        break;
    }

    const LocalArea area = m_view->localStatus(*job);
    show(area.text, area.spinner);
    const std::optional<LocalState> state = m_local ? m_local->state(job->id) : std::nullopt;
    if (!state)
        return;
    if (state->phase == LocalState::Phase::done && state->app) {
        out(*state->app);
        finish(0);
    } else if (state->phase == LocalState::Phase::failed) {
        if (state->error)
            err(*state->error);
        printLogTail(state->log);
        finish(1);
    }
}

// A line is printed once when it changes; on a terminal the running line also counts seconds.
void FollowPrinter::show(const QString& text, bool counting)
{
    if (text == m_shown)
        return;
    if (m_lineOpen) {
        std::fputs("\n", stdout);
        m_lineOpen = false;
    }
    m_shown = text;
    m_counting = counting;
    if (stdoutIsTerminal() && counting) {
        tick();
    } else {
        out(text);
    }
}

void FollowPrinter::tick()
{
    if (!m_counting || !m_view || m_shown.isEmpty())
        return;
    const QDateTime since = m_view->status().since;
    const qint64 seconds =
        since.isValid() ? std::max<qint64>(0, since.secsTo(QDateTime::currentDateTimeUtc())) : 0;
    // The status may quote the service (a stage's name): only the line's own controls act.
    const QString line = QStringLiteral("\r\033[K") + text::visibleControls(m_shown) + QStringLiteral("  ") +
                         QString::number(seconds) + QStringLiteral("s");
    std::fputs(line.toUtf8().constData(), stdout);
    std::fflush(stdout);
    m_lineOpen = true;
}

void FollowPrinter::printLogTail(const QString& log)
{
    if (log.isEmpty())
        return;
    QStringList lines = log.split(QLatin1Char('\n'));
    while (!lines.isEmpty() && lines.back().isEmpty())
        lines.removeLast();
    for (const QString& line : lines.mid(std::max<qsizetype>(0, lines.size() - logTailLines)))
        err(QStringLiteral("  | ") + line);
}

void FollowPrinter::finish(int status)
{
    if (m_lineOpen) {
        std::fputs("\n", stdout);
        m_lineOpen = false;
    }
    m_ended = true;
    m_ticker.stop();
    Q_EMIT ended(status);
}

} // namespace brightloom::cli
