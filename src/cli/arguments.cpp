#include "arguments.h"

namespace brightloom::cli {

Arguments::Arguments(const QStringList& words, const QSet<QString>& valued, const QSet<QString>& flags)
{
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (word == QLatin1String("--")) {
            m_positional += words.mid(i + 1);
            break;
        }
        if (!word.startsWith(QLatin1String("--"))) {
            m_positional.append(word);
            continue;
        }
        const QString name = word.mid(2);
        if (valued.contains(name)) {
            if (i + 1 >= words.size())
                throw UsageError(QStringLiteral("--") + name + QStringLiteral(" needs a value"));
            m_options.insert(name, words[++i]);
        } else if (flags.contains(name)) {
            m_flags.insert(name);
        } else {
            throw UsageError(QStringLiteral("unknown option ") + word);
        }
    }
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

namespace {
QSet<QString> names(std::initializer_list<const char*> list)
{
    QSet<QString> set;
    for (const char* name : list)
        set.insert(QString::fromLatin1(name));
    return set;
}
} // namespace

Arguments parse(const QStringList& words, std::initializer_list<const char*> valued,
                std::initializer_list<const char*> flags)
{
    return Arguments(words, names(valued), names(flags));
}

} // namespace brightloom::cli
