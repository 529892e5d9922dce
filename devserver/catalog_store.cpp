// The gallery, favorites, connected GitHub accounts and the service's own settings.

#include "store.h"

namespace brightloom::devserver {

namespace {

GalleryEntry galleryEntryFrom(const QSqlQuery& query)
{
    GalleryEntry app;
    app.slug = query.value(0).toString();
    app.name = query.value(1).toString();
    app.tagline = query.value(2).toString();
    app.blurb = query.value(3).toString();
    app.category = query.value(4).toString();
    app.starred = query.value(5).toBool();
    app.ai = query.value(6).toBool();
    app.views = query.value(7).toLongLong();
    app.favorites = query.value(8).toLongLong();
    app.templateJob = query.value(9).toString();
    return app;
}

const QString galleryColumns =
    QStringLiteral("slug, name, tagline, blurb, category, starred, ai, views, favorites, template_job");

} // namespace

QStringList Store::favoriteSlugs(const QString& userId)
{
    QSqlQuery query = run(QStringLiteral("SELECT favorites.slug FROM favorites JOIN gallery_apps "
                                         "ON gallery_apps.slug = favorites.slug WHERE user_id = ? "
                                         "ORDER BY gallery_apps.ordering"),
                          {userId});
    QStringList slugs;
    while (query.next())
        slugs.append(query.value(0).toString());
    return slugs;
}

void Store::setFavorite(const QString& userId, const QString& slug, bool favorite)
{
    if (favorite)
        run(QStringLiteral("INSERT OR IGNORE INTO favorites (user_id, slug) VALUES (?, ?)"), {userId, slug});
    else
        run(QStringLiteral("DELETE FROM favorites WHERE user_id = ? AND slug = ?"), {userId, slug});
}

qint64 Store::favoriteCount(const QString& slug)
{
    QSqlQuery query = run(QStringLiteral("SELECT COUNT(*) FROM favorites WHERE slug = ?"), {slug});
    return query.next() ? query.value(0).toLongLong() : 0;
}

void Store::addGalleryApp(const GalleryEntry& app)
{
    run(QStringLiteral(
            "INSERT INTO gallery_apps (slug, ordering, name, tagline, blurb, category, starred, ai, "
            "views, favorites, template_job) VALUES (?, (SELECT COALESCE(MAX(ordering), 0) + 1 "
            "FROM gallery_apps), ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
        {app.slug, app.name, app.tagline, app.blurb, app.category, app.starred, app.ai, app.views,
         app.favorites, app.templateJob.isNull() ? QString(QLatin1String("")) : app.templateJob});
}

QList<GalleryEntry> Store::galleryApps()
{
    QSqlQuery query = run(QStringLiteral("SELECT ") + galleryColumns +
                          QStringLiteral(" FROM gallery_apps ORDER BY ordering"));
    QList<GalleryEntry> apps;
    while (query.next())
        apps.append(galleryEntryFrom(query));
    return apps;
}

std::optional<GalleryEntry> Store::galleryApp(const QString& slug)
{
    QSqlQuery query =
        run(QStringLiteral("SELECT ") + galleryColumns + QStringLiteral(" FROM gallery_apps WHERE slug = ?"),
            {slug});
    if (!query.next())
        return std::nullopt;
    return galleryEntryFrom(query);
}

std::optional<QString> Store::githubLogin(const QString& userId)
{
    QSqlQuery query = run(QStringLiteral("SELECT login FROM github_accounts WHERE user_id = ?"), {userId});
    if (!query.next())
        return std::nullopt;
    return query.value(0).toString();
}

void Store::connectGithub(const QString& userId, const QString& login)
{
    run(QStringLiteral("INSERT OR REPLACE INTO github_accounts (user_id, login) VALUES (?, ?)"),
        {userId, login});
}

std::optional<QString> Store::meta(const QString& key)
{
    QSqlQuery query = run(QStringLiteral("SELECT value FROM meta WHERE key = ?"), {key});
    if (!query.next())
        return std::nullopt;
    return query.value(0).toString();
}

void Store::setMeta(const QString& key, const QString& value)
{
    run(QStringLiteral("INSERT OR REPLACE INTO meta (key, value) VALUES (?, ?)"),
        {key, value.isNull() ? QString(QLatin1String("")) : value});
}

} // namespace brightloom::devserver
