#include "gallery_service.h"

#include <QBuffer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPainter>

namespace brightloom::test {

QJsonObject galleryRecord(const GalleryEntry& entry)
{
    QJsonObject o;
    o.insert(QStringLiteral("slug"), entry.slug);
    o.insert(QStringLiteral("name"), entry.name);
    o.insert(QStringLiteral("tagline"), entry.tagline);
    o.insert(QStringLiteral("blurb"), entry.tagline);
    o.insert(QStringLiteral("category"), QStringLiteral("Productivity"));
    o.insert(QStringLiteral("starred"), entry.starred);
    o.insert(QStringLiteral("ai"), false);
    o.insert(QStringLiteral("iconUrl"),
             QString(QStringLiteral("icons/") + entry.slug + QStringLiteral(".png")));
    o.insert(QStringLiteral("views"), 10);
    o.insert(QStringLiteral("favorites"), entry.favorites);
    if (entry.withTemplate)
        o.insert(QStringLiteral("templateJobId"), QString(QStringLiteral("job-") + entry.slug));
    return o;
}

QList<GalleryEntry> manyGalleryApps(int count)
{
    QList<GalleryEntry> apps;
    apps.reserve(count);
    for (int i = 1; i <= count; ++i) {
        GalleryEntry entry;
        entry.slug = QStringLiteral("app-%1").arg(i);
        entry.name = QStringLiteral("App %1").arg(i);
        entry.tagline = QStringLiteral("The app number %1 of the gallery").arg(i);
        entry.starred = i % 5 == 0;
        entry.withTemplate = i % 3 != 0;
        entry.favorites = i;
        apps.append(entry);
    }
    return apps;
}

QByteArray iconPng(int side)
{
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(QColor(40, 120, 220));
    QPainter painter(&image);
    painter.fillRect(side / 4, side / 4, side / 2, side / 2, Qt::white);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

GalleryService::GalleryService(RecordingServer& server) : m_server(server), m_icon(iconPng())
{
    server.setHandler([this](const RecordedRequest& request) { return answer(request); });
}

ScriptedReply GalleryService::answer(const RecordedRequest& request) const
{
    const QString path = request.path();
    if (path == QLatin1String("/api/gallery")) {
        QJsonArray list;
        for (const GalleryEntry& entry : apps)
            list.append(galleryRecord(entry));
        ScriptedReply reply = ScriptedReply::json(
            200, QJsonDocument(QJsonObject{{QStringLiteral("apps"), list}}).toJson(QJsonDocument::Compact));
        reply.held = listsHeld;
        return reply;
    }
    if (path == QLatin1String("/api/apps/favorites")) {
        ScriptedReply reply = ScriptedReply::json(
            200, QJsonDocument(QJsonObject{{QStringLiteral("slugs"), QJsonArray::fromStringList(favorites)}})
                     .toJson(QJsonDocument::Compact));
        reply.held = listsHeld;
        return reply;
    }
    if (request.method == "PUT" && path.startsWith(QLatin1String("/api/apps/")) &&
        path.endsWith(QLatin1String("/favorite")))
        return favoriteReply;
    if (request.method == "POST" && path == QLatin1String("/api/templates/fork"))
        return forkReply;
    if (request.method == "POST" && path == QLatin1String("/api/projects"))
        return createReply;
    if (path == QLatin1String("/api/projects"))
        return ScriptedReply::json(200, R"({"projects":[{"id":"p-fork","name":"Copy"}]})");
    if (path.startsWith(QLatin1String("/icons/"))) {
        ScriptedReply reply;
        reply.body = m_icon;
        reply.contentType = "image/png";
        return reply;
    }
    return ScriptedReply::json(404, R"({"message":"Not found"})");
}

int GalleryService::iconRequests() const
{
    int count = 0;
    for (const RecordedRequest& request : m_server.requests()) {
        if (request.path().startsWith(QLatin1String("/icons/")))
            ++count;
    }
    return count;
}

QList<RecordedRequest> GalleryService::favoriteRequests() const
{
    QList<RecordedRequest> found;
    for (const RecordedRequest& request : m_server.requests()) {
        if (request.path().endsWith(QLatin1String("/favorite")))
            found.append(request);
    }
    return found;
}

QList<RecordedRequest> GalleryService::forkRequests() const
{
    return m_server.requestsTo(QStringLiteral("/api/templates/fork"));
}

QList<QJsonObject> GalleryService::createBodies() const
{
    QList<QJsonObject> bodies;
    for (const RecordedRequest& request : m_server.requestsTo(QStringLiteral("/api/projects"))) {
        if (request.method == "POST")
            bodies.append(QJsonDocument::fromJson(request.body).object());
    }
    return bodies;
}

} // namespace brightloom::test
