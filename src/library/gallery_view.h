#pragma once

#include "service/records.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QUrl>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;
class Desktop;

// The public apps others shared: which the user marked as favorites, the list as shown (favorites
// only, starred first), and starting a project of one's own from an app's template.
class GalleryView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GalleryView)
    Q_PROPERTY(QList<brightloom::GalleryApp> apps READ apps NOTIFY appsChanged)
    Q_PROPERTY(QSet<QString> favorites READ favorites NOTIFY favoritesChanged)
    Q_PROPERTY(bool onlyFavorites READ onlyFavorites WRITE setOnlyFavorites NOTIFY onlyFavoritesChanged)
    Q_PROPERTY(bool loaded READ loaded NOTIFY loadedChanged)
    Q_PROPERTY(QString busySlug READ busySlugText NOTIFY busySlugChanged)
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    Q_PROPERTY(QList<brightloom::GalleryApp> shown READ shown NOTIFY shownChanged)

public:
    // `desktop` opens the apps' pages; it may be null where there is no desktop. `onCreated` gets
    // the id of a project started from a template.
    GalleryView(API& api, Desktop* desktop, std::function<void(QString)> onCreated,
                QObject* parent = nullptr);
    ~GalleryView() override;

    const QList<GalleryApp>& apps() const { return m_apps; }
    const QSet<QString>& favorites() const { return m_favorites; }
    bool isFavorite(const QString& slug) const { return m_favorites.contains(slug); }
    bool onlyFavorites() const { return m_onlyFavorites; }
    void setOnlyFavorites(bool on);
    bool loaded() const { return m_loaded; }
    const std::optional<QString>& busySlug() const { return m_busySlug; }
    QString busySlugText() const { return m_busySlug.value_or(QString()); }
    const std::optional<QString>& error() const { return m_error; }
    QString errorText() const { return m_error.value_or(QString()); }
    // The apps to show: only favorites when asked, starred ones first, each group in the service's
    // order.
    const QList<GalleryApp>& shown() const { return m_shown; }
    static QList<GalleryApp> shownOf(const QList<GalleryApp>& apps, const QSet<QString>& favorites,
                                     bool onlyFavorites);

    // Asks for the gallery and the user's favorites at the same time; never fails (an unreachable
    // service shows an empty gallery).
    QCoro::Task<> load();
    // Marks or unmarks a favorite at once, and takes it back if the service refuses.
    void toggle(const QString& slug, bool on);
    // Starts a project from the app's template; nothing while another one is being copied.
    void use(const GalleryApp& app);
    void use(const QString& slug);
    // The app's public page: the service's address with "apps/" + slug appended.
    QUrl detailsAddress(const QString& slug) const;
    // Where the app's icon loads from; none for an address that cannot be one.
    std::optional<QUrl> iconAddress(const GalleryApp& app) const;
    void openDetails(const QString& slug) const;

Q_SIGNALS:
    void appsChanged();
    void favoritesChanged();
    void onlyFavoritesChanged();
    void loadedChanged();
    void busySlugChanged();
    void errorChanged();
    void shownChanged();

private:
    QCoro::Task<> sendFavorite(QString slug, bool on);
    QCoro::Task<> fork(QString jobId);
    void updateShown();
    void setBusySlug(std::optional<QString> slug);
    void setError(std::optional<QString> error);

    QPointer<API> m_api;
    Desktop* m_desktop;
    std::function<void(QString)> m_onCreated;
    QList<GalleryApp> m_apps;
    QSet<QString> m_favorites;
    bool m_onlyFavorites = false;
    bool m_loaded = false;
    std::optional<QString> m_busySlug;
    std::optional<QString> m_error;
    QList<GalleryApp> m_shown;
};

} // namespace brightloom
