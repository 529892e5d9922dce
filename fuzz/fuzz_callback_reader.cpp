// The sign-in callback address as any text. The answer is a token or APIError "Sign-in did not
// complete."; the token must be the first "token" item that QUrlQuery finds in the same address.

#include "require.h"
#include "service/api_error.h"
#include "service/sign_in_callback.h"

#include <QString>
#include <QUrl>
#include <QUrlQuery>
#include <cstdint>
#include <cstdlib>
#include <optional>

using namespace brightloom;
using brightloom::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString callback = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    std::optional<QString> token;
    try {
        token = WebSignIn::tokenFromCallback(callback);
    } catch (const APIError& error) {
        require(error.message() == QLatin1String("Sign-in did not complete."));
    }
    require(token == [&]() -> std::optional<QString> {
        try {
            return WebSignIn::tokenFromCallback(callback);
        } catch (const APIError&) {
            return std::nullopt;
        }
    }());

    const QUrl url(callback, QUrl::StrictMode);
    if (!url.isValid() || !url.hasQuery()) {
        require(!token);
        return 0;
    }
    // QUrlQuery cannot tell "token" from "token=", so only a non-empty first value is held against
    // a refusal; the value is decoded by the same function on both sides.
    const QUrlQuery query(url.query(QUrl::FullyEncoded));
    const bool listed = query.hasQueryItem(QStringLiteral("token"));
    const QString encoded = query.queryItemValue(QStringLiteral("token"), QUrl::FullyEncoded);
    const QString value = QUrl::fromPercentEncoding(encoded.toUtf8());
    if (token) {
        require(listed);
        require(*token == value);
        require(QUrl::fromPercentEncoding(callback.toUtf8()).contains(*token));
    } else {
        require(!listed || encoded.isEmpty());
    }
    return 0;
}
