#include "recording_server.h"
#include "service/api.h"
#include "service/api_error.h"
#include "service/web_sign_in.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

QString tokenOrError(const QString& callback)
{
    try {
        return WebSignIn::tokenFromCallback(callback);
    } catch (const APIError& e) {
        return QStringLiteral("error: ") + e.message();
    }
}

// A sign-in page that completes at once with a scripted outcome and remembers what it was shown.
class ScriptedPage final : public SignInPage
{
public:
    explicit ScriptedPage(Outcome outcome) : m_outcome(std::move(outcome)) {}
    QCoro::Task<Outcome> show(QUrl page) override
    {
        shown = page;
        co_return m_outcome;
    }
    QUrl shown;

private:
    Outcome m_outcome;
};

SignInPage::Outcome outcome(SignInPage::Outcome::Kind kind, const QString& text = {})
{
    SignInPage::Outcome o;
    o.kind = kind;
    o.callback = text;
    o.error = text;
    return o;
}

} // namespace

TEST(WebSignIn, CallbackWithTokenTwiceUsesTheFirst)
{
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback?token=first&token=second")),
              QStringLiteral("first"));
}

TEST(WebSignIn, TokenIsFoundAmongOtherQueryItemsAndPercentDecoded)
{
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback?state=x&token=a%2Bb%20c&z")),
              QStringLiteral("a+b c"));
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback?token=a+b")), QStringLiteral("a+b"));
}

TEST(WebSignIn, CallbackWithoutAUsableTokenDidNotComplete)
{
    const QString incomplete = QStringLiteral("error: Sign-in did not complete.");
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback")), incomplete);
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback?")), incomplete);
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback?code=1")), incomplete);
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback?token")), incomplete);
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback?token&token=late")), incomplete);
    EXPECT_EQ(tokenOrError(QStringLiteral("")), incomplete);
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://call back?token=x y")), incomplete);
}

TEST(WebSignIn, TokenItemWithAnEmptyValueStillHasAValue)
{
    EXPECT_EQ(tokenOrError(QStringLiteral("brightloom://callback?token=&token=b")), QString());
}

TEST(WebSignIn, PageThatCannotStartFailsWithCouldNotOpen)
{
    ScriptedPage page(outcome(SignInPage::Outcome::CouldNotStart));
    EXPECT_EQ(run(WebSignIn::run(QUrl(QStringLiteral("https://x.test/native-sign-in")), &page)).errorText(),
              QStringLiteral("Could not open the sign-in window."));
    EXPECT_EQ(run(WebSignIn::run(QUrl(QStringLiteral("https://x.test/native-sign-in")), nullptr)).errorText(),
              QStringLiteral("Could not open the sign-in window."));
}

TEST(WebSignIn, ClosedPageIsCancelled)
{
    ScriptedPage page(outcome(SignInPage::Outcome::Cancelled));
    EXPECT_EQ(run(WebSignIn::run(QUrl(QStringLiteral("https://x.test/")), &page)).errorText(),
              QStringLiteral("Sign-in cancelled."));
}

TEST(WebSignIn, OtherFailureShowsItsOwnDescription)
{
    ScriptedPage page(outcome(SignInPage::Outcome::Failed, QStringLiteral("The browser crashed.")));
    EXPECT_EQ(run(WebSignIn::run(QUrl(QStringLiteral("https://x.test/")), &page)).errorText(),
              QStringLiteral("The browser crashed."));
}

TEST(WebSignIn, BrowserSignInShowsTheServicePageVerifiesTheTokenAndLoadsProjects)
{
    TempHome home;
    RecordingServer server;
    home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
    server.on(QStringLiteral("POST /api/auth/one-time-token/verify"),
              ScriptedReply::json(200, R"({"user":{}})"));
    server.on(QStringLiteral("GET /api/projects"),
              ScriptedReply::json(200, R"({"projects":[{"id":"a","name":"A"}]})"));
    ScriptedPage page(
        outcome(SignInPage::Outcome::Callback, QStringLiteral("brightloom://callback?token=ott-1")));
    API api;
    api.setSignInPage(&page);
    const auto result = run(api.signInWithGoogle());
    ASSERT_TRUE(result.ok()) << result.errorText().toStdString();
    EXPECT_EQ(page.shown, QUrl(server.baseUrl().toString() + QStringLiteral("native-sign-in")));
    const auto verify = server.requestsTo(QStringLiteral("/api/auth/one-time-token/verify"));
    ASSERT_EQ(verify.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(verify[0].body).object().value(QStringLiteral("token")).toString(),
              QStringLiteral("ott-1"));
    EXPECT_TRUE(api.signedIn());
    EXPECT_EQ(api.projects().size(), 1);
}

TEST(WebSignIn, RejectedTokenFailsWithTheServiceTextAndStaysSignedOut)
{
    TempHome home;
    RecordingServer server;
    home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
    server.on(QStringLiteral("POST /api/auth/one-time-token/verify"),
              ScriptedReply::json(400, R"({"message":"Invalid or expired token"})"));
    ScriptedPage page(
        outcome(SignInPage::Outcome::Callback, QStringLiteral("brightloom://callback?token=old")));
    API api;
    api.setSignInPage(&page);
    EXPECT_EQ(run(api.signInWithGoogle()).errorText(), QStringLiteral("Invalid or expired token"));
    EXPECT_FALSE(api.signedIn());
}

TEST(WebSignIn, CancelledBrowserSignInSendsNothing)
{
    TempHome home;
    RecordingServer server;
    home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
    ScriptedPage page(outcome(SignInPage::Outcome::Cancelled));
    API api;
    api.setSignInPage(&page);
    EXPECT_EQ(run(api.signInWithGoogle()).errorText(), QStringLiteral("Sign-in cancelled."));
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_FALSE(api.signedIn());
}
