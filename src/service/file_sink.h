#pragma once

// Writes a download to its file on the thread pool, chunk after chunk in their order, so that the
// main thread only hands the bytes over: a write can wait on a busy disk for longer than a frame.
// At most `window` bytes wait to be written; past that the caller stops reading the network, and is
// told on its own thread when there is room again.

#include <QByteArray>
#include <QFuture>
#include <QString>
#include <functional>
#include <memory>

class QFileDevice;

namespace brightloom {

class FileSink
{
public:
    // `file` is open for writing and stays so until finished() is done. `roomAgain` is called on the
    // thread that made the sink.
    FileSink(QFileDevice& file, qint64 window, std::function<void()> roomAgain);
    ~FileSink();
    FileSink(const FileSink&) = delete;
    FileSink& operator=(const FileSink&) = delete;

    // Whether another chunk may be handed over now.
    bool hasRoom() const;
    void write(QByteArray chunk);
    // Done when every chunk handed over is written (or has failed). Call it once, after the last
    // write.
    QFuture<void> finished();
    // Why a write failed, once finished() is done; empty when every write succeeded.
    QString error() const;
    // Blocks until every chunk handed over is written; for a sink that is going away.
    void waitUntilWritten();

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace brightloom
