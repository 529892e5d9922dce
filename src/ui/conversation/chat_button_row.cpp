#include "chat_button_row.h"

#include "ui/shared/button_styles.h"

#include <QHBoxLayout>
#include <QPushButton>

namespace brightloom::ui {

namespace {

bool sameKinds(const QList<ChatButton>& a, const QList<ChatButton>& b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a[i].action != b[i].action || a[i].prominent != b[i].prominent)
            return false;
    }
    return true;
}

} // namespace

ChatButtonRow::ChatButtonRow(Styler styler, QWidget* parent)
    : QWidget(parent), m_styler(std::move(styler)), m_layout(new QHBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(8);
    m_layout->addStretch(1);
}

void ChatButtonRow::setButtons(const QList<ChatButton>& buttons)
{
    if (buttons == m_shown)
        return;
    if (!sameKinds(buttons, m_shown)) {
        // A button may be going away from inside its own click ("Try again"): it goes later.
        for (QPushButton* old : std::as_const(m_buttons)) {
            m_layout->removeWidget(old);
            old->hide();
            old->deleteLater();
        }
        m_buttons.clear();
        for (qsizetype i = 0; i < buttons.size(); ++i) {
            auto* button = new QPushButton(this);
            button->setAutoDefault(false);
            button->setCursor(Qt::PointingHandCursor);
            connect(button, &QPushButton::clicked, this, [this, i] {
                if (i < m_shown.size())
                    Q_EMIT triggered(m_shown.at(i));
            });
            m_layout->insertWidget(int(i), button);
            // A layout would show it only later, from the event loop; it is part of the row now.
            button->show();
            m_buttons.append(button);
        }
    }
    m_shown = buttons;
    for (qsizetype i = 0; i < buttons.size(); ++i) {
        QPushButton* button = m_buttons.at(i);
        button->setText(buttons[i].label);
        button->setAccessibleName(buttons[i].label);
        button->setEnabled(buttons[i].enabled);
        if (m_styler)
            m_styler(button, buttons[i], buttons);
        else
            applyZipButtonStyle(button, false);
    }
    setVisible(!buttons.isEmpty());
}

} // namespace brightloom::ui
