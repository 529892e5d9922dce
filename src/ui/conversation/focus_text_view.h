#pragma once

#include <QPlainTextEdit>

namespace brightloom::ui {

// A plain-text editor that reports when it gains and loses keyboard focus.
class FocusTextView : public QPlainTextEdit
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FocusTextView)

public:
    explicit FocusTextView(QWidget* parent = nullptr) : QPlainTextEdit(parent) {}

Q_SIGNALS:
    void focusChanged(bool focused);

protected:
    void focusInEvent(QFocusEvent* event) override
    {
        QPlainTextEdit::focusInEvent(event);
        Q_EMIT focusChanged(true);
    }
    void focusOutEvent(QFocusEvent* event) override
    {
        QPlainTextEdit::focusOutEvent(event);
        Q_EMIT focusChanged(false);
    }
};

} // namespace brightloom::ui
