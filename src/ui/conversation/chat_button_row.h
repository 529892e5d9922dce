#pragma once

#include "conversation/status_area.h"

#include <QList>
#include <QWidget>
#include <functional>

class QHBoxLayout;
class QPushButton;

namespace brightloom::ui {

// A row of the status area's buttons; clicking one tells which ChatButton it stands for. Buttons
// that only change their text or whether they can be clicked are updated in place, so focus stays.
class ChatButtonRow final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ChatButtonRow)

public:
    // Gives a button its look; `row` is every button of the row. Without one, buttons have the quiet
    // bordered look of the archive button.
    using Styler =
        std::function<void(QPushButton* button, const ChatButton& shown, const QList<ChatButton>& row)>;

    explicit ChatButtonRow(Styler styler = {}, QWidget* parent = nullptr);

    void setButtons(const QList<ChatButton>& buttons);
    const QList<ChatButton>& shown() const { return m_shown; }
    const QList<QPushButton*>& buttons() const { return m_buttons; }

Q_SIGNALS:
    void triggered(const brightloom::ChatButton& button);

private:
    Styler m_styler;
    QHBoxLayout* m_layout;
    QList<ChatButton> m_shown;
    QList<QPushButton*> m_buttons;
};

} // namespace brightloom::ui
