#pragma once

#include <QFrame>
#include <QStringList>

class QLabel;

namespace brightloom::ui {

class FlowChips;
class GrowingTextView;
class SendButton;

// The card in which the user writes a request: the growing text area with its placeholder, the
// round send button, the hint under it and a character counter near the limit; idea chips above it
// while it is empty.
class Composer final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Composer)
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(bool focused READ focused NOTIFY focusedChanged)

public:
    struct Options
    {
        QString placeholder;
        QString hint = QStringLiteral("Return to send · Shift+Return for a new line");
        int minHeight = 56;
        int maxHeight = 200;
        qsizetype maxLength = 8000;
        QStringList examples;
    };

    explicit Composer(const Options& options, QWidget* parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString& text);
    bool focused() const { return m_focused; }
    void setReadOnly(bool readOnly);
    bool isReadOnly() const;
    void setCanSend(bool canSend);
    void setExamples(const QStringList& examples);
    // The number of characters the text holds, as a person counts them.
    qsizetype characterCount() const { return m_count; }

    GrowingTextView* textView() const { return m_view; }
    SendButton* sendButton() const { return m_send; }
    QLabel* counter() const { return m_counter; }
    QLabel* hint() const { return m_hint; }
    FlowChips* chips() const { return m_chips; }

Q_SIGNALS:
    void textChanged(const QString& text);
    void focusedChanged(bool focused);
    // Return was pressed or the send button clicked.
    void submitted();

private:
    void textEdited(const QString& text);
    void updateChips();
    void updateCounter();

    Options m_options;
    QString m_text;
    qsizetype m_count = 0;
    bool m_focused = false;
    FlowChips* m_chips;
    QFrame* m_card;
    GrowingTextView* m_view;
    SendButton* m_send;
    QLabel* m_counter;
    QLabel* m_hint;
};

} // namespace brightloom::ui
