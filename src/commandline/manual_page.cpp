#include "manual_page.h"

#include <QStringList>

namespace brightloom::commandline {
namespace {

// Text as roff shows it: backslashes and dashes escaped, and no line that roff would read as a
// request.
QString roff(const char* text)
{
    QString escaped = QString::fromUtf8(text);
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\e"));
    escaped.replace(QLatin1Char('-'), QStringLiteral("\\-"));
    escaped.replace(QLatin1Char('"'), QStringLiteral("\\(dq"));
    if (escaped.startsWith(QLatin1Char('.')) || escaped.startsWith(QLatin1Char('\'')))
        escaped.prepend(QStringLiteral("\\&"));
    return escaped;
}

QString optionLine(const Option& option)
{
    QString line = QStringLiteral(".TP\n.B \\-\\-") + roff(option.name);
    if (option.value)
        line = QStringLiteral(".TP\n.BI \\-\\-") + roff(option.name) + QStringLiteral(" \" \" ") +
               roff(option.value);
    return line + QLatin1Char('\n') + roff(option.help) + QLatin1Char('\n');
}

QString details(const ProgramDescription& program, const CommandDescription& command)
{
    QString text;
    for (const Positional& place : command.positionals) {
        text += QStringLiteral(".TP\n.I ") + roff(place.name) + QLatin1Char('\n') + roff(place.help) +
                QLatin1Char('\n');
    }
    for (const Option& option : command.options)
        text += optionLine(option);
    for (const Example& example : command.examples) {
        text += QStringLiteral(".TP\n.EX\n") + roff(program.name) + QLatin1Char(' ') + roff(example.command) +
                QStringLiteral("\n.EE\n") + roff(example.says) + QLatin1Char('\n');
    }
    if (command.exitStatus)
        text += QStringLiteral(".TP\nExit status:\n") + roff(command.exitStatus) + QLatin1Char('\n');
    return text;
}

QString synopsis(const ProgramDescription& program, const CommandDescription& command)
{
    QString text;
    const bool own = qstrcmp(command.name, program.own.name) == 0;
    for (const QString& form : QString::fromUtf8(command.usage).split(QLatin1Char('\n'))) {
        const QString words = own ? form.section(QLatin1Char(' '), 1) : form;
        text += QStringLiteral(".B ") + roff(program.name) + QLatin1Char('\n') +
                roff(words.trimmed().toUtf8().constData()) + QStringLiteral("\n.br\n");
    }
    return text;
}

} // namespace

QString manualPage(const ProgramDescription& program, const QString& version, const QString& date)
{
    const QString name = QString::fromUtf8(program.name);
    QString page = QStringLiteral(".TH ") + name.toUpper().replace(QLatin1Char('-'), QStringLiteral("\\-")) +
                   QStringLiteral(" 1 \"") + date + QStringLiteral("\" \"Brightloom ") + version +
                   QStringLiteral("\" \"User Commands\"\n");
    page += QStringLiteral(".SH NAME\n") + roff(program.name) + QStringLiteral(" \\- ") +
            roff(program.section) + QLatin1Char('\n');
    page += QStringLiteral(".SH SYNOPSIS\n") + synopsis(program, program.own);
    page += QStringLiteral(".SH DESCRIPTION\n") + roff(program.description) + QLatin1Char('\n');
    page += QStringLiteral(".SH OPTIONS\n") + details(program, program.own);
    if (!program.commands.empty()) {
        page += QStringLiteral(".TP\n.BR \\-h \", \" \\-\\-help\nShow the help, of the program or of the "
                               "command it follows, and exit.\n");
        page += QStringLiteral(".SH COMMANDS\n");
        for (const CommandDescription& command : program.commands) {
            page += QStringLiteral(".SS ") + roff(command.name) + QLatin1Char('\n') +
                    synopsis(program, command) + QStringLiteral(".PP\n") + roff(command.description) +
                    QLatin1Char('\n') + details(program, command);
        }
    }
    page += QStringLiteral(".SH EXIT STATUS\n") + roff(program.exitStatus) + QLatin1Char('\n');
    page += QStringLiteral(".SH ENVIRONMENT\n");
    for (const EnvironmentVariable& variable : program.environment) {
        page += QStringLiteral(".TP\n.B ") + roff(variable.name) + QLatin1Char('\n') + roff(variable.help) +
                QLatin1Char('\n');
    }
    page += QStringLiteral(".SH FILES\n");
    for (const FileEntry& file : program.files)
        page += QStringLiteral(".TP\n.I ") + roff(file.path) + QLatin1Char('\n') + roff(file.help) +
                QLatin1Char('\n');
    const QString seeAlso = QString::fromUtf8(program.seeAlso);
    page += QStringLiteral(".SH SEE ALSO\n.BR ") +
            roff(seeAlso.section(QLatin1Char('('), 0, 0).toUtf8().constData()) + QStringLiteral(" (") +
            seeAlso.section(QLatin1Char('('), 1) + QLatin1Char('\n');
    return page;
}

} // namespace brightloom::commandline
