#pragma once

#include "service/records.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <optional>

namespace brightloom {

class API;

// The main screen's selection and what the detail pane shows for it. The selection lives in memory
// only, so every launch opens on the new project screen.
class MainView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainView)
    Q_PROPERTY(QString selection READ selectionText NOTIFY selectionChanged)

public:
    static const QString newSelection;     // "new"
    static const QString librarySelection; // "library"

    enum class Screen { newProject, library, conversation };

    // What the detail pane shows: a screen, and for a conversation its project.
    struct Detail
    {
        Screen screen = Screen::newProject;
        std::optional<Project> project;

        bool operator==(const Detail&) const = default;
    };

    explicit MainView(API& api, QObject* parent = nullptr);

    const std::optional<QString>& selection() const { return m_selection; }
    QString selectionText() const { return m_selection.value_or(QString()); }
    void select(std::optional<QString> selection);

    // The detail for the current selection and project list.
    Detail detail() const;
    static Detail detailFor(const std::optional<QString>& selection, const QList<Project>& projects);

    // The project list in the sidebar, as the service ordered it.
    const QList<Project>& projects() const;

    // Ends the session; the window then shows the sign-in screen.
    void signOut();

Q_SIGNALS:
    void selectionChanged();
    // The detail pane must show another screen, or a conversation of another project.
    void detailChanged();
    void projectsChanged();

private:
    void recompute();

    QPointer<API> m_api;
    std::optional<QString> m_selection;
    Detail m_detail;
};

} // namespace brightloom
