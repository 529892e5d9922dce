#include "settings.h"

#include <QVariantMap>

namespace brightloom {

const QString Settings::buildLocationKey = QStringLiteral("buildLocation");
const QString Settings::localBuildAcknowledgedKey = QStringLiteral("localBuildAcknowledged");
const QString Settings::localBuiltAppsKey = QStringLiteral("localBuiltApps");

std::unique_ptr<QSettings> Settings::store()
{
    // Named explicitly so that a front end that forgot to name the application still shares the
    // same store with the others.
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                       QStringLiteral("Brightloom"), QStringLiteral("Brightloom"));
}

std::optional<QString> Settings::buildLocation()
{
    const QVariant value = store()->value(buildLocationKey);
    if (!value.isValid())
        return std::nullopt;
    return value.toString();
}

void Settings::setBuildLocation(const QString& location)
{
    const auto settings = store();
    const QVariant old = settings->value(buildLocationKey);
    const bool changed = !old.isValid() || old.toString() != location;
    settings->setValue(buildLocationKey, location);
    if (changed)
        Q_EMIT changes().buildLocationChanged();
}

SettingsChanges& Settings::changes()
{
    // Made on first use on the main thread, where the screens that listen live.
    static SettingsChanges* const changes = new SettingsChanges;
    return *changes;
}

bool Settings::localBuildAcknowledged()
{
    return store()->value(localBuildAcknowledgedKey, false).toBool();
}

void Settings::setLocalBuildAcknowledged(bool acknowledged)
{
    store()->setValue(localBuildAcknowledgedKey, acknowledged);
}

std::optional<QMap<QString, QString>> Settings::localBuiltApps()
{
    const QVariant value = store()->value(localBuiltAppsKey);
    if (!value.isValid() || value.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    QMap<QString, QString> apps;
    const QVariantMap map = value.toMap();
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (it.value().typeId() != QMetaType::QString)
            return std::nullopt;
        apps.insert(it.key(), it.value().toString());
    }
    return apps;
}

void Settings::setLocalBuiltApps(const QMap<QString, QString>& apps)
{
    QVariantMap map;
    for (auto it = apps.cbegin(); it != apps.cend(); ++it)
        map.insert(it.key(), it.value());
    const auto settings = store();
    settings->setValue(localBuiltAppsKey, map);
    settings->sync();
}

} // namespace brightloom
