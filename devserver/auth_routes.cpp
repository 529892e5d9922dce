// The JSON sign-in endpoints under api/auth/, answering the way the client's session code expects.

#include "dev_server.h"
#include "http_util.h"
#include "routes.h"

#include <QJsonValue>

namespace brightloom::devserver {

namespace {

using Method = DevServer::Method;

constexpr qsizetype minimumPasswordLength = 8;

HttpResponse signUp(DevServer& server, const Request& request)
{
    const QJsonObject body = jsonObjectBody(request.http);
    const QString name = stringField(body, QStringLiteral("name"));
    const QString email = stringField(body, QStringLiteral("email"));
    const QString password = stringField(body, QStringLiteral("password"));
    if (!email.contains(QLatin1Char('@')))
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Invalid email")};
    if (password.size() < minimumPasswordLength)
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Password is too short")};
    const std::optional<User> user = server.store().createUser(name, email, password);
    if (!user)
        throw HttpError{StatusCode::UnprocessableEntity, QStringLiteral("User already exists")};
    return signedInResponse(server, *user);
}

HttpResponse signIn(DevServer& server, const Request& request)
{
    const QJsonObject body = jsonObjectBody(request.http);
    const QString email = stringField(body, QStringLiteral("email"));
    const QString password = stringField(body, QStringLiteral("password"));
    const std::optional<User> user = server.store().userWithCredentials(email, password);
    if (!user)
        throw HttpError{StatusCode::Unauthorized, QStringLiteral("Invalid email or password")};
    return signedInResponse(server, *user);
}

HttpResponse getSession(DevServer& server, const Request& request)
{
    const std::optional<Session> session = server.currentSession(request.http);
    const std::optional<User> user = session ? server.store().user(session->userId) : std::nullopt;
    if (!user)
        return jsonNullResponse();
    QJsonObject sessionJson;
    sessionJson.insert(QStringLiteral("expiresAt"), session->expires.toUTC().toString(Qt::ISODateWithMs));
    QJsonObject reply;
    reply.insert(QStringLiteral("session"), sessionJson);
    reply.insert(QStringLiteral("user"), userJson(*user));
    return jsonResponse(reply);
}

// The body is ignored: there is nothing in it to read, and signing out must work whatever state
// the client is in.
HttpResponse signOut(DevServer& server, const Request& request)
{
    if (const std::optional<Session> session = server.currentSession(request.http))
        server.store().deleteSession(session->token);
    QJsonObject reply;
    reply.insert(QStringLiteral("success"), true);
    HttpResponse response = jsonResponse(reply);
    response.addHeader(QByteArrayLiteral("Set-Cookie"), clearedSessionCookie(server.secure()));
    return response;
}

// The second half of the browser sign-in: the app trades the token from the callback address for
// a session of its own.
HttpResponse verifyOneTimeToken(DevServer& server, const Request& request)
{
    const QJsonObject body = jsonObjectBody(request.http);
    const QString token = stringField(body, QStringLiteral("token"));
    const std::optional<QString> userId = server.store().redeemOneTimeToken(token);
    const std::optional<User> user = userId ? server.store().user(*userId) : std::nullopt;
    if (!user)
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Invalid or expired token")};
    return signedInResponse(server, *user);
}

} // namespace

QJsonObject userJson(const User& user)
{
    QJsonObject json;
    json.insert(QStringLiteral("id"), user.id);
    json.insert(QStringLiteral("name"), user.name);
    json.insert(QStringLiteral("email"), user.email);
    return json;
}

HttpResponse signedInResponse(DevServer& server, const User& user)
{
    const Session session = server.store().createSession(user.id);
    QJsonObject reply;
    reply.insert(QStringLiteral("user"), userJson(user));
    HttpResponse response = jsonResponse(reply);
    response.addHeader(QByteArrayLiteral("Set-Cookie"), sessionCookie(session.token, server.secure()));
    return response;
}

void addAuthRoutes(DevServer& server)
{
    server.addRoute(Method::Post, QStringLiteral("api/auth/sign-up/email"), signUp);
    server.addRoute(Method::Post, QStringLiteral("api/auth/sign-in/email"), signIn);
    server.addRoute(Method::Get, QStringLiteral("api/auth/get-session"), getSession);
    server.addRoute(Method::Post, QStringLiteral("api/auth/sign-out"), signOut);
    server.addRoute(Method::Post, QStringLiteral("api/auth/one-time-token/verify"), verifyOneTimeToken);
}

} // namespace brightloom::devserver
