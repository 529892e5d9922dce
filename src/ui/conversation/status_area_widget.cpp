#include "status_area_widget.h"

#include "conversation/chat_view.h"
#include "download_area_widget.h"
#include "local_build_area.h"
#include "progress_row.h"
#include "ui/shared/app_header.h"

#include <QLabel>
#include <QVBoxLayout>

namespace brightloom::ui {

StatusAreaWidget::StatusAreaWidget(ChatView& view, IconLoader& icons, Desktop* desktop, QWidget* parent)
    : QWidget(parent), m_view(view), m_progress(new ProgressRow(this)),
      m_local(new LocalBuildArea(icons, this)), m_download(new DownloadAreaWidget(icons, desktop, this)),
      m_failed(new QLabel(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 4, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_progress);
    layout->addWidget(m_local);
    layout->addWidget(m_download);
    m_failed->setWordWrap(true);
    m_failed->setTextFormat(Qt::PlainText);
    m_failed->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_failed->setAccessibleDescription(QStringLiteral("Build status"));
    layout->addWidget(m_failed);
    layout->addStretch(1);
    for (QWidget* part : {static_cast<QWidget*>(m_progress), static_cast<QWidget*>(m_local),
                          static_cast<QWidget*>(m_download), static_cast<QWidget*>(m_failed)})
        part->hide();
    hide();

    const auto act = [this](const ChatButton& button) { m_view.trigger(button); };
    connect(m_local, &LocalBuildArea::triggered, this, act);
    connect(m_download, &DownloadAreaWidget::triggered, this, act);
    refresh();
}

StatusAreaWidget::Shown StatusAreaWidget::read() const
{
    Shown shown;
    shown.status = m_view.status();
    const std::optional<Job> job = m_view.latest();
    if (!job)
        return shown;
    if (shown.status.kind == StatusArea::Kind::local)
        shown.local = m_view.localStatus(*job);
    else if (shown.status.kind == StatusArea::Kind::download)
        shown.download = m_view.downloadArea(*job);
    if (shown.local || shown.download) {
        shown.appName = job->appName.value_or(m_view.project().name);
        shown.version = job->version;
        shown.icon = m_view.iconAddress(*job);
    }
    return shown;
}

void StatusAreaWidget::refresh()
{
    Shown now = read();
    if (m_shown && *m_shown == now)
        return;
    const QList<QWidget*> chainBefore = focusChain();
    ++m_redraws;
    const StatusArea::Kind kind = now.status.kind;
    if (kind == StatusArea::Kind::progress)
        m_progress->set(now.status.text, now.status.since);
    if (now.local) {
        if (!m_shown || m_shown->appName != now.appName || m_shown->version != now.version ||
            m_shown->icon != now.icon || !m_shown->local)
            m_local->header()->setApp(now.appName, now.version, now.icon);
        m_local->setArea(*now.local);
    }
    if (now.download) {
        if (!m_shown || m_shown->appName != now.appName || m_shown->version != now.version ||
            m_shown->icon != now.icon || !m_shown->download)
            m_download->header()->setApp(now.appName, now.version, now.icon);
        m_download->setArea(*now.download);
    }
    if (kind == StatusArea::Kind::failed)
        m_failed->setText(now.status.text);
    m_progress->setVisible(kind == StatusArea::Kind::progress);
    m_local->setVisible(kind == StatusArea::Kind::local);
    m_download->setVisible(kind == StatusArea::Kind::download);
    m_failed->setVisible(kind == StatusArea::Kind::failed);
    setVisible(kind != StatusArea::Kind::none);
    m_shown = std::move(now);
    updateGeometry();
    if (focusChain() != chainBefore)
        Q_EMIT focusChainChanged();
}

QList<QWidget*> StatusAreaWidget::focusChain() const
{
    if (!m_shown)
        return {};
    switch (m_shown->status.kind) {
    case StatusArea::Kind::local:
        return m_local->focusChain();
    case StatusArea::Kind::download:
        return m_download->focusChain();
    default:
        return {};
    }
}

} // namespace brightloom::ui
