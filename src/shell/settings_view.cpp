#include "settings_view.h"

#include "conversation/new_project_view.h"
#include "platform/settings.h"
#include "service/api.h"

namespace brightloom {

Alert SettingsView::signOutQuestion()
{
    Alert alert;
    alert.message = QStringLiteral("Sign out of Brightloom?");
    alert.informativeText =
        QStringLiteral("Your apps stay on the service. Sign in again to see them and build more.");
    alert.buttons = {QStringLiteral("Sign Out"), QStringLiteral("Cancel")};
    return alert;
}

SettingsView::SettingsView(API& api, Dialogs& dialogs, QObject* parent)
    : QObject(parent), m_api(&api), m_dialogs(dialogs)
{
    connect(&Settings::changes(), &SettingsChanges::buildLocationChanged, this,
            &SettingsView::locationChanged);
    connect(&api, &API::signedInChanged, this, &SettingsView::signedInChanged);
}

QString SettingsView::location() const
{
    return NewProjectView::storedLocation();
}

void SettingsView::setLocation(const QString& location)
{
    Settings::setBuildLocation(location == NewProjectView::local ? NewProjectView::local
                                                                 : NewProjectView::cloud);
}

bool SettingsView::signedIn() const
{
    return m_api && m_api->signedIn();
}

bool SettingsView::signOut()
{
    if (!signedIn() || m_dialogs.ask(signOutQuestion()) != 0)
        return false;
    // Signing out never fails: the session ends here whatever the service answers.
    m_api->signOut();
    return true;
}

} // namespace brightloom
