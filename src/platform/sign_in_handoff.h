#pragma once

#include "line_socket.h"

#include <QObject>
#include <QString>

namespace brightloom {

// The road a browser sign-in's "brightloom://" address takes to a command line that waits for it.
// The desktop gives the address to the window program (its scheme handler), which first offers it
// here: a `brightloom-cli login --browser` that waits listens on this socket, owner-only. When nobody
// listens, the window program hands the address to the window as before.
class SignInHandoff final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SignInHandoff)

public:
    // "brightloom-sign-in.socket" in the runtime folder (XDG_RUNTIME_DIR).
    static QString defaultSocketPath();

    // Offers `callback` to whoever waits; answers whether one took it. Blocks up to `timeoutMs`, so
    // only for a program that shows nothing yet.
    static bool offer(const QString& callback, const QString& socketPath = defaultSocketPath(),
                      int timeoutMs = 2000);

    explicit SignInHandoff(QString socketPath = defaultSocketPath(), QObject* parent = nullptr);

    // Starts waiting; false when another waiter holds the socket or it cannot be made.
    bool listen();

Q_SIGNALS:
    // A "brightloom://" address arrived; anything else is dropped.
    void callbackReceived(const QString& callback);

private:
    bool take(const QByteArray& line);

    LineSocket m_socket;
};

} // namespace brightloom
