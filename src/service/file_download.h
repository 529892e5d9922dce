#pragma once

#include "service_limits.h"

#include <QTemporaryFile>
#include <QUrl>
#include <functional>
#include <memory>
#include <qcoro/qcorotask.h>

class QNetworkAccessManager;

namespace brightloom {

struct FetchedFile
{
    std::unique_ptr<QTemporaryFile> file; // closed, removed with this object unless told otherwise
    int status = 0;                       // the HTTP status, 0 when the address was not HTTP
};

// Told the bytes received so far and the total (-1 while unknown), on the main thread.
using DownloadProgress = std::function<void(qint64 received, qint64 total)>;

struct DownloadLimits
{
    std::chrono::milliseconds silence = ServiceLimits().silence;
    qint64 maxBytes = ServiceLimits().downloadBytes;
};

// Streams the body at `url` into a temporary file; memory stays flat whatever the size. Throws
// TransportError when the transfer fails, and APIError when the body passes `limits.maxBytes` (the
// partial file is removed); any HTTP status is answered, not thrown.
QCoro::Task<FetchedFile> fetchToFile(QNetworkAccessManager& network, QUrl url, DownloadProgress progress = {},
                                     DownloadLimits limits = {});

// Removes the fetched file on the thread pool, resuming when it is gone: freeing a file of hundreds
// of megabytes takes the thread that does it longer than a frame.
QCoro::Task<> discardInBackground(FetchedFile fetched);

} // namespace brightloom
