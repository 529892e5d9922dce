#include "help_text.h"

#include <QStringList>
#include <algorithm>

namespace brightloom::commandline {
namespace {

constexpr qsizetype width = 80;

QString utf8(const char* text)
{
    return QString::fromUtf8(text);
}

// `text` broken at spaces into lines of at most `width` characters, each after `indent` spaces.
QString wrapped(const QString& text, qsizetype indent)
{
    QString result;
    QString line;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (!line.isEmpty() && indent + line.size() + 1 + word.size() > width) {
            result += QString(indent, QLatin1Char(' ')) + line + QLatin1Char('\n');
            line.clear();
        }
        line += (line.isEmpty() ? QString() : QStringLiteral(" ")) + word;
    }
    if (!line.isEmpty())
        result += QString(indent, QLatin1Char(' ')) + line + QLatin1Char('\n');
    return result;
}

// Two columns: the terms, padded to the longest, then their help wrapped beside them.
QString table(const QList<std::pair<QString, QString>>& rows)
{
    qsizetype column = 0;
    for (const auto& row : rows)
        column = std::max(column, row.first.size());
    column = std::min<qsizetype>(column + 4, 28);
    QString result;
    for (const auto& [term, help] : rows) {
        QString body = wrapped(help, column);
        const QString head = QStringLiteral("  ") + term;
        if (head.size() + 2 <= column)
            body.replace(0, head.size(), head);
        else
            body.prepend(head + QLatin1Char('\n'));
        result += body;
    }
    return result;
}

QString optionTerm(const Option& option)
{
    QString term = QStringLiteral("--") + utf8(option.name);
    if (option.value)
        term += QLatin1Char(' ') + utf8(option.value);
    return term;
}

QString argumentsAndOptions(const CommandDescription& command)
{
    QString text;
    if (!command.positionals.empty()) {
        QList<std::pair<QString, QString>> rows;
        for (const Positional& place : command.positionals)
            rows.append({utf8(place.name), utf8(place.help)});
        text += QStringLiteral("\narguments:\n") + table(rows);
    }
    QList<std::pair<QString, QString>> rows;
    for (const Option& option : command.options)
        rows.append({optionTerm(option), utf8(option.help)});
    if (!findOption(command, "help"))
        rows.append({QStringLiteral("-h, --help"), QStringLiteral("Show this help.")});
    text += QStringLiteral("\noptions:\n") + table(rows);
    return text;
}

} // namespace

QString usageLines(const ProgramDescription& program, const CommandDescription& command)
{
    const QString prefix =
        qstrcmp(command.name, program.own.name) == 0 ? QString() : utf8(program.name) + QLatin1Char(' ');
    QString text;
    for (const QString& form : utf8(command.usage).split(QLatin1Char('\n'))) {
        text += (text.isEmpty() ? QStringLiteral("usage: ") : QStringLiteral("       ")) + prefix +
                form.trimmed() + QLatin1Char('\n');
    }
    return text;
}

QString shortUsage(const ProgramDescription& program, const CommandDescription& command)
{
    return usageLines(program, command) + QStringLiteral("Run \"") + utf8(program.name) +
           QStringLiteral(" help ") + utf8(command.name) + QStringLiteral("\" for its options.\n");
}

QString commandHelp(const ProgramDescription& program, const CommandDescription& command)
{
    QString text = usageLines(program, command) + QLatin1Char('\n') + wrapped(utf8(command.description), 0);
    text += argumentsAndOptions(command);
    if (!command.examples.empty()) {
        text += QStringLiteral("\nexamples:\n");
        for (const Example& example : command.examples) {
            text += QStringLiteral("  ") + utf8(program.name) + QLatin1Char(' ') + utf8(example.command) +
                    QLatin1Char('\n') + wrapped(utf8(example.says), 6);
        }
    }
    if (command.exitStatus)
        text += QStringLiteral("\nexit status:\n") + wrapped(utf8(command.exitStatus), 2);
    return text;
}

QString programHelp(const ProgramDescription& program)
{
    QString text =
        usageLines(program, program.own) + QLatin1Char('\n') + wrapped(utf8(program.description), 0);
    if (program.commands.empty())
        return text + argumentsAndOptions(program.own);
    QList<std::pair<QString, QString>> rows;
    for (const CommandDescription& command : program.commands)
        rows.append({utf8(command.name), utf8(command.summary)});
    text += QStringLiteral("\ncommands:\n") + table(rows) + argumentsAndOptions(program.own);
    text += QStringLiteral("\nRun \"") + utf8(program.name) +
            QStringLiteral(" help COMMAND\" for a command's arguments, options and examples.\n");
    return text;
}

} // namespace brightloom::commandline
