#pragma once

// What one call to the service, or one download, may take from the network, so that no reply can
// exhaust memory or disk or keep the client waiting for ever.

#include <QString>
#include <QtGlobal>
#include <chrono>

namespace brightloom {

struct ServiceLimits
{
    // No byte for this long ends a call or a download as timed out.
    std::chrono::milliseconds silence = std::chrono::seconds(60);
    // A service call that has not finished by then ends as timed out, even while bytes still trickle
    // in. Downloads have no such limit: they show their progress.
    std::chrono::milliseconds whole = std::chrono::seconds(120);
    // A service call's reply is held in memory; none of the service's real replies comes near this.
    qint64 replyBytes = 256'000'000;
    // A download goes to disk.
    qint64 downloadBytes = 16'000'000'000;
};

// A size as the messages about these limits give it: "256 MB", "16 GB".
inline QString sizeText(qint64 bytes)
{
    if (bytes >= 1'000'000'000 && bytes % 1'000'000'000 == 0)
        return QString::number(bytes / 1'000'000'000) + QStringLiteral(" GB");
    if (bytes >= 1'000'000)
        return QString::number(bytes / 1'000'000) + QStringLiteral(" MB");
    return QString::number(bytes) + QStringLiteral(" bytes");
}

} // namespace brightloom
