#include "tray_notifier.h"

namespace brightloom::ui {

TrayNotifier::TrayNotifier(const QIcon& icon)
{
    m_tray.setIcon(icon);
    m_tray.setToolTip(QStringLiteral("Brightloom"));
    QObject::connect(&m_tray, &QSystemTrayIcon::messageClicked, &m_tray, [this] { m_tray.hide(); });
}

void TrayNotifier::notify(const QString& title, const QString& body)
{
    m_lastShown = QSystemTrayIcon::isSystemTrayAvailable() && QSystemTrayIcon::supportsMessages();
    if (!m_lastShown)
        return;
    m_tray.show();
    m_tray.showMessage(title, body, QSystemTrayIcon::Information);
}

} // namespace brightloom::ui
