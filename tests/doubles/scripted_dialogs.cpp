#include "scripted_dialogs.h"

namespace brightloom {

std::optional<int> ScriptedDialogs::ask(const Alert& alert)
{
    m_shown.append(alert);
    if (m_answers.empty())
        return std::nullopt;
    const auto answer = m_answers.front();
    m_answers.pop_front();
    if (const int* index = std::get_if<int>(&answer)) {
        if (*index >= 0 && *index < alert.buttons.size())
            return *index;
        return std::nullopt;
    }
    if (const QString* label = std::get_if<QString>(&answer)) {
        const qsizetype index = alert.buttons.indexOf(*label);
        if (index >= 0)
            return int(index);
    }
    return std::nullopt;
}

} // namespace brightloom
