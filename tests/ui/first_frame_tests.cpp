// The window's first frame comes before any network: the spinner is painted, the TLS library begins
// to load as it is, and only then does the session check begin. The main screen is made while the
// check waits, hidden and asking nothing.

#include "localbuild/local_builds.h"
#include "recording_server.h"
#include "service/api.h"
#include "shell/root_view.h"
#include "task_runner.h"
#include "temp_home.h"
#include "ui/app/auth_view_widget.h"
#include "ui/app/main_view_widget.h"
#include "ui/app/root_view_widget.h"
#include "ui/app/window_screens.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QShowEvent>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>
#include <optional>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

// Notes, as the window is shown and at the spinner's first paint, whether the session check had
// begun, reached the service, and whether the TLS library had begun to load.
class FirstPaintWitness final : public QObject
{
public:
    FirstPaintWitness(RootViewWidget& root, const RecordingServer& server, const API& api)
        : m_root(root), m_server(server), m_api(api)
    {
        root.installEventFilter(this);
        root.spinnerPage()->installEventFilter(this);
    }

    std::optional<bool> tlsBegunAtShow;
    std::optional<bool> checkStartedAtFirstPaint;
    std::optional<qsizetype> requestsAtFirstPaint;
    std::optional<bool> tlsBegunAtFirstPaint;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == &m_root && event->type() == QEvent::Show && !tlsBegunAtShow)
            tlsBegunAtShow = m_api.tlsLoadBegun();
        if (watched == m_root.spinnerPage() && event->type() == QEvent::Paint && !checkStartedAtFirstPaint) {
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
        // A loaded machine may take a while to paint: the check must wait for that frame here.
        root->setFirstFrameAtTheLatest(std::chrono::seconds(30));
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
    QSignalSpy told(root.get(), &RootViewWidget::firstFrameShown);
    FirstPaintWitness witness(*root, server, *api);
    root->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(root.get()));
    ASSERT_TRUE(spinUntil([&] { return witness.checkStartedAtFirstPaint.has_value(); }));
    EXPECT_FALSE(*witness.checkStartedAtFirstPaint);
    EXPECT_EQ(*witness.requestsAtFirstPaint, 0);
    // And then it begins, without anything else happening.
    ASSERT_TRUE(spinUntil([&] { return sessionChecks() == 1; }));
    ASSERT_TRUE(spinUntil([&] { return root->authView() != nullptr; }));
    EXPECT_EQ(told.size(), 1);
    // The frame stopped the wait for a frame that does not come: cut short now, it would fire at once.
    root->setFirstFrameAtTheLatest(std::chrono::milliseconds(0));
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    EXPECT_EQ(told.size(), 1) << "the check begins once";
}

TEST_F(FirstFrameTest, TlsLibraryBeginsToLoadAsTheFirstFrameIsPaintedAndNotBefore)
{
    auto root = makeRoot();
    FirstPaintWitness witness(*root, server, *api);
    root->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(root.get()));
    ASSERT_TRUE(spinUntil([&] { return witness.tlsBegunAtFirstPaint.has_value(); }));
    ASSERT_TRUE(witness.tlsBegunAtShow.has_value());
    EXPECT_FALSE(*witness.tlsBegunAtShow) << "nothing of the network before the frame";
    EXPECT_TRUE(*witness.tlsBegunAtFirstPaint) << "it loads while the frame is drawn";
    EXPECT_FALSE(*witness.checkStartedAtFirstPaint);
    EXPECT_EQ(*witness.requestsAtFirstPaint, 0);
    ASSERT_TRUE(spinUntil([&] { return sessionChecks() == 1; }));
}

TEST_F(FirstFrameTest, WindowThatIsNeverPaintedStillChecksTheSession)
{
    auto root = makeRoot();
    root->setFirstFrameAtTheLatest(std::chrono::milliseconds(250));
    // Told it is shown, as a window started minimised is, but never painted.
    FirstPaintWitness witness(*root, server, *api);
    QSignalSpy told(root.get(), &RootViewWidget::firstFrameShown);
    QShowEvent shown;
    QCoreApplication::sendEvent(root.get(), &shown);
    ASSERT_TRUE(spinUntil([&] { return sessionChecks() == 1; }));
    EXPECT_FALSE(witness.checkStartedAtFirstPaint.has_value()) << "the check began without a frame";
    EXPECT_EQ(told.size(), 1) << "what waited for the frame begins all the same";
}

TEST_F(FirstFrameTest, MainScreenIsMadeWhileTheCheckWaitsAndAsksTheServiceNothingUntilShown)
{
    ScriptedReply session = ScriptedReply::json(200, R"({"user":{}})");
    session.held = true;
    server.on(QStringLiteral("GET /api/auth/get-session"), session);
    server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[]})"));
    auto root = makeRoot();
    root->show();
    ASSERT_TRUE(spinUntil([&] { return root->findChild<MainViewWidget*>() != nullptr; }));
    QPointer<MainViewWidget> prepared = root->findChild<MainViewWidget*>();
    EXPECT_EQ(root->mainView(), nullptr) << "not the main screen before the session holds";
    EXPECT_FALSE(prepared->isVisible());
    EXPECT_EQ(root->model().screen(), RootView::Screen::checking);
    ASSERT_TRUE(spinUntil([&] { return sessionChecks() == 1; }));

    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return root->mainView() != nullptr && root->mainView()->isVisible(); }));
    EXPECT_EQ(root->mainView(), prepared.data()) << "the screen made during the check is the one shown";
    EXPECT_EQ(root->findChildren<MainViewWidget*>().size(), 1);
    // Shown, its parts load: the worker status banner asks the service, after the check and the
    // project list. A request of the hidden screen would have come while the check's answer was held.
    ASSERT_TRUE(
        spinUntil([&] { return !server.requestsTo(QStringLiteral("/api/worker-status")).isEmpty(); }));
    ASSERT_GE(server.requests().size(), 3);
    EXPECT_EQ(server.requests().at(0).path(), QStringLiteral("/api/auth/get-session"));
    EXPECT_EQ(server.requests().at(1).path(), QStringLiteral("/api/projects"));
}

TEST_F(FirstFrameTest, MainScreenMadeDuringTheCheckIsDroppedWhenTheSessionHasEnded)
{
    ScriptedReply session = ScriptedReply::json(200, "null");
    session.held = true;
    server.on(QStringLiteral("GET /api/auth/get-session"), session);
    auto root = makeRoot();
    root->show();
    ASSERT_TRUE(spinUntil([&] { return root->findChild<MainViewWidget*>() != nullptr; }));
    QPointer<MainViewWidget> prepared = root->findChild<MainViewWidget*>();

    ASSERT_TRUE(spinUntil([&] { return sessionChecks() == 1; }));
    server.releaseHeld();
    ASSERT_TRUE(spinUntil([&] { return root->authView() != nullptr && root->authView()->isVisible(); }));
    ASSERT_TRUE(spinUntil([&] { return prepared.isNull(); }));
    EXPECT_EQ(root->mainView(), nullptr);
    EXPECT_EQ(root->findChildren<MainViewWidget*>().size(), 0);
    EXPECT_EQ(server.requests().size(), 1) << "only the session check";
}
