#include "main_view.h"

#include "service/api.h"

namespace brightloom {

const QString MainView::newSelection = QStringLiteral("new");
const QString MainView::librarySelection = QStringLiteral("library");

MainView::MainView(API& api, QObject* parent) : QObject(parent), m_api(&api)
{
    connect(&api, &API::projectsChanged, this, [this] {
        Q_EMIT projectsChanged();
        recompute();
    });
    m_detail = detailFor(m_selection, projects());
}

const QList<Project>& MainView::projects() const
{
    static const QList<Project> none;
    return m_api ? m_api->projects() : none;
}

void MainView::signOut()
{
    // Signing out never fails: the session ends here whatever the service answers.
    if (m_api)
        m_api->signOut();
}

void MainView::select(std::optional<QString> selection)
{
    if (selection == m_selection)
        return;
    m_selection = std::move(selection);
    Q_EMIT selectionChanged();
    recompute();
}

MainView::Detail MainView::detailFor(const std::optional<QString>& selection, const QList<Project>& projects)
{
    if (!selection || *selection == newSelection)
        return {Screen::newProject, std::nullopt};
    if (*selection == librarySelection)
        return {Screen::library, std::nullopt};
    for (const Project& project : projects) {
        if (project.id == *selection)
            return {Screen::conversation, project};
    }
    // A project that is no longer in the list (deleted, or from another account).
    return {Screen::newProject, std::nullopt};
}

MainView::Detail MainView::detail() const
{
    return m_detail;
}

void MainView::recompute()
{
    Detail detail = detailFor(m_selection, projects());
    // A renamed project keeps its conversation: the screen belongs to the project's id.
    const bool sameScreen =
        detail.screen == m_detail.screen && (detail.project ? detail.project->id : QString()) ==
                                                (m_detail.project ? m_detail.project->id : QString());
    m_detail = std::move(detail);
    if (!sameScreen)
        Q_EMIT detailChanged();
}

} // namespace brightloom
