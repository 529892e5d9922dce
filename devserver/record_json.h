#pragma once

// The service's records as the client reads them, built from what the store holds. Optional
// fields are left out rather than sent as null.

#include "store.h"

#include <QJsonObject>
#include <QString>

namespace brightloom::devserver {

class DevServer;

QJsonObject projectJson(const Project& project);
QJsonObject messageJson(const Message& message);
QJsonObject jobJson(DevServer& server, const Job& job);

// Milliseconds since the epoch as ISO 8601 in UTC with milliseconds, e.g. "2026-05-01T09:30:00.250Z".
QString timestamp(qint64 ms);

// Where one of a finished job's files is served.
QString fileAddress(DevServer& server, const Job& job, const char* name);

// The signed-in user's project, or HttpError 404 "Project not found" (also for someone else's).
Project ownedProject(DevServer& server, const QString& userId, const QString& projectId);

// A non-empty trimmed string member, or HttpError 400 naming it.
QString requiredText(const QJsonObject& body, const QString& name);
// An optional string member: absent and null give "", any other type is HttpError 400.
QString optionalText(const QJsonObject& body, const QString& name);

} // namespace brightloom::devserver
