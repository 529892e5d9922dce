#include "signed_in_client.h"

#include "service/api.h"
#include "task_runner.h"

namespace brightloom::test {

SignedInClient::SignedInClient()
{
    home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[]})"));
    server.on(QStringLiteral("POST /api/auth/sign-in/email"), ScriptedReply::json(200, R"({"user":{}})"));
    server.on(QStringLiteral("POST /api/auth/sign-out"), ScriptedReply::json(200, "{}"));
    api = std::make_unique<API>();
    run(api->signIn(QStringLiteral("a@b.c"), QStringLiteral("pw")));
}

SignedInClient::~SignedInClient() = default;

bool SignedInClient::signedIn() const
{
    return api->signedIn();
}

} // namespace brightloom::test
