#pragma once

#include "program_description.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <optional>
#include <stdexcept>

namespace brightloom::commandline {

// A wrong command line: the text says what is wrong; the caller adds the command's usage.
class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const QString& text) : std::runtime_error(text.toStdString()) {}
};

// The words after a command's name, checked against its description: every option known,
// "--name=value" and "--name value" alike, no more and no fewer positional words than it takes, and
// each word of a fixed set one of that set.
class Arguments
{
public:
    Arguments() = default;
    // Throws UsageError. "-h" or "--help" anywhere asks for the help, whatever else is wrong.
    Arguments(const CommandDescription& command, const QStringList& words);

    bool helpRequested() const { return m_help; }

    QString positional(qsizetype index, const char* what) const; // throws UsageError when missing
    qsizetype positionalCount() const { return m_positional.size(); }
    std::optional<QString> option(const QString& name) const;
    QString required(const QString& name) const; // throws UsageError when missing
    bool flag(const QString& name) const { return m_flags.contains(name); }

private:
    bool m_help = false;
    QStringList m_positional;
    QHash<QString, QString> m_options;
    QSet<QString> m_flags;
};

} // namespace brightloom::commandline
