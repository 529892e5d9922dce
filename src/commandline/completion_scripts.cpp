#include "completion_scripts.h"

#include <QStringList>

namespace brightloom::commandline {
namespace {

QString text(const char* value)
{
    return QString::fromUtf8(value);
}

// The word the hidden command takes for a kind of name, or nothing.
QString dynamicKind(Completion completion)
{
    switch (completion) {
    case Completion::projectId:
        return QStringLiteral("projects");
    case Completion::gallerySlug:
        return QStringLiteral("slugs");
    default:
        return {};
    }
}

QStringList commandNames(const ProgramDescription& program)
{
    QStringList names;
    for (const CommandDescription& command : program.commands)
        names.append(text(command.name));
    return names;
}

QStringList optionWords(const CommandDescription& command)
{
    QStringList words;
    for (const Option& option : command.options)
        words.append(QStringLiteral("--") + text(option.name));
    words.append(QStringLiteral("--help"));
    return words;
}

QStringList valuedOptions(const CommandDescription& command)
{
    QStringList words;
    for (const Option& option : command.options) {
        if (option.value)
            words.append(QStringLiteral("--") + text(option.name));
    }
    return words;
}

// Single quotes for the shells: the text as one word, whatever it holds.
QString quoted(const QString& value)
{
    QString inner = value;
    inner.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + inner + QLatin1Char('\'');
}

// What bash offers at a positional place: a fixed list, or "@KIND" for the hidden command's names,
// asked only when that place is being completed.
QString bashWordsFor(const ProgramDescription& program, const Positional& place)
{
    if (place.choices)
        return text(place.choices);
    if (place.completion == Completion::command)
        return commandNames(program).join(QLatin1Char(' '));
    const QString kind = dynamicKind(place.completion);
    return kind.isEmpty() ? QString() : QLatin1Char('@') + kind;
}

QString bashCase(const ProgramDescription& program, const CommandDescription& command)
{
    QString body = QStringLiteral("        ") + text(command.name) + QStringLiteral(")\n");
    body += QStringLiteral("            valued=") + quoted(valuedOptions(command).join(QLatin1Char(' '))) +
            QStringLiteral("\n            options=") + quoted(optionWords(command).join(QLatin1Char(' '))) +
            QLatin1Char('\n');
    for (size_t i = 0; i < command.positionals.size(); ++i) {
        const QString words = bashWordsFor(program, command.positionals[i]);
        if (!words.isEmpty())
            body += QStringLiteral("            places[") + QString::number(i) + QStringLiteral("]=") +
                    quoted(words) + QLatin1Char('\n');
    }
    return body + QStringLiteral("            ;;\n");
}

QString zshDescription(const char* value)
{
    QString described = text(value);
    described.replace(QLatin1Char('['), QStringLiteral("\\["))
        .replace(QLatin1Char(']'), QStringLiteral("\\]"));
    described.replace(QLatin1Char(':'), QStringLiteral("\\:"));
    return described;
}

QString zshAction(const ProgramDescription& program, const Positional& place)
{
    if (place.choices)
        return QLatin1Char('(') + text(place.choices) + QLatin1Char(')');
    if (place.completion == Completion::command)
        return QLatin1Char('(') + commandNames(program).join(QLatin1Char(' ')) + QLatin1Char(')');
    const QString kind = dynamicKind(place.completion);
    if (!kind.isEmpty())
        return QStringLiteral("_") + QString(text(program.name)).replace(QLatin1Char('-'), QLatin1Char('_')) +
               QStringLiteral("_names ") + kind;
    if (place.completion == Completion::file)
        return QStringLiteral("_files");
    return QStringLiteral(" ");
}

QString zshCase(const ProgramDescription& program, const CommandDescription& command)
{
    QStringList entries;
    for (const Option& option : command.options) {
        QString entry = QStringLiteral("--") + text(option.name);
        if (option.value)
            entry += QLatin1Char('=');
        entry += QLatin1Char('[') + zshDescription(option.help) + QLatin1Char(']');
        if (option.value)
            entry += QLatin1Char(':') + text(option.value) + QStringLiteral(": ");
        entries.append(quoted(entry));
    }
    entries.append(quoted(QStringLiteral("(- *)--help[Show this help]")));
    entries.append(quoted(QStringLiteral("(- *)-h[Show this help]")));
    int number = 1;
    for (const Positional& place : command.positionals) {
        entries.append(quoted(QString::number(number++) +
                              (place.optional ? QStringLiteral("::") : QStringLiteral(":")) +
                              text(place.name) + QLatin1Char(':') + zshAction(program, place)));
    }
    return QStringLiteral("        ") + text(command.name) +
           QStringLiteral(")\n            _arguments -s \\\n                ") +
           entries.join(QStringLiteral(" \\\n                ")) + QStringLiteral("\n            ;;\n");
}

QString fishLines(const ProgramDescription& program, const CommandDescription& command)
{
    const QString head = QStringLiteral("complete -c ") + text(program.name) +
                         QStringLiteral(" -n '__fish_seen_subcommand_from ") + text(command.name) +
                         QStringLiteral("'");
    QString lines;
    for (const Option& option : command.options) {
        lines += head + QStringLiteral(" -l ") + text(option.name) +
                 (option.value ? QStringLiteral(" -r") : QString()) + QStringLiteral(" -d ") +
                 quoted(text(option.help)) + QLatin1Char('\n');
    }
    lines += head + QStringLiteral(" -s h -l help -d 'Show this help'\n");
    for (const Positional& place : command.positionals) {
        QString words;
        if (place.choices)
            words = text(place.choices);
        else if (place.completion == Completion::command)
            words = commandNames(program).join(QLatin1Char(' '));
        else if (const QString kind = dynamicKind(place.completion); !kind.isEmpty())
            words = QStringLiteral("(") + text(program.name) + QLatin1Char(' ') + text(completeCommand) +
                    QLatin1Char(' ') + kind + QStringLiteral(" 2>/dev/null)");
        if (!words.isEmpty())
            lines += head + QStringLiteral(" -a ") + quoted(words) + QStringLiteral(" -d ") +
                     quoted(text(place.name)) + QLatin1Char('\n');
    }
    return lines;
}

} // namespace

QString bashCompletion(const ProgramDescription& program)
{
    const QString name = text(program.name);
    const QString function = QLatin1Char('_') + QString(name).replace(QLatin1Char('-'), QLatin1Char('_'));
    QString script =
        QStringLiteral("# bash completion for ") + name +
        QStringLiteral(", made from its command table when it was built\n") + function +
        QStringLiteral("()\n{\n    local cur word command position i valued options offered\n"
                       "    local -a places\n    COMPREPLY=()\n    cur=\"${COMP_WORDS[COMP_CWORD]}\"\n"
                       "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n        COMPREPLY=($(compgen -W ") +
        quoted(commandNames(program).join(QLatin1Char(' ')) + QStringLiteral(" --help --version")) +
        QStringLiteral(" -- \"$cur\"))\n        return\n    fi\n    command=\"${COMP_WORDS[1]}\"\n"
                       "    valued=\n    options=\n    case \"$command\" in\n");
    for (const CommandDescription& command : program.commands)
        script += bashCase(program, command);
    script += QStringLiteral("        *) return ;;\n    esac\n");
    // The positional words before the cursor, past options and their values. bash splits
    // "--name=value" into three words, the middle one "=".
    script += QStringLiteral(
        "    position=0\n    i=2\n    while [ \"$i\" -lt \"$COMP_CWORD\" ]; do\n        "
        "word=\"${COMP_WORDS[i]}\"\n"
        "        if [ \"${COMP_WORDS[i+1]:-}\" = \"=\" ]; then\n            i=$((i + 3))\n            "
        "continue\n        fi\n"
        "        case \"$word\" in\n            -*)\n                case \" $valued \" in\n"
        "                    *\" $word \"*) i=$((i + 1)) ;;\n                esac\n                ;;\n"
        "            *) position=$((position + 1)) ;;\n        esac\n        i=$((i + 1))\n    done\n");
    // While a value is typed there is nothing to offer.
    script += QStringLiteral(
        "    word=\"${COMP_WORDS[COMP_CWORD-1]}\"\n    if [ \"$word\" = \"=\" ] || [ \"$cur\" = \"=\" ]; "
        "then\n        return\n    fi\n"
        "    case \" $valued \" in\n        *\" $word \"*) return ;;\n    esac\n"
        "    case \"$cur\" in\n        -*)\n            COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
        "            return\n            ;;\n    esac\n");
    script +=
        QStringLiteral("    offered=\"${places[position]:-}\"\n    case \"$offered\" in\n"
                       "        @*) offered=\"$(") +
        name + QLatin1Char(' ') + text(completeCommand) +
        QStringLiteral(
            " \"${offered#@}\" 2>/dev/null)\" ;;\n    esac\n"
            "    if [ -n \"$offered\" ]; then\n        COMPREPLY=($(compgen -W \"$offered\" -- \"$cur\"))\n"
            "    fi\n}\ncomplete -F ") +
        function + QLatin1Char(' ') + name + QLatin1Char('\n');
    return script;
}

QString zshCompletion(const ProgramDescription& program)
{
    const QString function =
        QStringLiteral("_") + QString(text(program.name)).replace(QLatin1Char('-'), QLatin1Char('_'));
    QString script =
        QStringLiteral("#compdef ") + text(program.name) +
        QStringLiteral("\n# zsh completion, made from the command table when the program was built\n\n");
    script += function + QStringLiteral("_names()\n{\n    local -a names\n    names=(${(f)\"$(") +
              text(program.name) + QLatin1Char(' ') + text(completeCommand) +
              QStringLiteral(" $1 2>/dev/null)\"})\n    compadd -a names\n}\n\n");
    script += function + QStringLiteral("()\n{\n    local -a commands\n    commands=(\n");
    for (const CommandDescription& command : program.commands)
        script += QStringLiteral("        ") +
                  quoted(text(command.name) + QLatin1Char(':') + text(command.summary)) + QLatin1Char('\n');
    script += QStringLiteral(
        "    )\n    if (( CURRENT == 2 )); then\n        _describe command commands\n        return\n    fi\n"
        "    local command=${words[2]}\n    shift words\n    (( CURRENT-- ))\n"
        "    case $command in\n");
    for (const CommandDescription& command : program.commands)
        script += zshCase(program, command);
    script += QStringLiteral("    esac\n}\n\n") + function + QStringLiteral(" \"$@\"\n");
    return script;
}

QString fishCompletion(const ProgramDescription& program)
{
    QString script = QStringLiteral("# fish completion for ") + text(program.name) +
                     QStringLiteral(", made from its command table when it was built\n");
    script += QStringLiteral("complete -c ") + text(program.name) + QStringLiteral(" -f\n");
    for (const CommandDescription& command : program.commands) {
        script += QStringLiteral("complete -c ") + text(program.name) +
                  QStringLiteral(" -n __fish_use_subcommand -a ") + text(command.name) +
                  QStringLiteral(" -d ") + quoted(text(command.summary)) + QLatin1Char('\n');
    }
    script += QStringLiteral("complete -c ") + text(program.name) +
              QStringLiteral(" -n __fish_use_subcommand -l version -d 'Print the version'\n");
    for (const CommandDescription& command : program.commands)
        script += fishLines(program, command);
    return script;
}

} // namespace brightloom::commandline
