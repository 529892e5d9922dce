#pragma once

// Lets GoogleTest show Qt strings as text in its failure messages.

#include <QString>
#include <optional>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace std {
inline void PrintTo(const std::optional<QString>& text, std::ostream* os)
{
    if (text)
        ::PrintTo(*text, os);
    else
        *os << "(absent)";
}
} // namespace std
