#include "system_settings.h"

namespace brightloom {

QUrl privacySettingsAddress()
{
#ifdef Q_OS_MACOS
    return QUrl(QStringLiteral("x-apple.systempreferences:com.apple.preference.security?General"));
#else
    return QUrl(QStringLiteral("https://support.apple.com/guide/mac-help/mh40616/mac"));
#endif
}

} // namespace brightloom
