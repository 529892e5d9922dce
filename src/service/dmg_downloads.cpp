#include "dmg_downloads.h"

#include "api.h"
#include "platform/desktop.h"
#include "service/screen_action.h"

namespace brightloom {

DmgDownloads::DmgDownloads(Desktop* desktop, QObject* parent) : QObject(parent), m_desktop(desktop) {}

void DmgDownloads::get(const QString& key, const QString& url, const QString& name, API& api,
                       const QString& extension)
{
    if (m_busy.contains(key))
        return;
    download(key, url, name, extension, QPointer<API>(&api));
}

QCoro::Task<> DmgDownloads::download(QString key, QString url, QString name, QString extension,
                                     QPointer<API> api)
{
    {
        ScreenAction action(
            this,
            [this, key](bool on) {
                if (on)
                    m_busy.insert(key);
                else
                    m_busy.remove(key);
                Q_EMIT busyChanged();
            },
            [this](std::optional<QString> error) { setError(error.value_or(QString())); });
        if (!api)
            co_return;
        const std::optional<QString> saved =
            co_await action.attempt(api->downloadNamed(url, name, extension));
        if (!action.screenAlive())
            co_return;
        if (saved) {
            m_saved.insert(key, *saved);
            Q_EMIT savedChanged();
            if (m_desktop)
                m_desktop->open(QUrl::fromLocalFile(*saved));
        }
    }
    Q_EMIT finished(key);
}

void DmgDownloads::setError(const QString& error)
{
    assignAndNotify(this, m_error, error, &DmgDownloads::errorChanged);
}

} // namespace brightloom
