// Downloads: the files of finished jobs and the gallery's icons. They need no session, as the
// client fetches them with a plain HTTP session; a job's files sit behind its unguessable file key.

#include "dev_server.h"
#include "http_util.h"
#include "job_files.h"
#include "routes.h"

#include <QDir>

namespace brightloom::devserver {

namespace {

QByteArray mimeTypeOf(const QString& name)
{
    if (name.endsWith(QLatin1String(".zip")))
        return QByteArrayLiteral("application/zip");
    if (name.endsWith(QLatin1String(".dmg")))
        return QByteArrayLiteral("application/x-apple-diskimage");
    if (name.endsWith(QLatin1String(".png")))
        return QByteArrayLiteral("image/png");
    return QByteArrayLiteral("application/octet-stream");
}

FileReply jobFile(DevServer& server, const Request& request)
{
    const QString name = request.param(QStringLiteral("name"));
    const std::optional<Job> job = server.store().jobByFileKey(request.param(QStringLiteral("key")));
    if (!job || !jobfiles::offers(*job, name))
        throw HttpError{StatusCode::NotFound, QStringLiteral("File not found")};
    return FileReply{QDir(server.clock().filesFolder(*job)).filePath(name), mimeTypeOf(name)};
}

HttpResponse galleryIcon(DevServer& server, const Request& request)
{
    QString slug = request.param(QStringLiteral("file"));
    if (!slug.endsWith(QLatin1String(".png")))
        throw HttpError{StatusCode::NotFound, QStringLiteral("Icon not found")};
    slug.chop(4);
    const std::optional<GalleryEntry> app = server.store().galleryApp(slug);
    if (!app)
        throw HttpError{StatusCode::NotFound, QStringLiteral("Icon not found")};
    HttpResponse response(QByteArrayLiteral("image/png"), iconPng(app->name));
    response.addHeader(QByteArrayLiteral("Cache-Control"), QByteArrayLiteral("max-age=3600"));
    return response;
}

} // namespace

void addFileRoutes(DevServer& server)
{
    server.addFileRoute(QStringLiteral("files/{key}/{name}"), jobFile);
    server.addRoute(DevServer::Method::Get, QStringLiteral("icons/{file}"), galleryIcon);
}

} // namespace brightloom::devserver
