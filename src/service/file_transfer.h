#pragma once

// One file download carried out on the thread its network session lives on. A download of hundreds
// of megabytes arrives in tens of thousands of small pieces; on a session of its own thread, none of
// them costs the caller's thread an event. The caller hears of progress (at most every 50 ms) and
// of the end.

#include "file_download.h"

#include <QFuture>
#include <QNetworkReply>
#include <QString>
#include <memory>

class QFileDevice;

namespace brightloom {

// How a transfer ended, as the session's thread saw it.
struct TransferEnd
{
    bool ended = false; // false: the session went away before the transfer ended
    int status = 0;     // the HTTP status, 0 when there was none
    bool tooLarge = false;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QString errorText;     // Qt's description of `error`
    QString decompression; // why the body could not be decompressed, when that was the failure
    QString writeError;    // why the file could not be written
};

// Starts downloading `url` into `file` (open for writing) on `network`'s thread; the future is done
// when `end` tells how it ended and the file is closed. `progress` is called on the calling thread, through
// `relay`, an object of that thread that outlives the future.
QFuture<void> startTransfer(QNetworkAccessManager& network, QUrl url, QFileDevice* file,
                            DownloadLimits limits, DownloadProgress progress, QObject* relay,
                            std::shared_ptr<TransferEnd> end);

} // namespace brightloom
