#include "single_instance.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QFileOpenEvent>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QUrl>

namespace brightloom::ui {
namespace {

// A request is one line: "raise", or "callback " and the address. Nothing longer is read.
constexpr qint64 maxRequest = 16 * 1024;

QByteArray requestFor(const QString& callback)
{
    if (callback.isEmpty())
        return QByteArrayLiteral("raise\n");
    return QByteArrayLiteral("callback ") + callback.toUtf8() + '\n';
}

} // namespace

QString SingleInstance::defaultSocketPath()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    return folder + QStringLiteral("/brightloom.socket");
}

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent), m_path(std::move(socketPath))
{
    // Only this user may connect.
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::accept);
    if (QCoreApplication* app = QCoreApplication::instance())
        app->installEventFilter(this);
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::forward(const QString& callback, int timeoutMs)
{
    // This runs before any window exists, so waiting here stalls nothing the user sees.
    QLocalSocket socket;
    socket.connectToServer(m_path);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(requestFor(callback));
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // The running instance answers once it has the request, so nothing is lost if this exits now.
    if (!socket.waitForReadyRead(timeoutMs))
        return false;
    return socket.readLine(16).trimmed() == "ok";
}

bool SingleInstance::listen()
{
    // Someone answers there: that one is the running instance. (Listening with access options would
    // silently take the path over, so this is asked first.)
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

void SingleInstance::accept()
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
            socket->write("ok\n");
            socket->flush();
            socket->disconnectFromServer();
            if (line == "raise") {
                Q_EMIT raiseRequested();
                return;
            }
            if (!line.startsWith("callback "))
                return;
            takeCallback(QString::fromUtf8(line.mid(9)));
        });
    }
}

bool SingleInstance::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == QCoreApplication::instance() && event->type() == QEvent::FileOpen) {
        const QUrl url = static_cast<QFileOpenEvent*>(event)->url();
        if (url.scheme() == QLatin1String("brightloom")) {
            takeCallback(url.toString(QUrl::FullyEncoded));
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

void SingleInstance::takeCallback(const QString& callback)
{
    if (QUrl(callback).scheme() != QLatin1String("brightloom"))
        return;
    Q_EMIT raiseRequested();
    Q_EMIT callbackReceived(callback);
}

} // namespace brightloom::ui
