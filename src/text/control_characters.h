#pragma once

#include <QString>
#include <QStringView>

// Characters that are instructions rather than text. Text that came from the service is data: where
// it lands in a terminal or a file name, these must not act.
namespace brightloom::text {

// C0 (U+0000 to U+001F), DEL (U+007F) and C1 (U+0080 to U+009F).
constexpr bool isControl(char16_t c)
{
    return c < 0x20 || (c >= 0x7f && c <= 0x9f);
}

// The marks that reorder how text around them is shown (the embeddings, overrides and isolates, and
// the implicit marks): a file name holding one can show its extension anywhere.
constexpr bool isDirectionControl(char16_t c)
{
    return c == 0x061c || c == 0x200e || c == 0x200f || (c >= 0x202a && c <= 0x202e) ||
           (c >= 0x2066 && c <= 0x2069);
}

// `text` with every control character except tab and line feed made visible as "\u" and four hex
// digits ("\u001B" for ESC), so a terminal shows it instead of obeying it. A carriage return right
// before a line feed is dropped instead: it ends a line the same way and hides nothing.
QString visibleControls(QStringView text);

} // namespace brightloom::text
