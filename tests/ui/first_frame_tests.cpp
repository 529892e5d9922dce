// The window's first frame comes before any network: the spinner is painted, and only then do the
// session check and the TLS library's load begin.

#include "localbuild/local_builds.h"
#include "recording_server.h"
#include "service/api.h"
#include "shell/root_view.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/app/root_view_widget.h"
#include "ui/app/window_screens.h"

#include <QCoreApplication>
#include <QEvent>
#include <QShowEvent>
#include <QTest>
#include <gtest/gtest.h>
#include <optional>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

// Notes, at the spinner's first paint, whether the session check had begun and reached the service.
class FirstPaintWitness final : public QObject
{
public:
    FirstPaintWitness(RootViewWidget& root, const RecordingServer& server, const API& api)
        : m_root(root), m_server(server), m_api(api)
    {
        root.spinnerPage()->installEventFilter(this);
    }

    std::optional<bool> checkStartedAtFirstPaint;
    std::optional<qsizetype> requestsAtFirstPaint;
    std::optional<bool> tlsBegunAtFirstPaint;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && !checkStartedAtFirstPaint) {
            checkStartedAtFirstPaint = m_root.model().started();
            requestsAtFirstPaint = m_server.requests().size();
            tlsBegunAtFirstPaint = m_api.tlsLoadBegun();
        }
        return false;
    }

private:
    RootViewWidget& m_root;
    const RecordingServer& m_server;
    const API& m_api;
};

struct FirstFrameTest : ::testing::Test
{
    TempHome home;
    RecordingServer server;
    std::unique_ptr<API> api;
    std::unique_ptr<LocalBuilds> local;

    void SetUp() override
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        server.on(QStringLiteral("GET /api/auth/get-session"), ScriptedReply::json(200, "null"));
        api = std::make_unique<API>();
        local = std::make_unique<LocalBuilds>();
    }

    std::unique_ptr<RootViewWidget> makeRoot()
    {
        auto root = std::unique_ptr<RootViewWidget>(rootScreen(*api, shellScreens(*api, *local, nullptr)));
        root->resize(800, 600);
        return root;
    }

    qsizetype sessionChecks() const
    {
        return server.requestsTo(QStringLiteral("/api/auth/get-session")).size();
    }
};

} // namespace

TEST_F(FirstFrameTest, SpinnerIsPaintedBeforeTheSessionCheckBegins)
{
    auto root = makeRoot();
    FirstPaintWitness witness(*root, server, *api);
    root->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(root.get()));
    ASSERT_TRUE(spinUntil([&] { return witness.checkStartedAtFirstPaint.has_value(); }));
    EXPECT_FALSE(*witness.checkStartedAtFirstPaint);
    EXPECT_EQ(*witness.requestsAtFirstPaint, 0);
    // And then it begins, without anything else happening.
    ASSERT_TRUE(spinUntil([&] { return sessionChecks() == 1; }));
    ASSERT_TRUE(spinUntil([&] { return root->authView() != nullptr; }));
}

TEST_F(FirstFrameTest, TlsLibraryBeginsToLoadOnlyAfterTheFirstFrame)
{
    auto root = makeRoot();
    FirstPaintWitness witness(*root, server, *api);
    root->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(root.get()));
    ASSERT_TRUE(spinUntil([&] { return witness.tlsBegunAtFirstPaint.has_value(); }));
    EXPECT_FALSE(*witness.tlsBegunAtFirstPaint);
    // The session check's request begins it.
    ASSERT_TRUE(spinUntil([&] { return sessionChecks() == 1; }));
    EXPECT_TRUE(api->tlsLoadBegun());
}

TEST_F(FirstFrameTest, WindowThatIsNeverPaintedStillChecksTheSession)
{
    auto root = makeRoot();
    // Told it is shown, as a window started minimised is, but never painted.
    FirstPaintWitness witness(*root, server, *api);
    QShowEvent shown;
    QCoreApplication::sendEvent(root.get(), &shown);
    ASSERT_TRUE(spinUntil([&] { return sessionChecks() == 1; }));
    EXPECT_FALSE(witness.checkStartedAtFirstPaint.has_value()) << "the check began without a frame";
}
