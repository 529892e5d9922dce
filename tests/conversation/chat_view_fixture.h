// A conversation's screen model over a scripted HTTPS service, shared by its tests.
#pragma once

#include "conversation/chat_view.h"
#include "hand_clock.h"
#include "localbuild/local_builds.h"
#include "qt_printers.h"
#include "recording_desktop.h"
#include "recording_server.h"
#include "service/api.h"
#include "source_package.h"
#include "task_runner.h"
#include "temp_home.h"
#include "zip_maker.h"

#include <QDateTime>
#include <QFuture>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPromise>
#include <QSignalSpy>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <memory>
#include <qcoro/qcorofuture.h>

namespace brightloom::test {

inline QJsonObject job(const QString& id, const QString& status, const QString& mode = {},
                       const QString& stage = {})
{
    QJsonObject o{{QStringLiteral("id"), id}, {QStringLiteral("status"), status}};
    if (!mode.isEmpty())
        o.insert(QStringLiteral("mode"), mode);
    if (!stage.isEmpty())
        o.insert(QStringLiteral("stage"), stage);
    return o;
}

// Starts the screen polling on a clock the test moves, and waits for its first wait to begin.
inline std::shared_ptr<HandClock> pollOnHandClock(ChatView& view)
{
    const auto clock = std::make_shared<HandClock>();
    view.setPollWait(waitsOn(clock));
    view.startPolling();
    spinUntil([&] { return clock->waits.size() == 1; });
    return clock;
}

// A service over HTTPS whose project detail the test rewrites between refreshes. Source jobs are
// built by the real local build with the stand-in developer tools.
class ChatViewTest : public ::testing::Test
{
protected:
    ChatViewTest() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
        server.setHandler([this](const RecordedRequest& request) {
            if (request.method == "GET" && request.path() == QLatin1String("/api/projects/p1")) {
                if (detailFails)
                    return ScriptedReply::json(500, R"({"message":"Down for maintenance"})");
                QJsonObject detail{{QStringLiteral("project"),
                                    QJsonObject{{QStringLiteral("id"), QStringLiteral("p1")},
                                                {QStringLiteral("name"), QStringLiteral("Notes")}}},
                                   {QStringLiteral("messages"), messages},
                                   {QStringLiteral("jobs"), jobs}};
                return ScriptedReply::json(200, QJsonDocument(detail).toJson(QJsonDocument::Compact));
            }
            if (request.method == "POST" && request.path() == QLatin1String("/api/projects/p1/messages"))
                return sendReply;
            if (files.contains(request.path()))
                return files.value(request.path());
            if (request.path().startsWith(QLatin1String("/files/")))
                return fileReply;
            return ScriptedReply::json(404, R"({"message":"Not found"})");
        });
    }

    Project project() const { return Project{QStringLiteral("p1"), QStringLiteral("Notes"), std::nullopt}; }

    void refresh(ChatView& view)
    {
        const auto done = run(view.refresh());
        ASSERT_TRUE(done.ok()) << done.errorText().toStdString();
    }

    QString url(const QString& path) const { return server.baseUrl().toString() + path; }

    // Serves a source archive of a small app whose code compiles, or fails to when `broken`.
    QString serveSource(const QString& name, bool broken = false)
    {
        const QByteArray code = broken ? QByteArray("#error(\"no body\")\n") : compilingSwift;
        const ScriptedReply reply = ScriptedReply::archive(sourcePackage(code, "Notes").zip());
        files.insert(QStringLiteral("/files/") + name, reply);
        return url(QStringLiteral("files/") + name);
    }

    int fetches(const QString& name) const
    {
        return server.requestsTo(QStringLiteral("/files/") + name).size();
    }

    int detailRequests() const { return server.requestsTo(QStringLiteral("/api/projects/p1")).size(); }
    int sendRequests() const { return server.requestsTo(QStringLiteral("/api/projects/p1/messages")).size(); }

    TempHome home;
    RecordingServer server;
    QJsonArray jobs;
    QJsonArray messages;
    bool detailFails = false;
    ScriptedReply sendReply = ScriptedReply::json(200, "{}");
    ScriptedReply fileReply = ScriptedReply::json(404, "{}");
    QHash<QString, ScriptedReply> files;
    RecordingDesktop desktop;
};

} // namespace brightloom::test
