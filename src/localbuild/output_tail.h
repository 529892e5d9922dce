#pragma once

#include <QString>

namespace brightloom::LocalBuild {

// The end of a tool's output, for messages that quote it: long outputs put the cause last.
inline QString lastCharacters(const QString& text, qsizetype count)
{
    return text.size() <= count ? text : text.right(count);
}

} // namespace brightloom::LocalBuild
