#pragma once

#include "platform/dialogs.h"

#include <QList>
#include <QString>
#include <optional>
#include <stdexcept>

namespace brightloom::cli {

// A question that no flag answered and no terminal could ask: the command line lacks a flag. Its
// text names the flag to add.
class AnswerNeeded : public std::runtime_error
{
public:
    explicit AnswerNeeded(const QString& text) : std::runtime_error(text.toStdString()) {}
};

// Answers the client's questions on the command line: with the answer a flag gave in advance; else,
// when standard input is a terminal, by asking there with the alert's own texts; else not at all,
// keeping a refusal that names the flag to add.
class TerminalDialogs final : public Dialogs
{
public:
    // For alerts whose message starts with `messageStart`: press `button` when given; without a
    // terminal, refuse with the alert's message + " needs an answer: " + `hint`.
    void prepare(const QString& messageStart, std::optional<QString> button, const QString& hint);

    std::optional<int> ask(const Alert& alert) override;

    // Why the first question that could not be asked stayed unanswered.
    const std::optional<QString>& refusal() const { return m_refusal; }

    static bool inputIsTerminal();

private:
    struct Prepared
    {
        QString messageStart;
        std::optional<QString> button;
        QString hint;
    };

    static std::optional<int> askOnTerminal(const Alert& alert);

    QList<Prepared> m_prepared;
    std::optional<QString> m_refusal;
};

} // namespace brightloom::cli
