#include "single_instance.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QFileOpenEvent>
#include <QUrl>

namespace brightloom::ui {
namespace {

// A request is one line: "raise", or "callback " and the address.
QByteArray requestFor(const QString& callback)
{
    if (callback.isEmpty())
        return QByteArrayLiteral("raise");
    return QByteArrayLiteral("callback ") + callback.toUtf8();
}

} // namespace

QString SingleInstance::defaultSocketPath()
{
    return LineSocket::runtimePath(QStringLiteral("brightloom.socket"));
}

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent), m_socket(std::move(socketPath), [this](const QByteArray& line) { return take(line); })
{
    if (QCoreApplication* app = QCoreApplication::instance())
        app->installEventFilter(this);
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::forward(const QString& callback, int timeoutMs)
{
    // This runs before any window exists, so waiting here stalls nothing the user sees.
    return LineSocket::send(m_socket.path(), requestFor(callback), timeoutMs);
}

bool SingleInstance::listen()
{
    return m_socket.listen();
}

bool SingleInstance::take(const QByteArray& line)
{
    // Acted on once the sender has its answer.
    QMetaObject::invokeMethod(
        this,
        [this, line] {
            if (line == "raise")
                Q_EMIT raiseRequested();
            else if (line.startsWith("callback "))
                takeCallback(QString::fromUtf8(line.mid(9)));
        },
        Qt::QueuedConnection);
    return true;
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
