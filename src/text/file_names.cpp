#include "file_names.h"

#include "control_characters.h"

namespace brightloom::text {

std::optional<QString> fileNameProblem(QStringView name)
{
    if (name.isEmpty())
        return QStringLiteral("it is empty");
    if (name.startsWith(QLatin1Char('.')))
        return QStringLiteral("it starts with a dot");
    for (const QChar c : name) {
        if (c == QLatin1Char('/'))
            return QStringLiteral("it holds a path separator");
        if (isControl(c.unicode()))
            return QStringLiteral("it holds a control character");
        if (isDirectionControl(c.unicode()))
            return QStringLiteral("it holds a mark that reorders text");
    }
    if (name.toUtf8().size() > maxFileNameBytes)
        return QStringLiteral("it is longer than %1 bytes").arg(maxFileNameBytes);
    return std::nullopt;
}

} // namespace brightloom::text
