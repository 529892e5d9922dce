// The browser sign-in used by the desktop app: the app opens native-sign-in in the browser, the
// person signs in there, and the browser is sent on to brightloom://callback?token=... . The app
// then trades that one-time token for its own session through api/auth/one-time-token/verify.

#include "dev_server.h"
#include "http_util.h"
#include "routes.h"

namespace brightloom::devserver {

namespace {

const QString pageTemplate = QStringLiteral(R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Sign in to Brightloom</title>
<style>
  body { margin: 0; min-height: 100vh; display: flex; align-items: center; justify-content: center;
         font-family: -apple-system, BlinkMacSystemFont, "Segoe UI", Roboto, sans-serif;
         background: #f4f1ec; color: #1f1d1a; }
  main { width: 100%; max-width: 22rem; padding: 2rem; background: #fff; border-radius: 12px;
         box-shadow: 0 8px 30px rgba(0, 0, 0, 0.08); }
  h1 { margin: 0 0 1.5rem; font-size: 1.4rem; font-weight: 600; }
  label { display: block; margin: 0 0 1rem; font-size: 0.9rem; }
  input { display: block; box-sizing: border-box; width: 100%; margin-top: 0.35rem; padding: 0.6rem 0.7rem;
          font: inherit; border: 1px solid #cfc8bd; border-radius: 8px; }
  input:focus { outline: 2px solid #e0a030; border-color: transparent; }
  button { width: 100%; margin-top: 0.5rem; padding: 0.7rem; font: inherit; font-weight: 600; color: #fff;
           background: #1f1d1a; border: 0; border-radius: 8px; cursor: pointer; }
  button:hover { background: #3a3631; }
  .error { margin: 0 0 1rem; padding: 0.6rem 0.7rem; color: #8a1c1c; background: #fdecec; border-radius: 8px;
           font-size: 0.9rem; }
</style>
</head>
<body>
<main>
  <h1>Sign in to Brightloom</h1>
  %1
  <form method="post" action="native-sign-in">
    <label>E-mail <input type="email" name="email" value="%2" autocomplete="username" required autofocus></label>
    <label>Password <input type="password" name="password" autocomplete="current-password" required></label>
    <button type="submit">Sign in</button>
  </form>
</main>
</body>
</html>
)");

HttpResponse signInPage(const QString& email, const QString& error, StatusCode status)
{
    const QString errorBlock =
        error.isEmpty() ? QString() : QStringLiteral("<p class=\"error\">%1</p>").arg(error.toHtmlEscaped());
    return htmlResponse(pageTemplate.arg(errorBlock, email.toHtmlEscaped()), status);
}

HttpResponse callbackRedirect(DevServer& server, const QString& userId)
{
    return redirectResponse(QStringLiteral("brightloom://callback?token=") +
                            server.store().createOneTimeToken(userId));
}

// Someone already signed in in this browser goes straight back to the app.
HttpResponse showSignIn(DevServer& server, const Request& request)
{
    if (const std::optional<Session> session = server.currentSession(request.http))
        return callbackRedirect(server, session->userId);
    return signInPage(QString(), QString(), StatusCode::Ok);
}

HttpResponse submitSignIn(DevServer& server, const Request& request)
{
    const QUrlQuery form = formBody(request.http);
    const QString email = form.queryItemValue(QStringLiteral("email"), QUrl::FullyDecoded);
    const QString password = form.queryItemValue(QStringLiteral("password"), QUrl::FullyDecoded);
    const std::optional<User> user = server.store().userWithCredentials(email, password);
    if (!user)
        return signInPage(email, QStringLiteral("Invalid email or password"), StatusCode::Unauthorized);
    // The browser keeps a session too, so the next sign-in from the app needs no typing.
    const Session session = server.store().createSession(user->id);
    HttpResponse response = callbackRedirect(server, user->id);
    response.addHeader(QByteArrayLiteral("Set-Cookie"), sessionCookie(session.token, server.secure()));
    return response;
}

} // namespace

void addNativeSignInRoutes(DevServer& server)
{
    server.addRoute(DevServer::Method::Get, QStringLiteral("native-sign-in"), showSignIn);
    server.addRoute(DevServer::Method::Post, QStringLiteral("native-sign-in"), submitSignIn);
}

} // namespace brightloom::devserver
