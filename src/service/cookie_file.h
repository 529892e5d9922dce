#pragma once

// The cookie jar's file: one cookie a line, each in the full Set-Cookie form, so that its domain,
// path, expiry and flags survive a restart.

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QNetworkCookie>

namespace brightloom::CookieFile {

// The cookies of a saved file, less those expired at `now`; cookies without an expiry are kept.
// Blank lines and lines that hold no cookie are passed over.
QList<QNetworkCookie> read(const QByteArray& saved, const QDateTime& now);

// The file that holds `cookies`, less those expired at `now`.
QByteArray write(const QList<QNetworkCookie>& cookies, const QDateTime& now);

} // namespace brightloom::CookieFile
