#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;

// The sign-in screen's form: signing in or creating an account with an e-mail address and a
// password, or continuing in the browser. Nothing is trimmed or checked here; the service judges.
class AuthView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AuthView)
    Q_PROPERTY(bool creating READ creating NOTIFY creatingChanged)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QString email READ email WRITE setEmail NOTIFY emailChanged)
    Q_PROPERTY(QString password READ password WRITE setPassword NOTIFY passwordChanged)
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY canSubmitChanged)

public:
    explicit AuthView(API& api, QObject* parent = nullptr);

    bool creating() const { return m_creating; }
    const QString& name() const { return m_name; }
    void setName(const QString& name);
    const QString& email() const { return m_email; }
    void setEmail(const QString& email);
    const QString& password() const { return m_password; }
    void setPassword(const QString& password);
    const std::optional<QString>& error() const { return m_error; }
    QString errorText() const { return m_error.value_or(QString()); }
    bool busy() const { return m_busy; }
    // The primary button acts only with an e-mail address and a password, and not while busy.
    bool canSubmit() const { return !m_busy && !m_email.isEmpty() && !m_password.isEmpty(); }

    // "Create account" or "Sign in".
    QString primaryLabel() const;
    // "I already have an account" or "Create an account".
    QString toggleLabel() const;

    // Signs in, or creates the account (named after the e-mail address when the name is empty).
    void submit();
    void continueWithGoogle();
    // Switches between signing in and creating an account; the fields stay, the error goes.
    void toggle();

Q_SIGNALS:
    void creatingChanged();
    void nameChanged();
    void emailChanged();
    void passwordChanged();
    void errorChanged();
    void busyChanged();
    void canSubmitChanged();
    // An operation ended; `ok` tells whether it succeeded.
    void finished(bool ok);

private:
    QCoro::Task<> run(int which, QString name, QString email, QString password);
    void setBusy(bool busy);
    void setError(std::optional<QString> error);

    QPointer<API> m_api;
    bool m_creating = false;
    QString m_name;
    QString m_email;
    QString m_password;
    std::optional<QString> m_error;
    bool m_busy = false;
};

} // namespace brightloom
