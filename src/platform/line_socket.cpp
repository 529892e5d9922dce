#include "line_socket.h"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>

namespace brightloom {
namespace {

// Nothing longer than this is read as one request.
constexpr qint64 maxLine = 16 * 1024;

} // namespace

QString LineSocket::runtimePath(const QString& name)
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    return folder + QLatin1Char('/') + name;
}

bool LineSocket::send(const QString& path, const QByteArray& line, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(line + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // The listener answers once it holds the line, so nothing is lost if the sender exits now.
    if (!socket.waitForReadyRead(timeoutMs))
        return false;
    return socket.readLine(16).trimmed() == "ok";
}

LineSocket::LineSocket(QString path, Taker take, QObject* parent)
    : QObject(parent), m_path(std::move(path)), m_take(std::move(take))
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &LineSocket::accept);
}

bool LineSocket::listen()
{
    // Someone answers there: that one listens. (Listening with access options would silently take
    // the path over, so this is asked first.)
    QLocalSocket probe;
    probe.connectToServer(m_path);
    if (probe.waitForConnected(500)) {
        probe.abort();
        return false;
    }
    // Nobody answers: nothing is there, or a crashed run left its socket behind.
    QLocalServer::removeServer(m_path);
    return m_server.listen(m_path);
}

void LineSocket::accept()
{
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > maxLine)
                    socket->abort();
                return;
            }
            const QByteArray line = socket->readLine(maxLine).trimmed();
            if (!m_take(line)) {
                socket->abort();
                return;
            }
            socket->write("ok\n");
            socket->flush();
            socket->disconnectFromServer();
        });
    }
}

} // namespace brightloom
