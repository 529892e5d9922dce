#pragma once

#include <QUrl>

namespace brightloom {

// Where "Open Privacy & Security settings" leads: the system settings' Privacy & Security pane on a
// Mac; elsewhere the platform vendor's page that explains opening an app from an unidentified
// developer, since the app built here runs on a Mac and that is where the setting lives.
QUrl privacySettingsAddress();

} // namespace brightloom
