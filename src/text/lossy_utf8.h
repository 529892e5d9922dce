#pragma once

#include <QByteArrayView>
#include <QChar>
#include <QString>

// UTF-8 that may be damaged, decoded the way the platform's decoder repairs it: every maximal
// subpart of an ill-formed sequence (the longest start of a valid sequence that cannot be finished,
// or else one byte) becomes one U+FFFD. A 4-byte character cut after its third byte is one
// replacement, not three; a stray continuation byte is one.
namespace brightloom::text {

// Decodes `bytes` into `out`, which has room for at least bytes.size() code units, and answers the
// end of what was written. A byte order mark at the start is kept as a character.
QChar* decodeUtf8Repairing(QByteArrayView bytes, QChar* out);

// The same into a new string.
QString fromUtf8Repairing(QByteArrayView bytes);

} // namespace brightloom::text
