#include "arguments.h"

#include <QCommandLineParser>

namespace brightloom::commandline {
namespace {

QString latin1(const char* text)
{
    return QString::fromLatin1(text);
}

void checkPositionals(const CommandDescription& command, const QStringList& words)
{
    const auto& places = command.positionals;
    if (words.size() > qsizetype(places.size())) {
        throw UsageError(QStringLiteral("unexpected argument ") + words[qsizetype(places.size())]);
    }
    for (qsizetype i = 0; i < qsizetype(places.size()); ++i) {
        const Positional& place = places[size_t(i)];
        if (i >= words.size()) {
            if (!place.optional)
                throw UsageError(QStringLiteral("missing ") + latin1(place.name));
            continue;
        }
        if (place.choices) {
            const QStringList allowed = latin1(place.choices).split(QLatin1Char(' '));
            if (!allowed.contains(words[i])) {
                throw UsageError(latin1(place.name) + QStringLiteral(" must be one of ") +
                                 allowed.join(QStringLiteral(", ")) + QStringLiteral(", not ") + words[i]);
            }
        }
    }
}

} // namespace

Arguments::Arguments(const CommandDescription& command, const QStringList& words)
{
    // Qt's parser reads both "--name=value" and "--name value", stops at "--", and takes the next word
    // as a value even when it starts with a dash, so a value is never mistaken for an option.
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    parser.addOption(help);
    for (const Option& option : command.options) {
        QCommandLineOption described(latin1(option.name));
        if (option.value)
            described.setValueName(latin1(option.value));
        parser.addOption(described);
    }
    const bool parsed = parser.parse(QStringList{latin1(command.name)} + words);
    const QStringList beforeEnd = words.mid(0, words.indexOf(QStringLiteral("--")));
    if (beforeEnd.contains(QStringLiteral("-h")) || beforeEnd.contains(QStringLiteral("--help"))) {
        m_help = true;
        return;
    }
    if (!parsed)
        throw UsageError(parser.errorText());
    for (const Option& option : command.options) {
        const QString name = latin1(option.name);
        if (!parser.isSet(name))
            continue;
        if (option.value)
            m_options.insert(name, parser.value(name));
        else
            m_flags.insert(name);
    }
    m_positional = parser.positionalArguments();
    checkPositionals(command, m_positional);
}

QString Arguments::positional(qsizetype index, const char* what) const
{
    if (index >= m_positional.size())
        throw UsageError(QStringLiteral("missing ") + QString::fromUtf8(what));
    return m_positional[index];
}

std::optional<QString> Arguments::option(const QString& name) const
{
    if (auto it = m_options.find(name); it != m_options.end())
        return *it;
    return std::nullopt;
}

QString Arguments::required(const QString& name) const
{
    if (auto value = option(name))
        return *value;
    throw UsageError(QStringLiteral("missing --") + name);
}

} // namespace brightloom::commandline
