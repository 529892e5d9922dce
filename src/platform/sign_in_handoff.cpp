#include "sign_in_handoff.h"

#include <QUrl>

namespace brightloom {
QString SignInHandoff::defaultSocketPath()
{
    return LineSocket::runtimePath(QStringLiteral("brightloom-sign-in.socket"));
}

bool SignInHandoff::offer(const QString& callback, const QString& socketPath, int timeoutMs)
{
    return LineSocket::send(socketPath, QByteArrayLiteral("callback ") + callback.toUtf8(), timeoutMs);
}

SignInHandoff::SignInHandoff(QString socketPath, QObject* parent)
    : QObject(parent), m_socket(std::move(socketPath), [this](const QByteArray& line) { return take(line); })
{}

bool SignInHandoff::listen()
{
    return m_socket.listen();
}

bool SignInHandoff::take(const QByteArray& line)
{
    const QString callback = QString::fromUtf8(line.mid(9));
    if (!line.startsWith("callback ") || QUrl(callback).scheme() != QLatin1String("brightloom"))
        return false;
    // Acted on once the sender has its answer.
    QMetaObject::invokeMethod(
        this, [this, callback] { Q_EMIT callbackReceived(callback); }, Qt::QueuedConnection);
    return true;
}

} // namespace brightloom
