#include "gallery_view.h"

#include "platform/desktop.h"
#include "service/api.h"

#include <stdexcept>

namespace brightloom {
namespace {

QString failureText(const std::exception& e)
{
    return QString::fromUtf8(e.what());
}

} // namespace

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
    if (m_onlyFavorites == on)
        return;
    m_onlyFavorites = on;
    Q_EMIT onlyFavoritesChanged();
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
    QPointer<GalleryView> self(this);
    std::optional<QString> failure;
    try {
        if (!m_api)
            throw std::runtime_error("The favorite could not be saved.");
        co_await m_api->setFavorite(slug, on);
    } catch (const std::exception& e) {
        failure = failureText(e);
    } catch (...) {
        failure = QStringLiteral("The favorite could not be saved.");
    }
    if (!self || !failure)
        co_return;
    // Only the heart is put back; a filter switched off stays off.
    if (on)
        m_favorites.remove(slug);
    else
        m_favorites.insert(slug);
    Q_EMIT favoritesChanged();
    updateShown();
    setError(failure);
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
    QPointer<GalleryView> self(this);
    std::optional<QString> projectId;
    QString failure;
    try {
        if (!m_api)
            throw std::runtime_error("The template could not be copied.");
        projectId = co_await m_api->forkTemplate(std::move(jobId));
    } catch (const std::exception& e) {
        failure = failureText(e);
    } catch (...) {
        failure = QStringLiteral("The template could not be copied.");
    }
    if (!self)
        co_return;
    if (!projectId) {
        setError(failure);
        setBusySlug(std::nullopt);
        co_return;
    }
    setBusySlug(std::nullopt);
    // The main screen opens the new project here, which may end this screen.
    if (m_onCreated)
        m_onCreated(*projectId);
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
    if (m_busySlug == slug)
        return;
    m_busySlug = std::move(slug);
    Q_EMIT busySlugChanged();
}

void GalleryView::setError(std::optional<QString> error)
{
    if (m_error == error)
        return;
    m_error = std::move(error);
    Q_EMIT errorChanged();
}

} // namespace brightloom
