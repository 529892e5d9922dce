#include "control_characters.h"

namespace brightloom::text {

QString visibleControls(QStringView text)
{
    qsizetype first = 0;
    while (first < text.size()) {
        const char16_t c = text[first].unicode();
        if (isControl(c) && c != u'\t' && c != u'\n')
            break;
        ++first;
    }
    if (first == text.size())
        return text.toString();

    static constexpr char16_t hex[] = u"0123456789ABCDEF";
    QString shown;
    shown.reserve(text.size() + 16);
    shown.append(text.first(first));
    for (qsizetype i = first; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (!isControl(c) || c == u'\t' || c == u'\n') {
            shown.append(QChar(c));
            continue;
        }
        if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
            continue;
        shown.append(QLatin1String("\\u00"));
        shown.append(QChar(hex[c >> 4]));
        shown.append(QChar(hex[c & 0xf]));
    }
    return shown;
}

} // namespace brightloom::text
