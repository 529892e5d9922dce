#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <optional>

namespace brightloom::cli {

// Standard input, a line at a time as it arrives, read on the event loop: nothing blocks, so Ctrl+C
// or another event (a sign-in address from the desktop) can end the wait. (A blocked read on a
// thread would hold the program's exit, which waits for the thread pool.)
class StdinLines final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StdinLines)

public:
    explicit StdinLines(QObject* parent = nullptr);

    // The next whole line, without its line end; nothing while none has arrived.
    std::optional<QString> takeLine();
    bool atEnd() const { return m_ended && m_lines.isEmpty(); }

Q_SIGNALS:
    // A line arrived, or the input ended.
    void changed();

private:
    void readAvailable();

    QSocketNotifier m_notifier;
    QByteArray m_pending;
    QList<QByteArray> m_lines;
    bool m_ended = false;
};

} // namespace brightloom::cli
