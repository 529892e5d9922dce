#include "cookie_jar.h"

#include "app/paths.h"

#include <QFile>
#include <QFileInfo>
#include <QNetworkCookie>
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
    QList<QNetworkCookie> cookies;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.isEmpty())
            continue;
        for (const QNetworkCookie& cookie : QNetworkCookie::parseCookies(line)) {
            if (cookie.isSessionCookie() || cookie.expirationDate() > now)
                cookies.append(cookie);
        }
    }
    const_cast<CookieJar*>(this)->setAllCookies(cookies);
}

void CookieJar::save()
{
    QSaveFile file(m_file);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const QNetworkCookie& cookie : allCookies()) {
        if (cookie.isSessionCookie() || cookie.expirationDate() > now)
            file.write(cookie.toRawForm(QNetworkCookie::Full) + '\n');
    }
    if (file.commit()) {
        const QFileInfo info(m_file);
        m_stamp = info.lastModified();
        m_size = info.size();
    }
}

} // namespace brightloom
