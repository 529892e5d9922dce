#include "record_json.h"

#include "dev_server.h"
#include "http_util.h"
#include "job_files.h"
#include "store.h"

#include <QDateTime>
#include <QJsonValue>

namespace brightloom::devserver {

QJsonObject projectJson(const Project& project)
{
    QJsonObject json;
    json.insert(QStringLiteral("id"), project.id);
    json.insert(QStringLiteral("name"), project.name);
    // Only once the service has judged the project; never sent as null.
    if (project.unsafe)
        json.insert(QStringLiteral("unsafe"), *project.unsafe);
    return json;
}

QJsonObject messageJson(const Message& message)
{
    QJsonObject json;
    json.insert(QStringLiteral("id"), message.id);
    json.insert(QStringLiteral("role"), message.role);
    json.insert(QStringLiteral("content"), message.content);
    return json;
}

QString timestamp(qint64 ms)
{
    return utcTime(ms).toString(Qt::ISODateWithMs);
}

QString fileAddress(DevServer& server, const Job& job, const char* name)
{
    return server.address(QStringLiteral("files/") + job.fileKey + QLatin1Char('/') +
                          QString::fromLatin1(name));
}

QJsonObject jobJson(DevServer& server, const Job& job)
{
    QJsonObject json;
    json.insert(QStringLiteral("id"), job.id);
    json.insert(QStringLiteral("status"), job.status);
    json.insert(QStringLiteral("createdAt"), timestamp(job.createdAt));
    if (!job.mode.isEmpty())
        json.insert(QStringLiteral("mode"), job.mode);
    if (!job.stage.isEmpty())
        json.insert(QStringLiteral("stage"), job.stage);
    if (!job.error.isEmpty())
        json.insert(QStringLiteral("error"), job.error);
    if (job.status != QLatin1String("ready"))
        return json;
    json.insert(QStringLiteral("appName"), job.appName);
    json.insert(QStringLiteral("version"), job.version);
    json.insert(QStringLiteral("iconUrl"), fileAddress(server, job, jobfiles::icon));
    // A source job's app is compiled on the Mac, so it offers the source and nothing built.
    if (jobfiles::isSourceMode(job.mode)) {
        json.insert(QStringLiteral("sourceUrl"), fileAddress(server, job, jobfiles::sourceArchive));
    } else {
        json.insert(QStringLiteral("downloadUrl"), fileAddress(server, job, jobfiles::appArchive));
        json.insert(QStringLiteral("dmgUrl"), fileAddress(server, job, jobfiles::diskImage));
    }
    return json;
}

Project ownedProject(DevServer& server, const QString& userId, const QString& projectId)
{
    const std::optional<Project> project = server.store().project(projectId);
    if (!project || project->userId != userId)
        throw HttpError{StatusCode::NotFound, QStringLiteral("Project not found")};
    return *project;
}

QString requiredText(const QJsonObject& body, const QString& name)
{
    const QString text = stringField(body, name).trimmed();
    if (text.isEmpty())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Field \"%1\" must not be empty").arg(name)};
    return text;
}

QString optionalText(const QJsonObject& body, const QString& name)
{
    const QJsonValue value = body.value(name);
    if (value.isUndefined() || value.isNull())
        return {};
    if (!value.isString())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Field \"%1\" must be a string").arg(name)};
    return value.toString();
}

} // namespace brightloom::devserver
