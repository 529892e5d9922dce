#pragma once

#include <QMap>
#include <QObject>
#include <QSettings>
#include <QString>
#include <memory>
#include <optional>

namespace brightloom {

// Tells the screens of this process that a setting changed in it (the Settings window and the new
// project screen show the same build location).
class SettingsChanges final : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void buildLocationChanged();
};

// The user's settings, in the store every process of the client shares, read and written anew each
// time so that a choice made by the command line counts in the window and the other way round.
// This class owns the three keys; nothing else names them.
class Settings
{
public:
    static const QString buildLocationKey;          // "buildLocation"
    static const QString localBuildAcknowledgedKey; // "localBuildAcknowledged"
    static const QString localBuiltAppsKey;         // "localBuiltApps"

    // Where the new project screen builds: the stored text, or nothing when none is stored.
    static std::optional<QString> buildLocation();
    static void setBuildLocation(const QString& location);
    // Where this process hears of changes it made.
    static SettingsChanges& changes();

    // Whether the warning about compiling on this machine was accepted.
    static bool localBuildAcknowledged();
    static void setLocalBuildAcknowledged(bool acknowledged);

    // The apps built on this machine, job id → saved bundle; nothing when the stored value has
    // another form than that (which the next app remembered replaces).
    static std::optional<QMap<QString, QString>> localBuiltApps();
    static void setLocalBuiltApps(const QMap<QString, QString>& apps);

    // The store itself, for tests that lay out values of other forms.
    static std::unique_ptr<QSettings> store();
};

} // namespace brightloom
