#pragma once

#include "library/tree_rows.h"
#include "service/dmg_downloads.h"
#include "service/records.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>
#include <vector>

namespace brightloom {

class API;
class Desktop;

// One app of the library: its versions with their downloads, the tree of versions and forks, and
// starting a new project from any version ("Use as template").
class LibraryDetailView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LibraryDetailView)
    Q_PROPERTY(QString projectId READ projectId CONSTANT)
    Q_PROPERTY(std::optional<brightloom::LibraryDetail> detail READ detail NOTIFY detailChanged)
    Q_PROPERTY(std::vector<brightloom::TreeRow> rows READ rows NOTIFY detailChanged)
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    Q_PROPERTY(QString forking READ forkingText NOTIFY forkingChanged)
    Q_PROPERTY(brightloom::DmgDownloads* downloads READ downloads CONSTANT)

public:
    using OpenProject = std::function<void(QString)>;

    static const QString changeAppText;    // "Change this app"
    static const QString versionsTitle;    // "Versions"
    static const QString treeTitle;        // "Version tree"
    static const QString treeCaption;      // "Every change is a new version, …"
    static const QString showInFinderText; // "Show in Finder"

    // `desktop` opens each saved disk image and reveals it; it may be null.
    LibraryDetailView(API& api, QString projectId, OpenProject onOpen, Desktop* desktop = nullptr,
                      QObject* parent = nullptr);

    const QString& projectId() const { return m_projectId; }
    const std::optional<LibraryDetail>& detail() const { return m_detail; }
    // The version tree as rows, listed once the detail has loaded.
    const std::vector<TreeRow>& rows() const { return m_rows; }
    const std::optional<QString>& error() const { return m_error; }
    QString errorText() const { return m_error.value_or(QString()); }
    const std::optional<QString>& forking() const { return m_forking; }
    QString forkingText() const { return m_forking.value_or(QString()); }
    DmgDownloads* downloads() { return &m_downloads; }
    const DmgDownloads& downloads() const { return m_downloads; }

    // "Started from version 1.2 of Notes", "Started from a template that is no longer shared.", or
    // nothing for an app that is not a fork.
    static std::optional<QString> originLine(const std::optional<ForkOrigin>& origin);
    std::optional<QString> originLine() const;

    // "Download .dmg" when the version has a disk image, else "Download .zip".
    static QString downloadLabel(const LibraryVersion& version);
    // The name a version's download is saved under: the app's name and the version.
    static QString downloadName(const LibraryVersion& version);
    // The disk image's address, else the app archive's.
    static QString downloadUrl(const LibraryVersion& version);
    bool downloadBusy(const QString& jobId) const { return m_downloads.busy().contains(jobId); }
    // Where the download of `jobId` was saved, once it was.
    std::optional<QString> savedFile(const QString& jobId) const;

    TemplateButton templateButton(const TreeRow& row) const;

    // Asks the service for the app; the screen does it each time it appears.
    QCoro::Task<> load();
    // Opens this app's conversation.
    void changeApp();
    // Starts a new project from the version `jobId` and opens its conversation. One fork at a time:
    // a call while another runs does nothing.
    QCoro::Task<> fork(QString jobId);
    // Downloads the version `jobId` (its disk image, else its archive) unless it is running already.
    void download(const QString& jobId);
    // Shows the saved download of `jobId` in the file browser.
    void showInFinder(const QString& jobId);

Q_SIGNALS:
    void detailChanged();
    void errorChanged();
    void forkingChanged();
    // A load ended, with or without success.
    void loadFinished();

private:
    void setError(std::optional<QString> error);
    void setForking(std::optional<QString> jobId);
    const LibraryVersion* version(const QString& jobId) const;

    QPointer<API> m_api;
    QString m_projectId;
    OpenProject m_onOpen;
    Desktop* m_desktop;
    DmgDownloads m_downloads;
    std::optional<LibraryDetail> m_detail;
    std::vector<TreeRow> m_rows;
    std::optional<QString> m_error;
    std::optional<QString> m_forking;
};

} // namespace brightloom
