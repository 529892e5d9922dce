#pragma once

#include <QByteArray>
#include <QLocalServer>
#include <QObject>
#include <QString>
#include <functional>

namespace brightloom {

// A local socket that takes requests of one line each, owner-only, answering "ok" once it holds a
// line it accepts. The single window and a waiting browser sign-in each listen on one.
class LineSocket final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LineSocket)

public:
    // Answers whether `line` (without its line end) is taken; a refused line gets no answer.
    using Taker = std::function<bool(const QByteArray& line)>;

    // `name` in the user's runtime folder (XDG_RUNTIME_DIR), or the temporary folder without one.
    static QString runtimePath(const QString& name);

    // Sends `line` to whoever listens at `path`; answers whether it was taken. Blocks up to
    // `timeoutMs` at each step, so only for a program that shows nothing yet.
    static bool send(const QString& path, const QByteArray& line, int timeoutMs);

    LineSocket(QString path, Taker take, QObject* parent = nullptr);

    // Starts listening; false when someone listens there already, or the socket cannot be made. A
    // socket left behind by a process that crashed is replaced.
    bool listen();
    bool listening() const { return m_server.isListening(); }
    const QString& path() const { return m_path; }

private:
    void accept();

    QString m_path;
    Taker m_take;
    QLocalServer m_server;
};

} // namespace brightloom
