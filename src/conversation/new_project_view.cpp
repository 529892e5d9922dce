#include "new_project_view.h"

#include "localbuild/compile.h"
#include "localbuild/local_builds.h"
#include "platform/dialogs.h"
#include "platform/settings.h"
#include "service/api.h"
#include "service/screen_action.h"

#include <stdexcept>

namespace brightloom {

const QString NewProjectView::cloud = QStringLiteral("cloud");
const QString NewProjectView::local = QStringLiteral("local");

const QString NewProjectView::xcodeNeededForImport =
    QStringLiteral("Importing a GitHub repo needs Xcode on this Mac. Install it from the App Store and open "
                   "it once, or remove the link.");
const QString NewProjectView::cloudDescription =
    QStringLiteral("The cloud writes, compiles and packages the app, and you download it.");
const QString NewProjectView::lookingForXcode = QStringLiteral("Looking for Xcode…");
const QString NewProjectView::swiftNotFound =
    QStringLiteral("Swift was not found. Install Xcode from the App Store, open it once to accept the "
                   "license, then choose This Mac again.");

QString NewProjectView::foundDescription(const QString& toolchain)
{
    return QStringLiteral("The cloud writes the code. Your Mac compiles and signs it with your own Xcode (") +
           toolchain + QStringLiteral(").");
}

namespace {

Alert localBuildAlert()
{
    Alert alert;
    alert.style = Alert::Style::warning;
    alert.message = QStringLiteral("Compile on this Mac?");
    alert.informativeText = QStringLiteral(
        "Brightloom writes the app's code in the cloud. Your Mac then builds it with Xcode (swift build) and "
        "signs it ad hoc. Package.swift is checked first, but the app's own code is not reviewed. It runs "
        "with your user's permissions when you open it, so only build apps you trust.");
    alert.buttons = {QStringLiteral("Compile on this Mac"), QStringLiteral("Cancel")};
    return alert;
}

} // namespace

QString NewProjectView::storedLocation()
{
    // Anything but "local" in the store counts as the default.
    return Settings::buildLocation() == local ? local : cloud;
}

NewProjectView::NewProjectView(API& api, LocalBuilds& localBuilds, Dialogs& dialogs,
                               std::function<void(QString)> onCreated, QObject* parent)
    : QObject(parent), m_api(&api), m_localBuilds(&localBuilds), m_dialogs(dialogs),
      m_onCreated(std::move(onCreated)), m_location(storedLocation())
{
    // The description and the notice read the controller's toolchain, which any screen may update.
    connect(&localBuilds, &LocalBuilds::toolchainChanged, this, &NewProjectView::derivedMayHaveChanged);
    connect(&localBuilds, &LocalBuilds::toolchainCheckedChanged, this,
            &NewProjectView::derivedMayHaveChanged);
    m_shownDescription = locationDescription();
    // The Settings window chooses the same location.
    connect(&Settings::changes(), &SettingsChanges::buildLocationChanged, this,
            [this] { changeLocation(storedLocation()); });
}

NewProjectView::~NewProjectView() = default;

void NewProjectView::setPrompt(const QString& prompt)
{
    if (!assignAndNotify(this, m_prompt, prompt, &NewProjectView::promptChanged))
        return;
    if (!assignAndNotify(this, m_repoLink, RepoLink::detect(m_prompt), &NewProjectView::repoLinkChanged))
        return;
    derivedMayHaveChanged();
    if (m_repoLink)
        startToolchainCheck();
}

void NewProjectView::setLocation(const QString& location)
{
    const QString value = location == local ? local : cloud;
    Settings::setBuildLocation(value);
    changeLocation(value);
}

void NewProjectView::setLocationForThisRun(const QString& location)
{
    changeLocation(location == local ? local : cloud);
}

void NewProjectView::changeLocation(const QString& location)
{
    if (!assignAndNotify(this, m_location, location, &NewProjectView::locationChanged))
        return;
    derivedMayHaveChanged();
    if (m_location == local)
        startToolchainCheck();
}

bool NewProjectView::acknowledged() const
{
    // Read from the store every time: another process of the client may have accepted meanwhile.
    return Settings::localBuildAcknowledged();
}

std::optional<LinkNotice> NewProjectView::linkNotice() const
{
    if (!m_repoLink)
        return std::nullopt;
    LinkNotice notice;
    notice.name = m_repoLink->name;
    notice.distinct = m_repoLink->distinct;
    notice.xcodeMissing = m_localBuilds && m_localBuilds->toolchainChecked() && !m_localBuilds->toolchain();
    return notice;
}

QString NewProjectView::locationDescription() const
{
    if (m_location != local)
        return cloudDescription;
    if (!m_localBuilds || !m_localBuilds->toolchainChecked())
        return lookingForXcode;
    if (const std::optional<QString>& toolchain = m_localBuilds->toolchain())
        return foundDescription(*toolchain);
    return swiftNotFound;
}

void NewProjectView::appear()
{
    if (m_location == local || m_repoLink)
        startToolchainCheck();
}

void NewProjectView::startToolchainCheck()
{
    checkToolchain(); // ends on its own; it catches every failure
}

// One check at a time: a request for another while one runs makes the running one look once more,
// so typing a link character by character starts no crowd of toolchain processes.
QCoro::Task<> NewProjectView::checkToolchain()
{
    if (m_checking) {
        m_checkAgain = true;
        co_return;
    }
    QPointer<NewProjectView> self(this);
    setChecking(true);
    do {
        m_checkAgain = false;
        std::optional<QString> version;
        try {
            version = co_await LocalBuild::toolchainVersion();
        } catch (...) {
            version.reset(); // a toolchain that cannot be asked counts as none
        }
        if (!self)
            co_return;
        if (m_localBuilds) {
            m_localBuilds->setToolchain(version);
            m_localBuilds->setToolchainChecked(true);
        }
    } while (m_checkAgain);
    setChecking(false);
}

void NewProjectView::build()
{
    // A second Return while the first request is on its way must not make a second project.
    if (m_busy)
        return;
    const QString text = m_prompt.trimmed();
    std::optional<RepoLink> import;
    if (m_repoLink) {
        if (!m_localBuilds || !m_localBuilds->toolchain()) {
            setError(xcodeNeededForImport);
            return;
        }
        switch (m_repoLink->confirm(m_dialogs)) {
        case RepoLink::Choice::importAndBuild:
            import = m_repoLink;
            break;
        case RepoLink::Choice::buildWithoutImporting:
            break;
        case RepoLink::Choice::cancel:
            return;
        }
    }
    bool source = import.has_value();
    if (m_location == local) {
        if (!import && !confirmLocalBuild())
            return;
        source = true;
    }
    std::optional<QString> repo;
    std::optional<QString> ref;
    if (import) {
        repo = import->url;
        ref = import->ref;
    }
    create(text, source, std::move(repo), std::move(ref));
}

bool NewProjectView::confirmLocalBuild()
{
    if (acknowledged())
        return true;
    if (m_dialogs.ask(localBuildAlert()) != 0)
        return false;
    Settings::setLocalBuildAcknowledged(true);
    Q_EMIT acknowledgedChanged();
    return true;
}

QCoro::Task<> NewProjectView::create(QString text, bool source, std::optional<QString> importRepo,
                                     std::optional<QString> importRef)
{
    ScreenAction action(this, &NewProjectView::setBusy, &NewProjectView::setError);
    if (!m_api) {
        setError(QStringLiteral("The project could not be created."));
        co_return;
    }
    const std::optional<QString> id = co_await action.attempt(
        m_api->createProject(std::move(text), source, std::move(importRepo), std::move(importRef)));
    // The main screen replaces this one here, which may end it.
    if (id && m_onCreated)
        m_onCreated(*id);
}

void NewProjectView::setError(std::optional<QString> error)
{
    assignAndNotify(this, m_error, std::move(error), &NewProjectView::errorChanged);
}

void NewProjectView::setBusy(bool busy)
{
    assignAndNotify(this, m_busy, busy, &NewProjectView::busyChanged);
}

void NewProjectView::setChecking(bool checking)
{
    assignAndNotify(this, m_checking, checking, &NewProjectView::checkingToolchainChanged);
}

void NewProjectView::derivedMayHaveChanged()
{
    const std::optional<LinkNotice> notice = linkNotice();
    if (notice != m_shownNotice) {
        m_shownNotice = notice;
        Q_EMIT linkNoticeChanged();
    }
    const QString description = locationDescription();
    if (description != m_shownDescription) {
        m_shownDescription = description;
        Q_EMIT locationDescriptionChanged();
    }
}

} // namespace brightloom
