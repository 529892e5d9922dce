#include "sign_in_handoff.h"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QUrl>

namespace brightloom {
namespace {

// One line: "callback " and the address. Nothing longer is read.
constexpr qint64 maxRequest = 16 * 1024;

} // namespace

QString SignInHandoff::defaultSocketPath()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    return folder + QStringLiteral("/brightloom-sign-in.socket");
}

bool SignInHandoff::offer(const QString& callback, const QString& socketPath, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(QByteArrayLiteral("callback ") + callback.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // The waiter answers once it holds the address, so nothing is lost if this exits now.
    if (!socket.waitForReadyRead(timeoutMs))
        return false;
    return socket.readLine(16).trimmed() == "ok";
}

SignInHandoff::SignInHandoff(QString socketPath, QObject* parent)
    : QObject(parent), m_path(std::move(socketPath))
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &SignInHandoff::accept);
}

bool SignInHandoff::listen()
{
    // A waiter answers there already; listening would take its path away.
    QLocalSocket probe;
    probe.connectToServer(m_path);
    if (probe.waitForConnected(500)) {
        probe.abort();
        return false;
    }
    QLocalServer::removeServer(m_path);
    return m_server.listen(m_path);
}

void SignInHandoff::accept()
{
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > maxRequest)
                    socket->abort();
                return;
            }
            const QByteArray line = socket->readLine(maxRequest).trimmed();
            if (!line.startsWith("callback ") ||
                QUrl(QString::fromUtf8(line.mid(9))).scheme() != QLatin1String("brightloom")) {
                socket->abort();
                return;
            }
            socket->write("ok\n");
            socket->flush();
            socket->disconnectFromServer();
            Q_EMIT callbackReceived(QString::fromUtf8(line.mid(9)));
        });
    }
}

} // namespace brightloom
