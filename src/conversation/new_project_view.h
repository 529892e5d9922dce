#pragma once

#include "conversation/link_notice.h"
#include "conversation/repo_link.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;
class Dialogs;
class LocalBuilds;

// The screen where a project starts: the request, where it is compiled, and the repository it may
// import. Creating hands the new project's id to `onCreated`.
class NewProjectView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NewProjectView)
    Q_PROPERTY(QString prompt READ prompt WRITE setPrompt NOTIFY promptChanged)
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(QString location READ location WRITE setLocation NOTIFY locationChanged)
    Q_PROPERTY(bool acknowledged READ acknowledged NOTIFY acknowledgedChanged)
    Q_PROPERTY(std::optional<brightloom::RepoLink> repoLink READ repoLink NOTIFY repoLinkChanged)
    Q_PROPERTY(std::optional<brightloom::LinkNotice> linkNotice READ linkNotice NOTIFY linkNoticeChanged)
    Q_PROPERTY(QString locationDescription READ locationDescription NOTIFY locationDescriptionChanged)
    Q_PROPERTY(bool checkingToolchain READ checkingToolchain NOTIFY checkingToolchainChanged)

public:
    // Settings of the shared store, and their values.
    static const QString cloud; // "cloud", the default
    static const QString local; // "local"

    // Texts the screen shows.
    static const QString xcodeNeededForImport;
    static const QString cloudDescription;
    static const QString lookingForXcode;
    static const QString swiftNotFound;
    static QString foundDescription(const QString& toolchain);

    NewProjectView(API& api, LocalBuilds& localBuilds, Dialogs& dialogs,
                   std::function<void(QString)> onCreated, QObject* parent = nullptr);
    ~NewProjectView() override;

    const QString& prompt() const { return m_prompt; }
    void setPrompt(const QString& prompt);
    const std::optional<QString>& error() const { return m_error; }
    QString errorText() const { return m_error.value_or(QString()); }
    bool busy() const { return m_busy; }

    // Where projects compile as the user's settings say: "local" or "cloud".
    static QString storedLocation();

    const QString& location() const { return m_location; }
    // Chooses where projects compile and keeps the choice for later runs.
    void setLocation(const QString& location);
    // Chooses where this screen's projects compile without keeping the choice (the command line's
    // --local and --cloud).
    void setLocationForThisRun(const QString& location);
    bool acknowledged() const;

    const std::optional<RepoLink>& repoLink() const { return m_repoLink; }
    std::optional<LinkNotice> linkNotice() const;
    QString locationDescription() const;
    bool checkingToolchain() const { return m_checking; }

    // The screen is shown: looks for the toolchain when it compiles here or the request names a
    // repository. checkingToolchain() tells when the check has ended.
    void appear();
    // Creates the project from the request, after the questions its road needs.
    void build();
    // Whether the user agrees to compile on this Mac; asks only until they once did.
    bool confirmLocalBuild();

Q_SIGNALS:
    void promptChanged();
    void errorChanged();
    void busyChanged();
    void locationChanged();
    void acknowledgedChanged();
    void repoLinkChanged();
    void linkNoticeChanged();
    void locationDescriptionChanged();
    void checkingToolchainChanged();

private:
    void changeLocation(const QString& location);
    void startToolchainCheck();
    QCoro::Task<> checkToolchain();
    QCoro::Task<> create(QString text, bool source, std::optional<QString> importRepo,
                         std::optional<QString> importRef);
    void setError(std::optional<QString> error);
    void setBusy(bool busy);
    void setChecking(bool checking);
    // Emits the derived texts' signals when they read differently than before.
    void derivedMayHaveChanged();

    QPointer<API> m_api;
    QPointer<LocalBuilds> m_localBuilds;
    Dialogs& m_dialogs;
    std::function<void(QString)> m_onCreated;
    QString m_prompt;
    std::optional<QString> m_error;
    bool m_busy = false;
    QString m_location;
    std::optional<RepoLink> m_repoLink;
    bool m_checking = false;
    bool m_checkAgain = false;
    std::optional<LinkNotice> m_shownNotice;
    QString m_shownDescription;
};

} // namespace brightloom
