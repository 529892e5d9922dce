#pragma once

#include "platform/dialogs.h"

#include <QList>
#include <deque>
#include <variant>

namespace brightloom {

// Answers alerts from a list given in advance and keeps every alert it was shown. An alert with no
// answer left is closed, as a user pressing Escape would.
class ScriptedDialogs final : public Dialogs
{
public:
    ScriptedDialogs() = default;

    // The next alert gets the button at `index`.
    void pressNext(int index) { m_answers.emplace_back(index); }
    // The next alert gets the button labelled `label`; it is closed when it has no such button.
    void pressNext(const QString& label) { m_answers.emplace_back(label); }
    // The next alert is closed without a button.
    void closeNext() { m_answers.emplace_back(std::monostate()); }

    std::optional<int> ask(const Alert& alert) override;

    const QList<Alert>& shown() const { return m_shown; }
    qsizetype pending() const { return qsizetype(m_answers.size()); }

private:
    std::deque<std::variant<std::monostate, int, QString>> m_answers;
    QList<Alert> m_shown;
};

} // namespace brightloom
