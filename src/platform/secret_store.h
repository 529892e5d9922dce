#pragma once

// The desktop's store of secrets, through QtKeychain: the Secret Service on Linux, the Keychain on a
// Mac. Every call answers asynchronously and never raises the store's own unlock prompt on Linux.

#include <QByteArray>
#include <QString>
#include <chrono>
#include <optional>
#include <qcoro/qcorotask.h>
#include <stdexcept>

namespace brightloom::SecretStore {

// The store refused, failed or did not answer in time; what() says which, in words for the user.
class Error : public std::runtime_error
{
public:
    explicit Error(const QString& text) : std::runtime_error(text.toStdString()) {}
};

// How long one call may wait for the store: long enough for a person to answer the store's own
// question (the Mac's Keychain asking whether to allow access), bounded so that a store that never
// answers cannot hold the command line forever.
inline constexpr std::chrono::seconds answerLimit{60};

// Whether the store can be asked now without waiting on a missing service or a prompt. On Linux:
// a session bus, Qt's GLib event loop (QtKeychain's Secret Service road answers through it), and
// a Secret Service that owns its name or is activatable and keeps an unlocked default collection;
// each bus call is bounded by a few seconds. Elsewhere the system's store is always there.
QCoro::Task<bool> usable();

// The secret kept under `key` of `service`, or nothing when none is kept there. Throws Error.
QCoro::Task<std::optional<QByteArray>> read(QString service, QString key);

// Keeps `secret` under `key` of `service`, replacing what was there. Throws Error.
QCoro::Task<> write(QString service, QString key, QByteArray secret);

// Removes what is kept under `key` of `service`; nothing kept there is no failure. Throws Error.
QCoro::Task<> remove(QString service, QString key);

} // namespace brightloom::SecretStore
