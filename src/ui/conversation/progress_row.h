#pragma once

#include <QDateTime>
#include <QWidget>

class QLabel;

namespace brightloom::ui {

class ElapsedSecondsLabel;
class BusySpinner;

// Work under way: a spinner, what is happening, and, when it has a start, for how long.
class ProgressRow final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ProgressRow)

public:
    explicit ProgressRow(QWidget* parent = nullptr);

    // `since` invalid: no counter.
    void set(const QString& text, const QDateTime& since = {});
    // Without the spinner the row is a plain line of text.
    void setSpinning(bool spinning);

    QLabel* label() const { return m_label; }
    ElapsedSecondsLabel* counter() const { return m_counter; }
    BusySpinner* spinner() const { return m_spinner; }

private:
    BusySpinner* m_spinner;
    QLabel* m_label;
    ElapsedSecondsLabel* m_counter;
};

} // namespace brightloom::ui
