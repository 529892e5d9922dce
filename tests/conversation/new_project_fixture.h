#pragma once

// The new project screen's model against a scripted service over HTTPS: creating a project answers
// "p-new" (or what the test scripts), and the project list reloads. The screen's settings start at
// their defaults; the developer tools are the stand-ins unless a test takes them away.

#include "conversation/new_project_view.h"
#include "localbuild/local_builds.h"
#include "platform/settings.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "scripted_dialogs.h"
#include "service/api.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace brightloom::test {

inline const QString linkPrompt =
    QStringLiteral("  Turn https://github.com/octo/Pomodoro/tree/main into a menu bar app\n");
inline const QString linkRequest =
    QStringLiteral("Turn https://github.com/octo/Pomodoro/tree/main into a menu bar app");
inline const QString compileAlertText = QStringLiteral(
    "Brightloom writes the app's code in the cloud. Your Mac then builds it with Xcode (swift build) and "
    "signs "
    "it ad hoc. Package.swift is checked first, but the app's own code is not reviewed. It runs with your "
    "user's permissions when you open it, so only build apps you trust.");
inline const QString standInVersion = QStringLiteral("swift-driver version: 1.90.11 (stand-in)");

inline QJsonObject object(std::initializer_list<QPair<QString, QJsonValue>> fields)
{
    QJsonObject o;
    for (const auto& field : fields)
        o.insert(field.first, field.second);
    return o;
}

class NewProjectViewTest : public ::testing::Test
{
protected:
    NewProjectViewTest() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        resetSettings();
        api = std::make_unique<API>();
        server.setHandler([this](const RecordedRequest& request) {
            if (request.method == "POST" && request.path() == QLatin1String("/api/projects"))
                return createReply;
            if (request.method == "GET" && request.path() == QLatin1String("/api/projects"))
                return ScriptedReply::json(200, R"({"projects":[{"id":"p-new","name":"Pomodoro"}]})");
            return ScriptedReply::json(404, R"({"message":"Not found"})");
        });
    }
    ~NewProjectViewTest() override { resetSettings(); }

    static void resetSettings()
    {
        auto settings = Settings::store();
        settings->remove(Settings::buildLocationKey);
        settings->remove(Settings::localBuildAcknowledgedKey);
    }

    std::unique_ptr<NewProjectView> makeView()
    {
        return std::make_unique<NewProjectView>(*api, local, dialogs, [this](QString id) {
            created.append(id);
            busyWhenCreated = currentView && currentView->busy();
        });
    }

    // Runs build() and waits until the creation, if one started, has ended.
    void build(NewProjectView& view)
    {
        currentView = &view;
        view.build();
        ASSERT_TRUE(spinUntil([&] { return !view.busy(); }));
    }

    void waitForCheck(NewProjectView& view)
    {
        ASSERT_TRUE(spinUntil([&] { return !view.checkingToolchain(); }));
    }

    // A tools folder without any developer tool.
    void removeToolchain() { home.setEnv("BRIGHTLOOM_TOOLS_DIR", emptyTools.path().toUtf8()); }

    QList<QJsonObject> createBodies() const
    {
        QList<QJsonObject> bodies;
        for (const RecordedRequest& request : server.requestsTo(QStringLiteral("/api/projects"))) {
            if (request.method == "POST")
                bodies.append(QJsonDocument::fromJson(request.body).object());
        }
        return bodies;
    }

    TempHome home;
    RecordingServer server;
    QTemporaryDir emptyTools;
    ScriptedReply createReply = ScriptedReply::json(200, R"({"id":"p-new"})");
    std::unique_ptr<API> api;
    LocalBuilds local;
    ScriptedDialogs dialogs;
    QStringList created;
    bool busyWhenCreated = false;
    NewProjectView* currentView = nullptr;
};

} // namespace brightloom::test
