#include "system_desktop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>

namespace brightloom::ui {
namespace {

void openFolderOf(const QString& path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

} // namespace

void SystemDesktop::open(const QUrl& url)
{
    QDesktopServices::openUrl(url);
}

void SystemDesktop::reveal(const QString& path)
{
    if (!m_bus.get().isConnected()) {
        openFolderOf(path);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    // Asked without waiting, so the window never stalls on a slow bus; an error or silence means no
    // file manager took the call, and the folder is opened instead.
    auto* watcher = new QDBusPendingCallWatcher(m_bus.get().asyncCall(call, 5000));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, path] {
        if (watcher->isError())
            openFolderOf(path);
        watcher->deleteLater();
    });
}

} // namespace brightloom::ui
