#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <initializer_list>
#include <optional>
#include <stdexcept>

namespace brightloom::cli {

class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const QString& text) : std::runtime_error(text.toStdString()) {}
};

// The words after the command name: positional words, "--name value" options and "--flag" switches.
// Which names take a value is declared up front, so a value that starts with "--" is never mistaken.
class Arguments
{
public:
    Arguments(const QStringList& words, const QSet<QString>& valued, const QSet<QString>& flags);

    QString positional(qsizetype index, const char* what) const; // throws UsageError when missing
    qsizetype positionalCount() const { return m_positional.size(); }
    std::optional<QString> option(const QString& name) const;
    QString required(const QString& name) const; // throws UsageError when missing
    bool flag(const QString& name) const { return m_flags.contains(name); }

private:
    QStringList m_positional;
    QHash<QString, QString> m_options;
    QSet<QString> m_flags;
};

// Arguments of a command: `valued` names take a value, `flags` do not. Takes plain names so that
// coroutine bodies can pass them as braced lists.
Arguments parse(const QStringList& words, std::initializer_list<const char*> valued,
                std::initializer_list<const char*> flags);

} // namespace brightloom::cli
