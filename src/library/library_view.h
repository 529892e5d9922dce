#pragma once

#include "service/records.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;

// The user's library: every app built, in the service's order, and which one's page is open.
class LibraryView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LibraryView)
    Q_PROPERTY(QList<brightloom::LibraryApp> apps READ apps NOTIFY appsChanged)
    Q_PROPERTY(bool loaded READ loaded NOTIFY loadedChanged)
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    Q_PROPERTY(QString selected READ selectedText WRITE select NOTIFY selectedChanged)

public:
    // Opens a project's conversation; given by the screen that shows the library.
    using OpenProject = std::function<void(QString)>;

    static const QString title;     // "My apps"
    static const QString subtitle;  // "Every app you have built, with all of its versions."
    static const QString emptyText; // "Nothing here yet. Apps you build show up here."

    LibraryView(API& api, OpenProject onOpen, QObject* parent = nullptr);

    const QList<LibraryApp>& apps() const { return m_apps; }
    bool loaded() const { return m_loaded; }
    const std::optional<QString>& error() const { return m_error; }
    QString errorText() const { return m_error.value_or(QString()); }
    const std::optional<QString>& selected() const { return m_selected; }
    QString selectedText() const { return m_selected.value_or(QString()); }
    // The selected app as last listed, if it is in the list.
    std::optional<LibraryApp> selectedApp() const;
    const OpenProject& onOpen() const { return m_onOpen; }
    // Whether the list is empty once loaded, after a failed load too: the screen then says so.
    bool showsEmptyText() const { return m_loaded && m_apps.isEmpty(); }

    // "Version 1.1 · 2 versions": the newest version (the service lists it first) and the count.
    static QString versionLine(const LibraryApp& app);

    // Asks the service for the list; the screen does it each time it appears. A load already
    // running is not started again.
    QCoro::Task<> load();
    // Shows the page of the app `projectId` instead of the list; an empty id shows the list.
    void select(const QString& projectId);
    void clearSelection() { select(QString()); }

Q_SIGNALS:
    void appsChanged();
    void loadedChanged();
    void errorChanged();
    void selectedChanged();
    // A load ended, with or without success.
    void loadFinished();

private:
    void setError(std::optional<QString> error);

    QPointer<API> m_api;
    OpenProject m_onOpen;
    QList<LibraryApp> m_apps;
    bool m_loaded = false;
    bool m_loading = false;
    std::optional<QString> m_error;
    std::optional<QString> m_selected;
};

} // namespace brightloom
