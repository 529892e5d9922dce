#pragma once

// Replies of the library's service paths, built in tests, and a scripted HTTPS service to answer
// them: the models and widgets of the library are tested against exact replies this way.

#include "recording_server.h"
#include "temp_home.h"

#include <QByteArray>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <gtest/gtest.h>
#include <optional>

namespace brightloom::test {

struct VersionFields
{
    QString jobId;
    QString version;
    QString appName = QStringLiteral("Focus");
    std::optional<QString> summary;
    bool dmg = true;
    bool hasSource = true;
};

QJsonObject versionJson(const VersionFields& fields, const QUrl& base);
QJsonObject appJson(const QString& projectId, const QString& name, const QJsonArray& versions);
QJsonObject nodeJson(const QString& jobId, const QString& version, const QString& prompt,
                     const std::optional<QString>& summary = std::nullopt, const QJsonArray& forks = {},
                     int hiddenForks = 0, bool hasSource = true);
QJsonObject forkJson(const QString& projectId, const QString& name, bool mine, const QJsonArray& nodes);
QJsonObject detailJson(const QJsonObject& app, const QJsonArray& tree, bool canTemplate = true,
                       const std::optional<QJsonObject>& origin = std::nullopt);
QByteArray compact(const QJsonObject& object);

// A detail whose tree is `levels` levels of version → fork → version …, written as text so that
// nothing recursive builds or reads it here.
QByteArray deepTreeDetail(int levels);

// The GitHub paths of project "p1" as the service answers them: linking makes the panel linked,
// unlinking takes the link away, a push makes the link up to date. Tests set the panel (absent: the
// panel fails) and the replies of the repository list, of linking and of pushing.
class ScriptedGithub
{
public:
    static QJsonObject readyPanel(bool linked = false);

    // The reply to `request` when it is one of the GitHub paths.
    std::optional<ScriptedReply> answer(const RecordedRequest& request);

    std::optional<QJsonObject> panel = readyPanel();
    ScriptedReply reposReply = ScriptedReply::json(
        200, R"({"repos":[{"fullName":"demo/brightloom-apps"},{"fullName":"demo/website"}]})");
    ScriptedReply linkReply = ScriptedReply::json(200, "{}");
    ScriptedReply pushReply = ScriptedReply::json(
        200, R"({"changed":true,"version":"1.1","commitUrl":"https://github.com/demo/website/commit/abc"})");
};

// Makes this process trust the tests' certificate, whatever its earlier tests did.
void trustTestCertificate();

// A scripted service over HTTPS, trusted through BRIGHTLOOM_CA_FILE, in a fresh home: the GitHub
// paths of project "p1", then the routes the test sets.
class ScriptedServiceTest : public ::testing::Test
{
protected:
    ScriptedServiceTest();

    // Answers "METHOD /path" with `reply`.
    void on(const QString& route, ScriptedReply reply) { routes.insert(route, std::move(reply)); }
    // Answers GET of `path` (relative) with `reply`.
    void offer(const QString& path, ScriptedReply reply)
    {
        on(QStringLiteral("GET /") + path, std::move(reply));
    }

    QUrl base() const { return server.baseUrl(); }
    int requestsTo(const QString& path) const { return int(server.requestsTo(path).size()); }

    TempHome home;
    RecordingServer server;
    ScriptedGithub github;
    QHash<QString, ScriptedReply> routes;
};

} // namespace brightloom::test
