#include "file_sink.h"

#include "threads/background_priority.h"

#include <QFileDevice>
#include <QMutex>
#include <QMutexLocker>
#include <QObject>
#include <QPromise>
#include <QThreadPool>
#include <QWaitCondition>
#include <deque>
#include <optional>

namespace brightloom {

struct FileSink::State
{
    QFileDevice* file = nullptr;
    qint64 window = 0;
    std::function<void()> roomAgain;
    QObject* home = nullptr; // lives on the thread that made the sink; carries roomAgain there

    mutable QMutex lock;
    std::deque<QByteArray> queue;
    qint64 waiting = 0;   // bytes handed over and not yet written
    bool writing = false; // a pool task is draining the queue
    QWaitCondition idle;  // told when the queue is drained
    mutable bool full = false;
    QString error;
    std::optional<QPromise<void>> done;

    ~State()
    {
        if (home)
            home->deleteLater(); // from whichever thread lets go last
    }

    // Runs on the pool until the queue is empty.
    static void drain(const std::shared_ptr<State>& state)
    {
        yieldToMainThread();
        for (;;) {
            QByteArray chunk;
            bool failedBefore = false;
            {
                QMutexLocker locked(&state->lock);
                if (state->queue.empty()) {
                    state->writing = false;
                    state->idle.wakeAll();
                    if (state->done) {
                        state->done->finish();
                        state->done.reset();
                    }
                    return;
                }
                chunk = std::move(state->queue.front());
                state->queue.pop_front();
                failedBefore = !state->error.isEmpty();
            }
            // After a failed write the rest is dropped: the download fails with the first reason.
            QString failed;
            if (!failedBefore && state->file->write(chunk) != chunk.size())
                failed = state->file->errorString();
            bool wake = false;
            {
                QMutexLocker locked(&state->lock);
                if (!failed.isEmpty() && state->error.isEmpty())
                    state->error = failed;
                state->waiting -= chunk.size();
                if (state->full && state->waiting <= state->window / 2) {
                    state->full = false;
                    wake = true;
                }
            }
            if (wake)
                QMetaObject::invokeMethod(state->home, state->roomAgain, Qt::QueuedConnection);
        }
    }
};

FileSink::FileSink(QFileDevice& file, qint64 window, std::function<void()> roomAgain)
    : m_state(std::make_shared<State>())
{
    m_state->file = &file;
    m_state->window = window;
    m_state->roomAgain = std::move(roomAgain);
    m_state->home = new QObject;
}

FileSink::~FileSink() = default;

bool FileSink::hasRoom() const
{
    QMutexLocker locked(&m_state->lock);
    if (m_state->waiting < m_state->window)
        return true;
    m_state->full = true;
    return false;
}

void FileSink::write(QByteArray chunk)
{
    if (chunk.isEmpty())
        return;
    QMutexLocker locked(&m_state->lock);
    m_state->waiting += chunk.size();
    m_state->queue.push_back(std::move(chunk));
    if (m_state->writing)
        return;
    m_state->writing = true;
    QThreadPool::globalInstance()->start([state = m_state] { State::drain(state); });
}

QFuture<void> FileSink::finished()
{
    QMutexLocker locked(&m_state->lock);
    QPromise<void> promise;
    promise.start();
    QFuture<void> future = promise.future();
    if (m_state->writing)
        m_state->done = std::move(promise);
    else
        promise.finish();
    return future;
}

void FileSink::waitUntilWritten()
{
    QMutexLocker locked(&m_state->lock);
    while (m_state->writing)
        m_state->idle.wait(&m_state->lock);
}

QString FileSink::error() const
{
    QMutexLocker locked(&m_state->lock);
    return m_state->error;
}

} // namespace brightloom
