#pragma once

#include "conversation/status_area.h"

#include <QUrl>
#include <QWidget>
#include <optional>

class QLabel;

namespace brightloom {
class ChatView;
class Desktop;
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class DownloadAreaWidget;
class LocalBuildArea;
class ProgressRow;

// What the conversation shows under its messages for the newest job: the progress row while it is
// queued or built, the local build or the download area once it is ready, or the failure. Drawn from
// the conversation's status, local build and download areas; its buttons act through the
// conversation. Hidden while there is no job.
class StatusAreaWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StatusAreaWidget)

public:
    StatusAreaWidget(ChatView& view, IconLoader& icons, Desktop* desktop, QWidget* parent = nullptr);

    // Reads the conversation again; when nothing it shows changed, no widget is touched.
    void refresh();

    ProgressRow* progress() const { return m_progress; }
    LocalBuildArea* local() const { return m_local; }
    DownloadAreaWidget* download() const { return m_download; }
    QLabel* failedLabel() const { return m_failed; }
    // The widgets Tab visits, in order.
    QList<QWidget*> focusChain() const;
    // How many times what it shows changed.
    int redraws() const { return m_redraws; }

Q_SIGNALS:
    // The widgets Tab visits changed.
    void focusChainChanged();

private:
    struct Shown
    {
        StatusArea status;
        std::optional<LocalArea> local;
        std::optional<DownloadArea> download;
        QString appName;
        std::optional<QString> version;
        std::optional<QUrl> icon;
        bool operator==(const Shown&) const = default;
    };

    Shown read() const;

    ChatView& m_view;
    ProgressRow* m_progress;
    LocalBuildArea* m_local;
    DownloadAreaWidget* m_download;
    QLabel* m_failed;
    std::optional<Shown> m_shown;
    int m_redraws = 0;
};

} // namespace brightloom::ui
