#pragma once

#include "platform/line_socket.h"

#include <QObject>
#include <QString>

namespace brightloom::ui {

// Keeps one window per user, and takes the "brightloom://" sign-in callback wherever the desktop
// delivers it. The first process listens on a socket in the user's runtime folder; a later one hands
// it what it was started with (a callback, or a wish to see the window) and exits: the road of a
// Linux desktop, which starts the program with the address. A Mac hands the address to the running
// application as an open-URL event, which arrives here too. A socket left behind by a process that
// crashed is replaced.
class SingleInstance final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SingleInstance)

public:
    // The socket's path: "brightloom.socket" in the runtime folder (XDG_RUNTIME_DIR).
    static QString defaultSocketPath();

    explicit SingleInstance(QString socketPath = defaultSocketPath(), QObject* parent = nullptr);
    ~SingleInstance() override;

    // Hands `callback` (empty: just raise the window) to a running instance. Answers whether one
    // took it; false when none is running.
    bool forward(const QString& callback, int timeoutMs = 2000);

    // Becomes the running instance; answers false when the socket cannot be made.
    bool listen();
    bool listening() const { return m_socket.listening(); }
    const QString& socketPath() const { return m_socket.path(); }

Q_SIGNALS:
    // Another start or the desktop brought a sign-in callback. Whoever waits for one takes it; when
    // nobody does, it is gone.
    void callbackReceived(const QString& callback);
    // Another start wants the window in front.
    void raiseRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // A request from another start: answers that it is taken, and acts on it once answered.
    bool take(const QByteArray& line);
    // Passes on an address of our own scheme; anything else is dropped.
    void takeCallback(const QString& callback);

    LineSocket m_socket;
};

} // namespace brightloom::ui
