#include "zip_extraction.h"

#include "threads/background_priority.h"

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

namespace brightloom::zip {

QFuture<Result> startExtracting(QString archive, QString target, Limits limits)
{
    return QtConcurrent::run([archive = std::move(archive), target = std::move(target), limits] {
        yieldToMainThread();
        return extract(archive, target, limits);
    });
}

QCoro::Task<Result> extractInBackground(QString archive, QString target, Limits limits)
{
    co_return co_await startExtracting(std::move(archive), std::move(target), limits);
}

} // namespace brightloom::zip
