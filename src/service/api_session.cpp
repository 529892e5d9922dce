// Signing in and out, and the start-up check of a kept session.

#include "api.h"
#include "cookie_jar.h"
#include "web_sign_in.h"

#include <QJsonDocument>

namespace brightloom {
namespace {

QJsonObject credentials(const QString& email, const QString& password)
{
    QJsonObject body;
    body.insert(QStringLiteral("email"), email);
    body.insert(QStringLiteral("password"), password);
    return body;
}

} // namespace

QCoro::Task<> API::restoreSession()
{
    QPointer<API> self(this);
    QByteArray reply;
    bool answered = false;
    try {
        reply = co_await request(QStringLiteral("api/auth/get-session"), "GET");
        answered = true;
    } catch (...) {
    }
    if (!self)
        co_return;
    // Only the presence of "user" counts: {"user": null} is a live session, a bare null is not.
    if (answered) {
        const QJsonDocument doc = QJsonDocument::fromJson(reply);
        if (doc.isObject() && doc.object().contains(QLatin1String("user"))) {
            setSignedIn(true);
            co_await loadProjects();
            if (!self)
                co_return;
        }
    }
    setChecking(false);
}

QCoro::Task<> API::loadProjects()
{
    QPointer<API> self(this);
    try {
        ProjectsResp resp = co_await decode<ProjectsResp>(QStringLiteral("api/projects"), "GET");
        if (self)
            setProjects(std::move(resp.projects));
    } catch (...) {
        // A failed reload keeps the list as it was.
    }
}

QCoro::Task<> API::signIn(QString email, QString password)
{
    QPointer<API> self(this);
    co_await request(QStringLiteral("api/auth/sign-in/email"), "POST", credentials(email, password));
    if (!self)
        co_return;
    setSignedIn(true);
    co_await loadProjects();
}

QCoro::Task<> API::signUp(QString name, QString email, QString password)
{
    QPointer<API> self(this);
    QJsonObject body = credentials(email, password);
    body.insert(QStringLiteral("name"), name);
    co_await request(QStringLiteral("api/auth/sign-up/email"), "POST", body);
    if (!self)
        co_return;
    setSignedIn(true);
    co_await loadProjects();
}

QCoro::Task<> API::signInWithGoogle()
{
    QPointer<API> self(this);
    const QUrl page = endpoint(QStringLiteral("native-sign-in"));
    const QString token = co_await WebSignIn::run(page, m_signInPage);
    if (!self)
        co_return;
    QJsonObject body;
    body.insert(QStringLiteral("token"), token);
    co_await request(QStringLiteral("api/auth/one-time-token/verify"), "POST", body);
    if (!self)
        co_return;
    setSignedIn(true);
    co_await loadProjects();
}

QCoro::Task<> API::signOut()
{
    QPointer<API> self(this);
    try {
        co_await request(QStringLiteral("api/auth/sign-out"), "POST", QJsonObject());
    } catch (...) {
        // Signing out always ends signed out locally, reachable service or not.
    }
    if (!self)
        co_return;
    // Whatever the service answered, the credential leaves the secret store and the disk.
    co_await m_cookies->clear();
    if (!self)
        co_return;
    setSignedIn(false);
    setProjects({});
}

} // namespace brightloom
