#pragma once

// The command line against a scripted HTTPS service: a signed-in session for the cookie it sets, the
// project list, and 401 without that cookie.

#include "child_process.h"
#include "qt_printers.h"
#include "recording_server.h"
#include "temp_home.h"

#include <gtest/gtest.h>

namespace brightloom::test {

inline const QByteArray projectsReply =
    R"({"projects":[{"id":"p1","name":"Timer"},{"id":"p2","name":"Imported","unsafe":true},{"id":"p3","name":"Safe","unsafe":false}]})";

inline ScriptedReply withCookie(ScriptedReply reply, const QByteArray& cookie)
{
    reply.headers.append(qMakePair(QByteArray("Set-Cookie"), cookie));
    return reply;
}

// The command line against a scripted HTTPS service whose certificate is trusted only through
// BRIGHTLOOM_CA_FILE.
class CliTest : public ::testing::Test
{
protected:
    CliTest() : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
        server.on(QStringLiteral("POST /api/auth/sign-in/email"),
                  withCookie(ScriptedReply::json(200, R"({"user":{}})"),
                             "brightloom.session_token=tok-SECRET; Path=/; HttpOnly; Secure; Max-Age=3600"));
        server.setHandler([this](const RecordedRequest& request) -> ScriptedReply {
            if (request.path() == QLatin1String("/api/projects") &&
                request.header("Cookie") != QByteArray("brightloom.session_token=tok-SECRET"))
                return ScriptedReply::json(401, R"({"message":"Unauthorized"})");
            if (request.path() == QLatin1String("/api/projects"))
                return ScriptedReply::json(200, projectsReply);
            if (request.path() == QLatin1String("/api/auth/sign-in/email"))
                return signInReply;
            if (request.path() == QLatin1String("/api/projects/p1"))
                return detailReply;
            if (request.path() == QLatin1String("/api/auth/get-session"))
                return ScriptedReply::json(200,
                                           request.hasHeader("Cookie") ? R"({"user":{"id":"u"}})" : "null");
            if (request.path() == QLatin1String("/api/auth/one-time-token/verify"))
                return signInReply;
            if (request.path() == QLatin1String("/api/auth/sign-out"))
                return withCookie(ScriptedReply::json(200, "{}"),
                                  "brightloom.session_token=; Path=/; Max-Age=0");
            return ScriptedReply::json(404, R"({"message":"Not found"})");
        });
    }

    TempHome home;
    RecordingServer server;
    ScriptedReply detailReply = ScriptedReply::json(404, R"({"message":"Not found"})");
    ScriptedReply signInReply =
        withCookie(ScriptedReply::json(200, R"({"user":{}})"),
                   "brightloom.session_token=tok-SECRET; Path=/; HttpOnly; Secure; Max-Age=3600");
};

} // namespace brightloom::test
