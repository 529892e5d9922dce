#pragma once

#include <QByteArray>
#include <QNetworkCookieJar>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

// The service's cookies, kept between processes by SessionStore: in the desktop's secret store
// when it answers, else in one owner-only file of the data folder. Every process of the client
// shares the session: refresh() rereads it when another process changed it, and every change is
// written back at once. The network layer's calls (the overrides) work on the cookies in memory
// and never wait on the store; the caller awaits refresh() before a request and settle() after
// it. Expired cookies are dropped; cookies without an expiry are kept.
class CookieJar final : public QNetworkCookieJar
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CookieJar)

public:
    // `folder` holds the session's files (SessionStore) and names it in the secret store.
    explicit CookieJar(QString folder, QObject* parent = nullptr);

    QList<QNetworkCookie> cookiesForUrl(const QUrl& url) const override;
    bool setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) override;
    bool deleteCookie(const QNetworkCookie& cookie) override;

    // Brings the cookies up to date with the kept session: read at the first call, and again once
    // another process changed it. Cheap when nothing changed (one small file is read).
    QCoro::Task<> refresh();
    // Waits until every change made so far is kept.
    QCoro::Task<> settle();
    // Ends the session: drops every cookie and removes the session from wherever it is kept.
    QCoro::Task<> clear();

    // This process's client data folder.
    static QString defaultFolder();

Q_SIGNALS:
    // The kept session and the cookies in memory agree again; nothing is being read or written.
    void settled();

private:
    void startWork();
    QCoro::Task<> work();

    QString m_folder;
    std::optional<QByteArray> m_seen; // the marker when the session was last read or written
    bool m_working = false;
    bool m_dirty = false;  // changed in memory since last written
    bool m_reload = false; // to be read again
};

} // namespace brightloom
