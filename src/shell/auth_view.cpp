#include "auth_view.h"

#include "service/api.h"

namespace brightloom {
namespace {

enum Operation { signIn, signUp, google };

} // namespace

AuthView::AuthView(API& api, QObject* parent) : QObject(parent), m_api(&api) {}

void AuthView::setName(const QString& name)
{
    if (name == m_name)
        return;
    m_name = name;
    Q_EMIT nameChanged();
}

void AuthView::setEmail(const QString& email)
{
    if (email == m_email)
        return;
    const bool could = canSubmit();
    m_email = email;
    Q_EMIT emailChanged();
    if (could != canSubmit())
        Q_EMIT canSubmitChanged();
}

void AuthView::setPassword(const QString& password)
{
    if (password == m_password)
        return;
    const bool could = canSubmit();
    m_password = password;
    Q_EMIT passwordChanged();
    if (could != canSubmit())
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
    setBusy(true);
    setError(std::nullopt);
    if (m_creating)
        run(signUp, m_name.isEmpty() ? m_email : m_name, m_email, m_password);
    else
        run(signIn, QString(), m_email, m_password);
}

void AuthView::continueWithGoogle()
{
    if (m_busy)
        return;
    setBusy(true);
    setError(std::nullopt);
    run(google, QString(), QString(), QString());
}

QCoro::Task<> AuthView::run(int which, QString name, QString email, QString password)
{
    QPointer<AuthView> self(this);
    std::optional<QString> failure;
    try {
        if (!m_api)
            co_return;
        if (which == signUp)
            co_await m_api->signUp(name, email, password);
        else if (which == signIn)
            co_await m_api->signIn(email, password);
        else
            co_await m_api->signInWithGoogle();
    } catch (const std::exception& e) {
        failure = QString::fromUtf8(e.what());
    }
    if (!self)
        co_return;
    if (failure)
        setError(failure);
    setBusy(false);
    Q_EMIT finished(!failure);
}

void AuthView::setBusy(bool busy)
{
    if (busy == m_busy)
        return;
    const bool could = canSubmit();
    m_busy = busy;
    Q_EMIT busyChanged();
    if (could != canSubmit())
        Q_EMIT canSubmitChanged();
}

void AuthView::setError(std::optional<QString> error)
{
    if (error == m_error)
        return;
    m_error = std::move(error);
    Q_EMIT errorChanged();
}

} // namespace brightloom
