#pragma once

// Small pieces every route needs: JSON and HTML answers, reading request bodies, the session
// cookie. Handlers report bad requests by throwing HttpError; the dispatcher answers it with the
// status and a JSON {"message"} like every other error of the service.

#include <QByteArray>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
#include <QJsonObject>
#include <QString>
#include <QUrlQuery>
#include <optional>

namespace brightloom::devserver {

using StatusCode = QHttpServerResponse::StatusCode;

struct HttpError
{
    StatusCode status;
    QString message;
};

inline constexpr char sessionCookieName[] = "brightloom.session_token";

QHttpServerResponse jsonResponse(const QJsonObject& body, StatusCode status = StatusCode::Ok);
// The literal JSON `null`, which is how the service says "nobody is signed in".
QHttpServerResponse jsonNullResponse();
QHttpServerResponse errorResponse(StatusCode status, const QString& message);
QHttpServerResponse htmlResponse(const QString& html, StatusCode status = StatusCode::Ok);
QHttpServerResponse redirectResponse(const QString& location);

// The body as a JSON object; anything else throws HttpError 400 "Invalid JSON body".
QJsonObject jsonObjectBody(const QHttpServerRequest& request);
// The named member when it is a string; otherwise throws HttpError 400 naming it.
QString stringField(const QJsonObject& body, const QString& name);

// An application/x-www-form-urlencoded body, with '+' read as a space the way browsers mean it.
QUrlQuery formBody(const QHttpServerRequest& request);

// All values of a header, joined the way HTTP allows repeated headers to be; names match in any case.
QByteArray headerValue(const QHttpServerRequest& request, const QByteArray& name, char separator = ',');
std::optional<QByteArray> cookieValue(const QHttpServerRequest& request, const QByteArray& name);

// Set-Cookie values for the session cookie; `secure` adds the Secure attribute for HTTPS.
QByteArray sessionCookie(const QString& token, bool secure);
QByteArray clearedSessionCookie(bool secure);

} // namespace brightloom::devserver
