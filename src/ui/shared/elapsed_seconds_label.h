#pragma once

#include <QDateTime>
#include <QLabel>
#include <QTimer>
#include <chrono>
#include <functional>

namespace brightloom::ui {

// How long a stage has been running, redrawn every second from the moment it is shown and idle
// while hidden. The clock can be replaced, so tests move time instead of waiting for it.
class ElapsedSecondsLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ElapsedSecondsLabel)

public:
    using Clock = std::function<QDateTime()>;

    explicit ElapsedSecondsLabel(QWidget* parent = nullptr);

    void setSince(const QDateTime& since);
    const QDateTime& since() const { return m_since; }
    void setClock(Clock clock);
    // Whether the once-a-second redraw is running.
    bool ticking() const { return m_timer.isActive(); }
    // How long the label waits between two redraws while it ticks.
    std::chrono::milliseconds redrawInterval() const { return m_timer.intervalAsDuration(); }

public Q_SLOTS:
    void redraw();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // Fixes the label's size to the widest text of the shape of `shown`.
    void keepSizeFor(const QString& shown);

    QDateTime m_since;
    Clock m_clock;
    QTimer m_timer;
    QSize m_keptSize;
    int m_widestDigit = 0; // in the label's font; 0 until measured
};

} // namespace brightloom::ui
