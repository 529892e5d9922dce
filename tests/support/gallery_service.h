#pragma once

// The gallery's side of the service on a RecordingServer: the list of apps, the user's favorites,
// marking a favorite, copying a template, the project list that follows, and the apps' icons. Tests
// change its answers between steps and read back what reached it.

#include "recording_server.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

namespace brightloom::test {

struct GalleryEntry
{
    QString slug;
    QString name;
    QString tagline;
    bool starred = false;
    bool withTemplate = true; // "templateJobId" is "job-" + slug
    int favorites = 0;
};

// The app record as the service sends it; its icon is "icons/<slug>.png", relative to the service.
QJsonObject galleryRecord(const GalleryEntry& entry);
// `count` apps named "App 1", "App 2", …, every fifth starred, every third without a template.
QList<GalleryEntry> manyGalleryApps(int count);
// A small PNG icon.
QByteArray iconPng(int side = 64);

class GalleryService
{
public:
    // Takes over the server's handler.
    explicit GalleryService(RecordingServer& server);

    QList<GalleryEntry> apps;
    QStringList favorites;
    ScriptedReply favoriteReply = ScriptedReply::json(200, "{}");
    ScriptedReply forkReply = ScriptedReply::json(200, R"({"projectId":"p-fork"})");
    ScriptedReply createReply = ScriptedReply::json(200, R"({"id":"p-new"})");
    bool listsHeld = false; // both lists answer only when the server releases its held replies

    int iconRequests() const;
    QList<RecordedRequest> favoriteRequests() const;
    QList<RecordedRequest> forkRequests() const;
    QList<QJsonObject> createBodies() const;

private:
    ScriptedReply answer(const RecordedRequest& request) const;

    RecordingServer& m_server;
    QByteArray m_icon;
};

} // namespace brightloom::test
