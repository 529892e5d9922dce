#pragma once

#include <QDateTime>
#include <QNetworkCookieJar>

namespace brightloom {

// Cookies kept in one owner-only file, so a session outlives the process and is shared by every
// process of the client: each one rereads the file when another changed it, and writes it back
// atomically after every change. Expired cookies are dropped; cookies without an expiry are kept.
class CookieJar final : public QNetworkCookieJar
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CookieJar)

public:
    explicit CookieJar(QString file, QObject* parent = nullptr);

    QList<QNetworkCookie> cookiesForUrl(const QUrl& url) const override;
    bool setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) override;
    bool deleteCookie(const QNetworkCookie& cookie) override;

    // The jar of this process's client data folder.
    static QString defaultFile();

private:
    void reloadIfChanged() const;
    void save();

    QString m_file;
    mutable QDateTime m_stamp;
    mutable qint64 m_size = -1;
};

} // namespace brightloom
