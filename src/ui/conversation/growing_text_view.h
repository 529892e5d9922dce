#pragma once

#include "focus_text_view.h"

namespace brightloom::ui {

// The composer's text area: it grows with its text between a minimum and a maximum height (the text
// scrolls beyond it), keeps at most `maxLength` characters whatever is typed or pasted, sends on
// Return and starts a new line on Shift+Return. While an input method is composing, Return confirms
// the composition instead of sending.
class GrowingTextView final : public FocusTextView
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GrowingTextView)

public:
    explicit GrowingTextView(QWidget* parent = nullptr);

    void setHeightRange(int minHeight, int maxHeight);
    int minHeight() const { return m_minHeight; }
    int maxHeight() const { return m_maxHeight; }
    void setMaxLength(qsizetype maxLength);
    qsizetype maxLength() const { return m_maxLength; }
    // The height the text asks for, clamped to the range; applied to the widget after layout.
    int wantedHeight() const { return m_height; }

    // Replaces the text unless it already reads `text` (the caret then stays where it is).
    void setText(const QString& text);

Q_SIGNALS:
    void submitted();
    // The text changed (typed, pasted, cut to the limit or set); `text` is what it now holds.
    void edited(const QString& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void textDidChange();
    void recalc();
    int contentHeight() const;
    bool composing() const;

    int m_minHeight = 56;
    int m_maxHeight = 200;
    qsizetype m_maxLength = 8000;
    int m_height = 56;
    bool m_applyQueued = false;
    bool m_changing = false;
};

} // namespace brightloom::ui
