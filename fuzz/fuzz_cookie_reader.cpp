// The cookie jar's file as any bytes. A cookie read back must be one the jar keeps (unexpired, named,
// on one line), and what is written from it must read back the same: the next process of the client
// sees the session this one saved.

#include "require.h"
#include "service/cookie_file.h"

#include <QByteArray>
#include <QDateTime>
#include <QTimeZone>
#include <cstdint>
#include <cstdlib>

using namespace brightloom;
using brightloom::fuzz::require;

namespace {

// The file keeps an expiry to the second, while a max-age line is counted from the current moment
// to the millisecond; everything else must come back exactly.
bool same(const QNetworkCookie& a, const QNetworkCookie& b)
{
    return a.name() == b.name() && a.value() == b.value() && a.domain() == b.domain() &&
           a.path() == b.path() && a.isSecure() == b.isSecure() && a.isHttpOnly() == b.isHttpOnly() &&
           a.sameSitePolicy() == b.sameSitePolicy() && a.isSessionCookie() == b.isSessionCookie() &&
           a.expirationDate().toSecsSinceEpoch() == b.expirationDate().toSecsSinceEpoch();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // A fixed moment, so that a run depends on its input only.
    static const QDateTime now(QDate(2026, 6, 1), QTime(12, 0), QTimeZone::utc());
    const QByteArray saved(reinterpret_cast<const char*>(data), qsizetype(size));
    const QList<QNetworkCookie> cookies = CookieFile::read(saved, now);
    for (const QNetworkCookie& cookie : cookies) {
        require(cookie.isSessionCookie() || cookie.expirationDate() > now);
        require(!cookie.name().isEmpty());
        require(!cookie.name().contains('\n') && !cookie.value().contains('\n'));
    }
    const QByteArray written = CookieFile::write(cookies, now);
    require(written.count('\n') == cookies.size());
    const QList<QNetworkCookie> again = CookieFile::read(written, now);
    require(again.size() == cookies.size());
    for (qsizetype i = 0; i < cookies.size(); ++i)
        require(same(again[i], cookies[i]));
    require(CookieFile::write(again, now) == written);
    return 0;
}
