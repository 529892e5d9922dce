#include "cookie_file.h"

namespace brightloom::CookieFile {

namespace {

bool keeps(const QNetworkCookie& cookie, const QDateTime& now)
{
    return cookie.isSessionCookie() || cookie.expirationDate() > now;
}

} // namespace

QList<QNetworkCookie> read(const QByteArray& saved, const QDateTime& now)
{
    QList<QNetworkCookie> cookies;
    for (const QByteArray& raw : saved.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.isEmpty())
            continue;
        for (const QNetworkCookie& cookie : QNetworkCookie::parseCookies(line)) {
            if (keeps(cookie, now))
                cookies.append(cookie);
        }
    }
    return cookies;
}

QByteArray write(const QList<QNetworkCookie>& cookies, const QDateTime& now)
{
    QByteArray saved;
    for (const QNetworkCookie& cookie : cookies) {
        if (keeps(cookie, now))
            saved += cookie.toRawForm(QNetworkCookie::Full) + '\n';
    }
    return saved;
}

} // namespace brightloom::CookieFile
