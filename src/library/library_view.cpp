#include "library_view.h"

#include "service/api.h"
#include "service/screen_action.h"

namespace brightloom {

const QString LibraryView::title = QStringLiteral("My apps");
const QString LibraryView::subtitle = QStringLiteral("Every app you have built, with all of its versions.");
const QString LibraryView::emptyText = QStringLiteral("Nothing here yet. Apps you build show up here.");

LibraryView::LibraryView(API& api, OpenProject onOpen, QObject* parent)
    : QObject(parent), m_api(&api), m_onOpen(std::move(onOpen))
{}

std::optional<LibraryApp> LibraryView::selectedApp() const
{
    if (!m_selected)
        return std::nullopt;
    for (const LibraryApp& app : m_apps) {
        if (app.projectId == *m_selected)
            return app;
    }
    return std::nullopt;
}

QString LibraryView::versionLine(const LibraryApp& app)
{
    const qsizetype count = app.versions.size();
    const QString counted = QString::number(count) + QLatin1Char(' ') +
                            (count == 1 ? QStringLiteral("version") : QStringLiteral("versions"));
    // The service lists only apps that were built, so there is a newest version; an app without
    // one is still listed, by its count alone.
    if (app.versions.isEmpty())
        return counted;
    return QStringLiteral("Version ") + app.versions.front().version + QStringLiteral(" \u00B7 ") + counted;
}

QCoro::Task<> LibraryView::load()
{
    if (m_loading || !m_api)
        co_return;
    {
        // The error line stays until a load succeeds.
        ScreenAction action(
            this, [this](bool on) { m_loading = on; },
            [this](std::optional<QString> error) { setError(std::move(error)); }, false);
        std::optional<QList<LibraryApp>> apps = co_await action.attempt(m_api->library());
        if (!action.screenAlive())
            co_return;
        if (apps) {
            setError(std::nullopt);
            assignAndNotify(this, m_apps, std::move(*apps), &LibraryView::appsChanged);
        }
    }
    assignAndNotify(this, m_loaded, true, &LibraryView::loadedChanged);
    Q_EMIT loadFinished();
}

void LibraryView::select(const QString& projectId)
{
    std::optional<QString> selected;
    if (!projectId.isEmpty())
        selected = projectId;
    if (m_selected == selected)
        return;
    m_selected = std::move(selected);
    Q_EMIT selectedChanged();
}

void LibraryView::setError(std::optional<QString> error)
{
    assignAndNotify(this, m_error, std::move(error), &LibraryView::errorChanged);
}

} // namespace brightloom
