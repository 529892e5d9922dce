#pragma once

#include <QTimer>
#include <QWidget>

namespace brightloom::ui {

// An indeterminate progress indicator: an arc that turns while the spinner is shown, and costs
// nothing while hidden.
class BusySpinner final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BusySpinner)

public:
    explicit BusySpinner(int size = 16, QWidget* parent = nullptr);

    QSize sizeHint() const override { return QSize(m_size, m_size); }
    bool spinning() const { return m_timer.isActive(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    int m_size;
    int m_angle = 0;
    QTimer m_timer;
};

} // namespace brightloom::ui
