#include "gallery_view.h"

#include "platform/desktop.h"
#include "service/api.h"
#include "service/screen_action.h"

#include <stdexcept>

namespace brightloom {

GalleryView::GalleryView(API& api, Desktop* desktop, std::function<void(QString)> onCreated, QObject* parent)
    : QObject(parent), m_api(&api), m_desktop(desktop), m_onCreated(std::move(onCreated))
{}

GalleryView::~GalleryView() = default;

QList<GalleryApp> GalleryView::shownOf(const QList<GalleryApp>& apps, const QSet<QString>& favorites,
                                       bool onlyFavorites)
{
    QList<GalleryApp> starred;
    QList<GalleryApp> others;
    for (const GalleryApp& app : apps) {
        if (onlyFavorites && !favorites.contains(app.slug))
            continue;
        (app.starred ? starred : others).append(app);
    }
    starred.append(others);
    return starred;
}

void GalleryView::setOnlyFavorites(bool on)
{
    if (assignAndNotify(this, m_onlyFavorites, on, &GalleryView::onlyFavoritesChanged))
        updateShown();
}

QCoro::Task<> GalleryView::load()
{
    QPointer<GalleryView> self(this);
    if (!m_api)
        co_return;
    // Both requests leave before either answer is awaited.
    QCoro::Task<QList<GalleryApp>> gallery = m_api->gallery();
    QCoro::Task<QSet<QString>> favorites = m_api->favoriteSlugs();
    QList<GalleryApp> apps;
    QSet<QString> slugs;
    try {
        apps = co_await std::move(gallery);
    } catch (...) {
        apps.clear(); // the service client answers an empty list on any failure; so does this screen
    }
    try {
        slugs = co_await std::move(favorites);
    } catch (...) {
        slugs.clear();
    }
    if (!self)
        co_return;
    m_apps = std::move(apps);
    Q_EMIT appsChanged();
    m_favorites = std::move(slugs);
    Q_EMIT favoritesChanged();
    updateShown();
    if (!m_loaded) {
        m_loaded = true;
        Q_EMIT loadedChanged();
    }
}

void GalleryView::toggle(const QString& slug, bool on)
{
    if (on)
        m_favorites.insert(slug);
    else
        m_favorites.remove(slug);
    Q_EMIT favoritesChanged();
    // The filter never leaves the user before an empty list after the last favorite went.
    if (m_favorites.isEmpty() && m_onlyFavorites) {
        m_onlyFavorites = false;
        Q_EMIT onlyFavoritesChanged();
    }
    updateShown();
    sendFavorite(slug, on); // ends on its own; it catches every failure
}

QCoro::Task<> GalleryView::sendFavorite(QString slug, bool on)
{
    // No busy marker: the heart changed at once. A failure's text stays until the next one.
    ScreenAction action(
        this, ScreenAction::Busy(), [this](std::optional<QString> error) { setError(error); }, false);
    bool saved = false;
    if (m_api)
        saved = co_await action.attempt(m_api->setFavorite(slug, on));
    if (saved || !action.screenAlive())
        co_return;
    // Only the heart is put back; a filter switched off stays off.
    if (on)
        m_favorites.remove(slug);
    else
        m_favorites.insert(slug);
    Q_EMIT favoritesChanged();
    updateShown();
    if (!m_api)
        setError(QStringLiteral("The favorite could not be saved."));
}

void GalleryView::use(const GalleryApp& app)
{
    if (!app.templateJobId || m_busySlug)
        return;
    setBusySlug(app.slug);
    fork(*app.templateJobId); // ends on its own; it catches every failure
}

void GalleryView::use(const QString& slug)
{
    for (const GalleryApp& app : m_apps) {
        if (app.slug == slug) {
            use(app);
            return;
        }
    }
}

QCoro::Task<> GalleryView::fork(QString jobId)
{
    // The busy slug was raised by use(); it comes down when the copy ends. A failure's text stays
    // on the error line until the next one replaces it.
    ScreenAction action(
        this,
        [this](bool on) {
            if (!on)
                setBusySlug(std::nullopt);
        },
        [this](std::optional<QString> error) { setError(std::move(error)); }, false);
    if (!m_api) {
        setError(QStringLiteral("The template could not be copied."));
        co_return;
    }
    const std::optional<QString> projectId = co_await action.attempt(m_api->forkTemplate(std::move(jobId)));
    if (!projectId)
        co_return;
    setBusySlug(std::nullopt);
    // The main screen opens the new project here, which may end this screen.
    if (m_onCreated)
        m_onCreated(*projectId);
}

std::optional<QUrl> GalleryView::iconAddress(const GalleryApp& app) const
{
    return m_api ? m_api->iconURL(app.iconUrl) : std::nullopt;
}

QUrl GalleryView::detailsAddress(const QString& slug) const
{
    if (!m_api)
        return QUrl();
    QUrl url = m_api->base();
    QString path = url.path();
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    url.setPath(path + QStringLiteral("apps/") + slug, QUrl::DecodedMode);
    url.setQuery(QString());
    url.setFragment(QString());
    return url;
}

void GalleryView::openDetails(const QString& slug) const
{
    if (m_desktop)
        m_desktop->open(detailsAddress(slug));
}

void GalleryView::updateShown()
{
    QList<GalleryApp> shown = shownOf(m_apps, m_favorites, m_onlyFavorites);
    if (shown == m_shown)
        return;
    m_shown = std::move(shown);
    Q_EMIT shownChanged();
}

void GalleryView::setBusySlug(std::optional<QString> slug)
{
    assignAndNotify(this, m_busySlug, std::move(slug), &GalleryView::busySlugChanged);
}

void GalleryView::setError(std::optional<QString> error)
{
    assignAndNotify(this, m_error, std::move(error), &GalleryView::errorChanged);
}

} // namespace brightloom
