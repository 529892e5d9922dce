#pragma once

#include <QWidget>

class QLabel;

namespace brightloom {
class WorkerStatusBanner;
} // namespace brightloom

namespace brightloom::ui {

// The row that says builds are delayed, above the detail pane. It polls while the main screen shows
// and takes no space while all is well. The row is one label, so a screen reader reads it as one.
class WorkerStatusBannerWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WorkerStatusBannerWidget)

public:
    explicit WorkerStatusBannerWidget(WorkerStatusBanner& model, QWidget* parent = nullptr);

    WorkerStatusBanner& model() const { return *m_model; }
    QLabel* row() const { return m_row; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void redraw();

    WorkerStatusBanner* m_model;
    QLabel* m_row;
};

} // namespace brightloom::ui
