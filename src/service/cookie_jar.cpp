#include "cookie_jar.h"

#include "cookie_file.h"
#include "platform/paths.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace brightloom {

CookieJar::CookieJar(QString file, QObject* parent) : QNetworkCookieJar(parent), m_file(std::move(file))
{
    reloadIfChanged();
}

QString CookieJar::defaultFile()
{
    return paths::dataFolder() + QStringLiteral("/cookies");
}

QList<QNetworkCookie> CookieJar::cookiesForUrl(const QUrl& url) const
{
    reloadIfChanged();
    return QNetworkCookieJar::cookiesForUrl(url);
}

bool CookieJar::setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url)
{
    reloadIfChanged();
    const bool changed = QNetworkCookieJar::setCookiesFromUrl(cookies, url);
    if (changed)
        save();
    return changed;
}

bool CookieJar::deleteCookie(const QNetworkCookie& cookie)
{
    reloadIfChanged();
    const bool changed = QNetworkCookieJar::deleteCookie(cookie);
    if (changed)
        save();
    return changed;
}

void CookieJar::reloadIfChanged() const
{
    const QFileInfo info(m_file);
    if (!info.exists() || info.isSymLink()) {
        m_stamp = {};
        m_size = -1;
        return;
    }
    if (info.lastModified() == m_stamp && info.size() == m_size)
        return;
    QFile file(m_file);
    if (!file.open(QIODevice::ReadOnly))
        return;
    m_stamp = info.lastModified();
    m_size = info.size();
    const QList<QNetworkCookie> cookies = CookieFile::read(file.readAll(), QDateTime::currentDateTimeUtc());
    const_cast<CookieJar*>(this)->setAllCookies(cookies);
}

void CookieJar::save()
{
    QSaveFile file(m_file);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    file.write(CookieFile::write(allCookies(), QDateTime::currentDateTimeUtc()));
    if (file.commit()) {
        const QFileInfo info(m_file);
        m_stamp = info.lastModified();
        m_size = info.size();
    }
}

} // namespace brightloom
