#pragma once

#include <QByteArray>
#include <QByteArrayView>

// UTF-8 that may be damaged, repaired the way the platform's decoder repairs it: every maximal
// subpart of an ill-formed sequence (the longest start of a valid sequence that cannot be finished,
// or else one byte) becomes one U+FFFD. A 4-byte character cut after its third byte is one
// replacement, not three; a stray continuation byte is one. The repair stays UTF-8, so a tool's
// output of a gigabyte is held once, as the bytes it printed, until a screen shows some of it.
namespace brightloom::text {

// Whether `bytes` is well-formed UTF-8 throughout.
bool isWellFormedUtf8(QByteArrayView bytes);

// `bytes`, which isWellFormedUtf8 refused, made well-formed (well-formed input comes back as it is,
// only slower than a copy). A byte order mark at the start is kept.
QByteArray repairedUtf8(QByteArrayView bytes);

} // namespace brightloom::text
