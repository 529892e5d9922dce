#pragma once

#include <QTimer>
#include <QWidget>

namespace brightloom::ui {

// A small turning arc that says work is under way; it turns only while shown.
class Spinner final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Spinner)

public:
    explicit Spinner(int side = 16, QWidget* parent = nullptr);

    bool turning() const { return m_timer.isActive(); }
    QSize sizeHint() const override { return QSize(m_side, m_side); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    int m_side;
    int m_angle = 0;
    QTimer m_timer;
};

} // namespace brightloom::ui
