#include "tray_notifier.h"

#include <QGuiApplication>

namespace brightloom::ui {

TrayNotifier::TrayNotifier() = default;

TrayNotifier::~TrayNotifier() = default;

void TrayNotifier::notify(const QString& title, const QString& body)
{
    if (!QSystemTrayIcon::isSystemTrayAvailable() || !QSystemTrayIcon::supportsMessages())
        return;
    if (!m_tray) {
        m_tray = std::make_unique<QSystemTrayIcon>(QGuiApplication::windowIcon());
        m_tray->setToolTip(QStringLiteral("Brightloom"));
        QSystemTrayIcon* tray = m_tray.get();
        QObject::connect(tray, &QSystemTrayIcon::messageClicked, tray, &QSystemTrayIcon::hide);
    }
    m_tray->show();
    m_tray->showMessage(title, body, QSystemTrayIcon::Information);
}

} // namespace brightloom::ui
