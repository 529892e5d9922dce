#pragma once

#include <QTimer>
#include <QWidget>

namespace brightloom::ui {

// A small turning arc that says work is under way. It turns only while it is shown in the active
// window: in a window behind others nobody watches it, and its 25 frames a second would keep the
// machine awake for nothing. Elsewhere it stands still, still saying work is under way.
class BusySpinner final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BusySpinner)

public:
    explicit BusySpinner(int side = 16, QWidget* parent = nullptr);

    bool turning() const { return m_timer.isActive(); }
    QSize sizeHint() const override { return QSize(m_side, m_side); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool event(QEvent* event) override;

private:
    // Turns when shown in the active window, stands still otherwise.
    void follow();

    int m_side;
    int m_angle = 0;
    QTimer m_timer;
};

} // namespace brightloom::ui
