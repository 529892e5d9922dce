#include "cookie_jar.h"

#include "cookie_file.h"
#include "platform/paths.h"
#include "session_store.h"

#include <QPointer>
#include <qcoro/qcorosignal.h>

namespace brightloom {

CookieJar::CookieJar(QString folder, QObject* parent) : QNetworkCookieJar(parent), m_folder(std::move(folder))
{}

QString CookieJar::defaultFolder()
{
    return paths::dataFolder();
}

QList<QNetworkCookie> CookieJar::cookiesForUrl(const QUrl& url) const
{
    return QNetworkCookieJar::cookiesForUrl(url);
}

bool CookieJar::setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url)
{
    const bool changed = QNetworkCookieJar::setCookiesFromUrl(cookies, url);
    if (changed) {
        m_dirty = true;
        startWork();
    }
    return changed;
}

bool CookieJar::deleteCookie(const QNetworkCookie& cookie)
{
    const bool changed = QNetworkCookieJar::deleteCookie(cookie);
    if (changed) {
        m_dirty = true;
        startWork();
    }
    return changed;
}

QCoro::Task<> CookieJar::refresh()
{
    QPointer<CookieJar> self(this);
    for (;;) {
        if (m_working) {
            co_await qCoro(this, &CookieJar::settled);
            if (!self)
                co_return;
            continue;
        }
        if (m_seen && *m_seen == SessionStore::marker(m_folder))
            co_return;
        m_reload = true;
        startWork();
    }
}

QCoro::Task<> CookieJar::settle()
{
    QPointer<CookieJar> self(this);
    while (self && m_working)
        co_await qCoro(this, &CookieJar::settled);
}

QCoro::Task<> CookieJar::clear()
{
    setAllCookies({});
    m_dirty = true;
    startWork();
    co_await settle();
}

void CookieJar::startWork()
{
    if (!m_working)
        work();
}

// One reader or writer at a time, so a change is never overtaken by an older one. Started without
// being awaited: those who wait for it wait for `settled`.
QCoro::Task<> CookieJar::work()
{
    QPointer<CookieJar> self(this);
    m_working = true;
    while (m_dirty || m_reload) {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        if (m_dirty) {
            // Whatever changes from here on is written by the next round.
            m_dirty = false;
            const QByteArray marker =
                co_await SessionStore::save(m_folder, CookieFile::write(allCookies(), now));
            if (!self)
                co_return;
            m_seen = marker;
        } else {
            m_reload = false;
            const SessionStore::Loaded loaded = co_await SessionStore::load(m_folder);
            if (!self)
                co_return;
            m_seen = loaded.marker;
            // A change made here meanwhile is newer than what was read, and is written next.
            if (!m_dirty)
                setAllCookies(CookieFile::read(loaded.cookies, QDateTime::currentDateTimeUtc()));
        }
    }
    m_working = false;
    Q_EMIT settled();
}

} // namespace brightloom
