#pragma once

#include "platform/dialogs.h"

#include <QObject>
#include <QPointer>
#include <QString>

namespace brightloom {

class API;

// The Settings window's model: where new projects compile (the setting the new project screen
// shows too), and signing out, which asks first.
class SettingsView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsView)
    Q_PROPERTY(QString location READ location WRITE setLocation NOTIFY locationChanged)
    Q_PROPERTY(bool signedIn READ signedIn NOTIFY signedInChanged)

public:
    // The question before signing out.
    static Alert signOutQuestion();

    SettingsView(API& api, Dialogs& dialogs, QObject* parent = nullptr);

    // "cloud" or "local".
    QString location() const;
    void setLocation(const QString& location);
    bool signedIn() const;

    // Ends the session once the user agrees; answers whether it did.
    bool signOut();

Q_SIGNALS:
    void locationChanged();
    void signedInChanged();

private:
    QPointer<API> m_api;
    Dialogs& m_dialogs;
};

} // namespace brightloom
