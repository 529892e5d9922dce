#include "desktop_notifier.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QVariantMap>

namespace brightloom::ui {

void DesktopNotifier::notify(const QString& title, const QString& body)
{
    if (!m_bus.get().isConnected())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    QVariantMap hints;
    hints.insert(QStringLiteral("desktop-entry"), QStringLiteral("app.brightloom.Brightloom"));
    call << QStringLiteral("Brightloom") << uint(0) << QStringLiteral("app.brightloom.Brightloom") << title
         << body << QStringList() << hints << int(-1);
    // Sent without waiting for an answer: a missing service is simply no notification.
    m_bus.get().asyncCall(call);
}

} // namespace brightloom::ui
