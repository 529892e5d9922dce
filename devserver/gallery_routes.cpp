// The public gallery, each person's favorites, and the gallery's web pages "apps/<slug>".

#include "dev_server.h"
#include "http_util.h"
#include "routes.h"

#include <QJsonArray>

namespace brightloom::devserver {

namespace {

using Method = DevServer::Method;

QJsonObject galleryAppJson(Store& store, const GalleryEntry& app)
{
    QJsonObject json;
    json.insert(QStringLiteral("slug"), app.slug);
    json.insert(QStringLiteral("name"), app.name);
    json.insert(QStringLiteral("tagline"), app.tagline);
    json.insert(QStringLiteral("blurb"), app.blurb);
    json.insert(QStringLiteral("category"), app.category);
    json.insert(QStringLiteral("starred"), app.starred);
    json.insert(QStringLiteral("ai"), app.ai);
    // Relative, as the client resolves icon addresses against the service's own address.
    json.insert(QStringLiteral("iconUrl"),
                QString(QStringLiteral("icons/") + app.slug + QStringLiteral(".png")));
    json.insert(QStringLiteral("views"), app.views);
    json.insert(QStringLiteral("favorites"), app.favorites + store.favoriteCount(app.slug));
    if (!app.templateJob.isEmpty())
        json.insert(QStringLiteral("templateJobId"), app.templateJob);
    return json;
}

HttpResponse gallery(DevServer& server, const Request&)
{
    QJsonArray apps;
    for (const GalleryEntry& app : server.store().galleryApps())
        apps.append(galleryAppJson(server.store(), app));
    QJsonObject reply;
    reply.insert(QStringLiteral("apps"), apps);
    return jsonResponse(reply);
}

HttpResponse favoriteSlugs(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    QJsonObject reply;
    reply.insert(QStringLiteral("slugs"),
                 QJsonArray::fromStringList(server.store().favoriteSlugs(session.userId)));
    return jsonResponse(reply);
}

HttpResponse setFavorite(DevServer& server, const Request& request)
{
    const Session session = server.requireSession(request.http);
    const QString slug = request.param(QStringLiteral("slug"));
    const QJsonValue favorite = jsonObjectBody(request.http).value(QStringLiteral("favorite"));
    if (!favorite.isBool())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Field \"favorite\" must be a Boolean")};
    if (!server.store().galleryApp(slug))
        throw HttpError{StatusCode::NotFound, QStringLiteral("App not found")};
    server.store().setFavorite(session.userId, slug, favorite.toBool());
    QJsonObject reply;
    reply.insert(QStringLiteral("slug"), slug);
    reply.insert(QStringLiteral("favorite"), favorite.toBool());
    return jsonResponse(reply);
}

const QString pageTemplate = QStringLiteral(R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>%1 · Brightloom</title>
<style>
  body { margin: 0 auto; max-width: 40rem; padding: 2rem; line-height: 1.5;
         font-family: -apple-system, BlinkMacSystemFont, "Segoe UI", Roboto, sans-serif;
         background: #f4f1ec; color: #1f1d1a; }
  header { display: flex; gap: 1rem; align-items: center; }
  img { width: 96px; height: 96px; }
  h1 { margin: 0; font-size: 1.6rem; }
  .tagline { margin: 0; color: #5b554c; }
  .facts { color: #5b554c; font-size: 0.9rem; }
</style>
</head>
<body>
%2
</body>
</html>
)");

HttpResponse appPage(DevServer& server, const Request& request)
{
    const std::optional<GalleryEntry> app = server.store().galleryApp(request.param(QStringLiteral("slug")));
    if (!app) {
        return htmlResponse(pageTemplate.arg(QStringLiteral("Not found"),
                                             QStringLiteral("<h1>No such app</h1><p>This app is not in "
                                                            "the gallery.</p>")),
                            StatusCode::NotFound);
    }
    const qint64 favorites = app->favorites + server.store().favoriteCount(app->slug);
    const QString body =
        QStringLiteral(
            "<header><img src=\"../icons/%1.png\" alt=\"\"><div><h1>%2</h1><p class=\"tagline\">%3</p>"
            "</div></header><p>%4</p><p class=\"facts\">%5 · %6 views · %7 favorites%8</p>")
            .arg(app->slug.toHtmlEscaped(), app->name.toHtmlEscaped(), app->tagline.toHtmlEscaped(),
                 app->blurb.toHtmlEscaped(), app->category.toHtmlEscaped(), QString::number(app->views),
                 QString::number(favorites),
                 app->templateJob.isEmpty() ? QString() : QStringLiteral(" · can be used as a template"));
    return htmlResponse(pageTemplate.arg(app->name.toHtmlEscaped(), body));
}

} // namespace

void addGalleryRoutes(DevServer& server)
{
    server.addRoute(Method::Get, QStringLiteral("api/gallery"), gallery);
    server.addRoute(Method::Get, QStringLiteral("api/apps/favorites"), favoriteSlugs);
    server.addRoute(Method::Put, QStringLiteral("api/apps/{slug}/favorite"), setFavorite);
    server.addRoute(Method::Get, QStringLiteral("apps/{slug}"), appPage);
}

} // namespace brightloom::devserver
