#pragma once

// Replies of the library's service paths, built in tests, and a scripted HTTPS service to answer
// them: the models and widgets of the library are tested against exact replies this way.

#include "recording_server.h"
#include "temp_home.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <gtest/gtest.h>
#include <optional>

namespace brightloom::test {

struct VersionSpec
{
    QString jobId;
    QString version;
    QString appName = QStringLiteral("Focus");
    std::optional<QString> summary;
    bool dmg = true;
    bool hasSource = true;
};

QJsonObject versionJson(const VersionSpec& spec, const QUrl& base);
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

// A scripted service over HTTPS, trusted through BRIGHTLOOM_CA_FILE, in a fresh home.
class ScriptedServiceTest : public ::testing::Test
{
protected:
    ScriptedServiceTest();

    QUrl base() const { return server.baseUrl(); }
    int requestsTo(const QString& path) const { return int(server.requestsTo(path).size()); }

    TempHome home;
    RecordingServer server;
};

} // namespace brightloom::test
