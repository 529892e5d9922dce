#include "bounded_reply.h"

#include <QNetworkReply>
#include <QTimer>
#include <algorithm>
#include <memory>
#include <qcoro/qcoronetworkreply.h>

namespace brightloom {
namespace {

// What the network may hold before it waits for us to read.
constexpr qint64 networkBuffer = 1 << 20;

// Moves what has arrived into `body`, or gives up on the reply when it would pass `maxBytes`.
void take(QNetworkReply& reply, BoundedBody& body, qint64 maxBytes)
{
    if (body.tooLarge || body.timedOut)
        return;
    // A length announced past the limit is refused before its bytes come.
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    const qint64 announced = length.isValid() ? length.toLongLong() : -1;
    if (announced > maxBytes) {
        body.tooLarge = true;
        reply.abort();
        return;
    }
    for (qint64 available = reply.bytesAvailable(); available > 0; available = reply.bytesAvailable()) {
        const qint64 have = body.bytes.size();
        if (have + available > maxBytes) {
            body.tooLarge = true;
            reply.abort();
            return;
        }
        if (body.bytes.capacity() < have + available) {
            // Room for the announced length at once, else doubling, never past the limit.
            const qint64 wanted = announced > 0
                                      ? std::max(announced, have + available)
                                      : std::max(have + available, qint64(body.bytes.capacity()) * 2);
            body.bytes.reserve(std::min(wanted, maxBytes));
        }
        body.bytes.resize(have + available);
        const qint64 got = reply.read(body.bytes.data() + have, available);
        body.bytes.resize(have + std::max<qint64>(got, 0));
        if (got <= 0)
            return;
    }
}

} // namespace

QCoro::Task<BoundedBody> readBounded(QNetworkReply* reply, qint64 maxBytes, QDeadlineTimer deadline)
{
    // Shared with the connections below, which may outlive a suspended frame's view of it.
    auto body = std::make_shared<BoundedBody>();
    reply->setReadBufferSize(networkBuffer);
    QObject::connect(reply, &QNetworkReply::metaDataChanged, reply,
                     [reply, body, maxBytes] { take(*reply, *body, maxBytes); });
    QObject::connect(reply, &QNetworkReply::readyRead, reply,
                     [reply, body, maxBytes] { take(*reply, *body, maxBytes); });
    auto* timer = new QTimer(reply);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, reply, [reply, body] {
        if (reply->isFinished())
            return;
        body->timedOut = true;
        reply->abort();
    });
    if (!deadline.isForever())
        timer->start(std::chrono::milliseconds(std::max<qint64>(0, deadline.remainingTime())));
    if (!reply->isFinished())
        co_await reply;
    timer->stop();
    take(*reply, *body, maxBytes);
    co_return std::move(*body);
}

} // namespace brightloom
