#include "growing_text_view.h"

#include "text/characters.h"

#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextLayout>
#include <QTimer>

namespace brightloom::ui {

GrowingTextView::GrowingTextView(QWidget* parent) : FocusTextView(parent)
{
    setFrameShape(QFrame::NoFrame);
    setTabChangesFocus(true);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QPlainTextEdit::textChanged, this, &GrowingTextView::textDidChange);
    setFixedHeight(m_height);
}

void GrowingTextView::setHeightRange(int minHeight, int maxHeight)
{
    m_minHeight = minHeight;
    m_maxHeight = std::max(minHeight, maxHeight);
    recalc();
}

void GrowingTextView::setMaxLength(qsizetype maxLength)
{
    m_maxLength = maxLength;
    textDidChange();
}

void GrowingTextView::setText(const QString& text)
{
    if (toPlainText() == text)
        return;
    setPlainText(text);
    moveCursor(QTextCursor::End);
}

bool GrowingTextView::composing() const
{
    const QTextLayout* layout = textCursor().block().layout();
    return layout && !layout->preeditAreaText().isEmpty();
}

void GrowingTextView::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isReturn || isReadOnly()) {
        FocusTextView::keyPressEvent(event);
        return;
    }
    event->accept();
    if (composing()) {
        // Return confirms what the input method was composing; it never sends.
        const QString preedit = textCursor().block().layout()->preeditAreaText();
        QInputMethodEvent commit;
        commit.setCommitString(preedit);
        inputMethodEvent(&commit);
        return;
    }
    if (event->modifiers() & Qt::ShiftModifier) {
        textCursor().insertText(QStringLiteral("\n"));
        return;
    }
    Q_EMIT submitted();
}

void GrowingTextView::textDidChange()
{
    if (m_changing)
        return;
    QString text = toPlainText();
    if (text.size() > m_maxLength && text::characterCount(text) > m_maxLength) {
        // Keep the first characters; the caret goes to the end of what is kept.
        m_changing = true;
        text = text::firstCharacters(text, m_maxLength);
        setPlainText(text);
        moveCursor(QTextCursor::End);
        m_changing = false;
    }
    Q_EMIT edited(text);
    recalc();
}

int GrowingTextView::contentHeight() const
{
    // Lay out block by block until the maximum is passed: a long text needs no more than that.
    qreal height = 0;
    const qreal limit = m_maxHeight;
    for (QTextBlock block = document()->firstBlock(); block.isValid(); block = block.next()) {
        height += blockBoundingRect(block).height();
        if (height > limit)
            break;
    }
    const QMargins margins = contentsMargins();
    return int(std::ceil(height + 2 * document()->documentMargin())) + margins.top() + margins.bottom();
}

void GrowingTextView::recalc()
{
    const int wanted = std::clamp(contentHeight(), m_minHeight, m_maxHeight);
    if (wanted == m_height && height() == wanted)
        return;
    m_height = wanted;
    if (m_applyQueued)
        return;
    // Never resize during the layout pass that asked for it.
    m_applyQueued = true;
    QTimer::singleShot(0, this, [this] {
        m_applyQueued = false;
        if (height() != m_height)
            setFixedHeight(m_height);
    });
}

void GrowingTextView::resizeEvent(QResizeEvent* event)
{
    FocusTextView::resizeEvent(event);
    recalc();
}

} // namespace brightloom::ui
