#pragma once

// Small pieces every route needs: JSON and HTML answers, reading request bodies, the session
// cookie. Handlers report bad requests by throwing HttpError; the dispatcher answers it with the
// status and a JSON {"message"} like every other error of the service.

#include "http_message.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QUrlQuery>
#include <optional>

namespace brightloom::devserver {

struct HttpError
{
    StatusCode status;
    QString message;
};

inline constexpr char sessionCookieName[] = "brightloom.session_token";

HttpResponse jsonResponse(const QJsonObject& body, StatusCode status = StatusCode::Ok);
// The literal JSON `null`, which is how the service says "nobody is signed in".
HttpResponse jsonNullResponse();
HttpResponse errorResponse(StatusCode status, const QString& message);
HttpResponse htmlResponse(const QString& html, StatusCode status = StatusCode::Ok);
HttpResponse redirectResponse(const QString& location);

// The body as a JSON object; anything else throws HttpError 400 "Invalid JSON body".
QJsonObject jsonObjectBody(const HttpRequest& request);
// The named member when it is a string; otherwise throws HttpError 400 naming it.
QString stringField(const QJsonObject& body, const QString& name);

// An application/x-www-form-urlencoded body, with '+' read as a space the way browsers mean it.
QUrlQuery formBody(const HttpRequest& request);

// All values of a header, joined the way HTTP allows repeated headers to be; names match in any case.
QByteArray headerValue(const HttpRequest& request, const QByteArray& name, char separator = ',');
std::optional<QByteArray> cookieValue(const HttpRequest& request, const QByteArray& name);

// Set-Cookie values for the session cookie; `secure` adds the Secure attribute for HTTPS.
QByteArray sessionCookie(const QString& token, bool secure);
QByteArray clearedSessionCookie(bool secure);

} // namespace brightloom::devserver
