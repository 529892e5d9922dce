#pragma once

// Reading one service reply into memory within the limits: at most so many bytes, and no later
// than a deadline. The bytes are read as they arrive into the one buffer that is answered, while
// the network holds no more than a small buffer of its own, so the reply is never held twice.

#include <QByteArray>
#include <QDeadlineTimer>
#include <qcoro/qcorotask.h>

class QNetworkReply;

namespace brightloom {

struct BoundedBody
{
    QByteArray bytes;
    bool tooLarge = false; // the reply passed the limit and was abandoned
    bool timedOut = false; // the deadline passed first and the reply was abandoned
};

// Reads `reply` to its end. It must not have finished or been read yet.
QCoro::Task<BoundedBody> readBounded(QNetworkReply* reply, qint64 maxBytes, QDeadlineTimer deadline);

} // namespace brightloom
