#pragma once

#include <QString>
#include <QStringView>
#include <functional>

// Characters as a person counts them: extended grapheme clusters, so "é" written as "e" plus a
// combining accent, a flag, or an emoji joined from several code points each count once. Every
// limit of the client that speaks of characters counts these, and no cut ever splits one.
namespace brightloom::text {

// How many characters `text` holds.
qsizetype characterCount(QStringView text);

// The first `count` characters of `text` (all of it when it holds fewer).
QString firstCharacters(QStringView text, qsizetype count);

// The last `count` characters of `text` (all of it when it holds fewer). Only the end of the text
// is examined, so taking the tail of a very long text costs about as much as the tail itself.
QString lastCharacters(QStringView text, qsizetype count);

// Hands each character of `text` to `visit`, in order, as a view into `text`, for as long as `visit`
// answers true.
void forEachCharacter(QStringView text, const std::function<bool(QStringView)>& visit);

} // namespace brightloom::text
