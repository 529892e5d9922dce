#pragma once

// The HTTPS identity of the server: a self-signed certificate for 127.0.0.1 and localhost, made
// once per data folder and reused after that so clients can keep trusting the same cert.pem.

#include <QSslConfiguration>
#include <QString>
#include <optional>

namespace brightloom::devserver {

// Makes cert.pem and key.pem in `dataFolder` unless both are already there, then loads them.
// On failure returns nullopt and says why in `error`.
std::optional<QSslConfiguration> serverTlsConfiguration(const QString& dataFolder, QString* error);

} // namespace brightloom::devserver
