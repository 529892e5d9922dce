#include "auth_view.h"

#include "service/api.h"
#include "service/screen_action.h"

namespace brightloom {
namespace {

enum Operation { signIn, signUp, google };

} // namespace

AuthView::AuthView(API& api, QObject* parent) : QObject(parent), m_api(&api) {}

void AuthView::setName(const QString& name)
{
    assignAndNotify(this, m_name, name, &AuthView::nameChanged);
}

void AuthView::setEmail(const QString& email)
{
    const bool could = canSubmit();
    if (assignAndNotify(this, m_email, email, &AuthView::emailChanged) && could != canSubmit())
        Q_EMIT canSubmitChanged();
}

void AuthView::setPassword(const QString& password)
{
    const bool could = canSubmit();
    if (assignAndNotify(this, m_password, password, &AuthView::passwordChanged) && could != canSubmit())
        Q_EMIT canSubmitChanged();
}

QString AuthView::primaryLabel() const
{
    return m_creating ? QStringLiteral("Create account") : QStringLiteral("Sign in");
}

QString AuthView::toggleLabel() const
{
    return m_creating ? QStringLiteral("I already have an account") : QStringLiteral("Create an account");
}

void AuthView::toggle()
{
    m_creating = !m_creating;
    Q_EMIT creatingChanged();
    setError(std::nullopt);
}

void AuthView::submit()
{
    // The button is disabled then; Return in a field must not get around that.
    if (!canSubmit())
        return;
    if (m_creating)
        run(signUp, m_name.isEmpty() ? m_email : m_name, m_email, m_password);
    else
        run(signIn, QString(), m_email, m_password);
}

void AuthView::continueWithGoogle()
{
    if (m_busy)
        return;
    run(google, QString(), QString(), QString());
}

QCoro::Task<> AuthView::run(int which, QString name, QString email, QString password)
{
    if (!m_api)
        co_return;
    bool ok = false;
    {
        ScreenAction action(this, &AuthView::setBusy, &AuthView::setError);
        // Three statements, not one conditional: GCC 12 miscompiles co_await in the arms of "?:".
        if (which == signUp)
            ok = co_await action.attempt(m_api->signUp(name, email, password));
        else if (which == signIn)
            ok = co_await action.attempt(m_api->signIn(email, password));
        else
            ok = co_await action.attempt(m_api->signInWithGoogle());
        if (!action.screenAlive())
            co_return;
    }
    Q_EMIT finished(ok);
}

void AuthView::setBusy(bool busy)
{
    const bool could = canSubmit();
    if (assignAndNotify(this, m_busy, busy, &AuthView::busyChanged) && could != canSubmit())
        Q_EMIT canSubmitChanged();
}

void AuthView::setError(std::optional<QString> error)
{
    assignAndNotify(this, m_error, std::move(error), &AuthView::errorChanged);
}

} // namespace brightloom
