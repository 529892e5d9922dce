#pragma once

#include <QAbstractButton>

namespace brightloom::ui {

// The composer's round send button with an upward arrow.
class SendButton final : public QAbstractButton
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendButton)

public:
    explicit SendButton(QWidget* parent = nullptr);
    QSize sizeHint() const override { return QSize(30, 30); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace brightloom::ui
