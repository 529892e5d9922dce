#include "terminal_dialogs.h"

#include "console.h"

#include <cstdio>
#include <iostream>
#include <string>
#include <unistd.h>

namespace brightloom::cli {

void TerminalDialogs::prepare(const QString& messageStart, std::optional<QString> button, const QString& hint)
{
    m_prepared.append(Prepared{messageStart, std::move(button), hint});
}

bool TerminalDialogs::inputIsTerminal()
{
    return isatty(STDIN_FILENO) == 1;
}

std::optional<int> TerminalDialogs::ask(const Alert& alert)
{
    const Prepared* prepared = nullptr;
    for (const Prepared& candidate : m_prepared) {
        if (alert.message.startsWith(candidate.messageStart)) {
            prepared = &candidate;
            break;
        }
    }
    if (prepared && prepared->button) {
        const qsizetype index = alert.buttons.indexOf(*prepared->button);
        if (index >= 0)
            return int(index);
    }
    if (inputIsTerminal())
        return askOnTerminal(alert);
    if (!m_refusal) {
        m_refusal =
            alert.message + QStringLiteral(" needs an answer: ") +
            (prepared ? prepared->hint : QStringLiteral("run the command on a terminal to answer it"));
    }
    return std::nullopt;
}

// The alert's message, its explanation and its buttons numbered in their order; the answer is a
// number or a button's label. End of input closes the question without an answer.
std::optional<int> TerminalDialogs::askOnTerminal(const Alert& alert)
{
    QString question = alert.message;
    if (!alert.informativeText.isEmpty())
        question += QStringLiteral("\n\n") + alert.informativeText;
    question += QLatin1Char('\n');
    for (qsizetype i = 0; i < alert.buttons.size(); ++i)
        question += QStringLiteral("\n  %1. ").arg(i + 1) + alert.buttons[i];
    err(question);
    const QString choose = QStringLiteral("Choose 1-%1: ").arg(alert.buttons.size());
    while (true) {
        std::fputs(choose.toUtf8().constData(), stderr);
        std::fflush(stderr);
        std::string line;
        if (!std::getline(std::cin, line))
            return std::nullopt;
        const QString answer = QString::fromUtf8(line).trimmed();
        bool isNumber = false;
        const int number = answer.toInt(&isNumber);
        if (isNumber && number >= 1 && number <= alert.buttons.size())
            return number - 1;
        for (qsizetype i = 0; i < alert.buttons.size(); ++i) {
            if (answer.compare(alert.buttons[i], Qt::CaseInsensitive) == 0)
                return int(i);
        }
    }
}

} // namespace brightloom::cli
