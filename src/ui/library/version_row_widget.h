#pragma once

#include "service/records.h"

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

namespace brightloom::ui {

class OneLineLabel;
class LinkButton;

// One built version of an app: its label, app name and summary, its download, and once saved the
// way to the file.
class VersionRowWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VersionRowWidget)

public:
    explicit VersionRowWidget(QWidget* parent = nullptr);

    // `busy`: its download runs; `saved`: its download was saved.
    void bind(const LibraryVersion& version, bool busy, bool saved);

    static int heightFor(const QWidget& widget);

    const QString& jobId() const { return m_jobId; }
    QLabel* titleLabel() const;
    QLabel* appNameLabel() const;
    OneLineLabel* summaryLabel() const { return m_summary; }
    QPushButton* downloadButton() const { return m_download; }
    QProgressBar* progress() const { return m_progress; }
    QPushButton* showInFinderButton() const;

Q_SIGNALS:
    void download(const QString& jobId);
    void showInFinder(const QString& jobId);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* m_title;
    OneLineLabel* m_appName;
    OneLineLabel* m_summary;
    QProgressBar* m_progress;
    QPushButton* m_download;
    LinkButton* m_showInFinder;
    QString m_jobId;
};

} // namespace brightloom::ui
