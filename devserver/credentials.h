#pragma once

// Secrets the service hands out or keeps: tokens, record ids and password hashes.

#include <QByteArray>
#include <QString>

namespace brightloom::devserver {

// 32 random bytes as URL-safe base64 without padding, fit for cookies and query strings.
QString newToken();

// 12 lowercase letters and digits: short enough to read in a URL, random enough never to repeat.
QString newId();

// A self-describing record "pbkdf2-sha256$<iterations>$<salt>$<key>" with a fresh random salt.
QByteArray hashPassword(const QString& password);

bool passwordMatches(const QString& password, const QByteArray& record);

} // namespace brightloom::devserver
