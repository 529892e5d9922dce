#include "characters.h"

#include <QTextBoundaryFinder>
#include <algorithm>

namespace brightloom::text {
namespace {

bool isRegionalIndicator(char32_t c)
{
    return c >= 0x1F1E6 && c <= 0x1F1FF;
}

// The code point that ends just before `pos`, or 0 at the start.
char32_t codePointBefore(QStringView text, qsizetype pos)
{
    if (pos <= 0)
        return 0;
    const QChar low = text[pos - 1];
    if (low.isLowSurrogate() && pos >= 2 && text[pos - 2].isHighSurrogate())
        return QChar::surrogateToUcs4(text[pos - 2], low);
    return low.unicode();
}

qsizetype codePointLengthBefore(QStringView text, qsizetype pos)
{
    return codePointBefore(text, pos) > 0xFFFF ? 2 : 1;
}

// Moves `start` back to a place where a grapheme boundary cannot depend on what lies before it:
// off a low surrogate, and past a run of regional indicators, whose pairing counts from the run's
// start.
qsizetype safeStart(QStringView text, qsizetype start)
{
    if (start > 0 && start < text.size() && text[start].isLowSurrogate())
        --start;
    while (start > 0 && isRegionalIndicator(codePointBefore(text, start)))
        start -= codePointLengthBefore(text, start);
    return start;
}

} // namespace

qsizetype characterCount(QStringView text)
{
    if (text.isEmpty())
        return 0;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.constData(), text.size());
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QString firstCharacters(QStringView text, qsizetype count)
{
    if (count <= 0)
        return {};
    // Each character is at least one code unit, so a longer text is never needed; looking at a
    // window first keeps the cost bounded when a huge text is cut to a few characters.
    qsizetype window = std::min<qsizetype>(text.size(), count * 4 + 64);
    for (;;) {
        const QStringView part = text.first(window);
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, part.constData(), part.size());
        qsizetype seen = 0;
        qsizetype end = 0;
        // The window's own end always counts as a boundary, so the last character found in a window
        // that is not the whole text may be cut: it only counts once the window reaches past it.
        while (seen < count) {
            const qsizetype next = finder.toNextBoundary();
            if (next == -1)
                break;
            if (next == part.size() && window < text.size())
                break;
            end = next;
            ++seen;
        }
        if (seen == count || window == text.size())
            return text.first(end).toString();
        window = std::min<qsizetype>(text.size(), window * 2);
    }
}

QString lastCharacters(QStringView text, qsizetype count)
{
    if (count <= 0)
        return {};
    qsizetype window = std::min<qsizetype>(text.size(), count * 4 + 64);
    for (;;) {
        const qsizetype start = safeStart(text, text.size() - window);
        const QStringView part = text.sliced(start);
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, part.constData(), part.size());
        finder.toEnd();
        qsizetype seen = 0;
        qsizetype begin = part.size();
        while (seen < count) {
            const qsizetype previous = finder.toPreviousBoundary();
            if (previous == -1)
                break;
            // The window's start always counts as a boundary; unless it is the text's start, the
            // character it begins may be the tail of a longer one.
            if (previous == 0 && start > 0)
                break;
            begin = previous;
            ++seen;
        }
        if (seen == count || start == 0)
            return part.sliced(begin).toString();
        window = std::min<qsizetype>(text.size(), window * 2);
    }
}

void forEachCharacter(QStringView text, const std::function<bool(QStringView)>& visit)
{
    if (text.isEmpty())
        return;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.constData(), text.size());
    qsizetype start = 0;
    for (qsizetype end = finder.toNextBoundary(); end != -1; end = finder.toNextBoundary()) {
        if (end == start)
            continue;
        if (!visit(text.sliced(start, end - start)))
            return;
        start = end;
    }
}

} // namespace brightloom::text
