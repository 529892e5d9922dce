#include "dmg_downloads.h"

#include "api.h"
#include "platform/desktop.h"

namespace brightloom {

DmgDownloads::DmgDownloads(Desktop* desktop, QObject* parent) : QObject(parent), m_desktop(desktop) {}

void DmgDownloads::get(const QString& key, const QString& url, const QString& name, API& api,
                       const QString& extension)
{
    if (m_busy.contains(key))
        return;
    m_busy.insert(key);
    Q_EMIT busyChanged();
    setError(QString());
    download(key, url, name, extension, QPointer<API>(&api));
}

QCoro::Task<> DmgDownloads::download(QString key, QString url, QString name, QString extension,
                                     QPointer<API> api)
{
    QPointer<DmgDownloads> self(this);
    QString saved;
    QString failure;
    try {
        if (!api)
            co_return;
        saved = co_await api->downloadNamed(url, name, extension);
    } catch (const std::exception& e) {
        failure = QString::fromUtf8(e.what());
    }
    if (!self)
        co_return;
    if (failure.isEmpty()) {
        m_saved.insert(key, saved);
        Q_EMIT savedChanged();
        if (m_desktop)
            m_desktop->open(QUrl::fromLocalFile(saved));
    } else {
        setError(failure);
    }
    m_busy.remove(key);
    Q_EMIT busyChanged();
    Q_EMIT finished(key);
}

void DmgDownloads::setError(const QString& error)
{
    if (m_error == error)
        return;
    m_error = error;
    Q_EMIT errorChanged();
}

} // namespace brightloom
