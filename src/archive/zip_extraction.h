#pragma once

// Unpacking off the main thread: extract() on the thread pool, where its blocking file work belongs.

#include "zip_unpacking.h"

#include <QFuture>
#include <QString>
#include <qcoro/qcorotask.h>

namespace brightloom::zip {

// extract() on the thread pool.
QFuture<Result> startExtracting(QString archive, QString target, Limits limits = {});

// extract() on the thread pool, resuming on the calling thread.
QCoro::Task<Result> extractInBackground(QString archive, QString target, Limits limits = {});

} // namespace brightloom::zip
