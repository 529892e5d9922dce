#include "qt_printers.h"
#include "recording_server.h"
#include "service/api.h"
#include "task_runner.h"
#include "teardown_probe.h"
#include "temp_home.h"
#include "ui/app/browser_sign_in_page.h"
#include "ui/desktop/single_instance.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFileOpenEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

struct SingleInstanceTest : ::testing::Test
{
    QTemporaryDir runtime;
    QString socket() const { return runtime.filePath(QStringLiteral("brightloom.socket")); }

    // Starts the real window program as the desktop would a second time, with `arguments`, in this
    // test's runtime folder; false when it did not end on its own.
    bool startSecondProgram(QProcess& second, const QStringList& arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        second.setProcessEnvironment(environment);
        second.start(QStringLiteral(BRIGHTLOOM_WINDOW_PATH), arguments);
        // A second window would keep running; the start that hands over ends on its own.
        return spinUntil([&] { return second.state() == QProcess::NotRunning; }, std::chrono::seconds(30));
    }
};

// Speaks to the running instance as a second start does, from this process: the request line, then
// the answer, while this process's event loop serves the instance's side.
bool forwardAsASecondStart(const QString& socketPath, const QString& callback)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(2000))
        return false;
    socket.write(callback.isEmpty() ? QByteArray("raise\n")
                                    : QByteArray("callback ") + callback.toUtf8() + '\n');
    socket.flush();
    return spinUntil([&] { return socket.canReadLine(); }, std::chrono::seconds(5)) &&
           socket.readLine().trimmed() == "ok";
}

} // namespace

TEST_F(SingleInstanceTest, FirstStartListensAndASecondStartHandsItsCallbackOver)
{
    SingleInstance first(socket());
    ASSERT_TRUE(first.listen());
    QSignalSpy callbacks(&first, &SingleInstance::callbackReceived);
    QSignalSpy raised(&first, &SingleInstance::raiseRequested);
    ASSERT_TRUE(forwardAsASecondStart(socket(), QStringLiteral("brightloom://callback?token=abc")));
    ASSERT_TRUE(spinUntil([&] { return callbacks.count() == 1; }));
    EXPECT_EQ(callbacks.front().front().toString(), QStringLiteral("brightloom://callback?token=abc"));
    EXPECT_EQ(raised.count(), 1);
}

TEST_F(SingleInstanceTest, SecondProgramStartedWithTheCallbackHandsItOverAndExits)
{
    SingleInstance first(socket());
    ASSERT_TRUE(first.listen());
    QSignalSpy callbacks(&first, &SingleInstance::callbackReceived);
    QProcess second;
    ASSERT_TRUE(startSecondProgram(second, {QStringLiteral("brightloom://callback?token=xyz")}));
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0);
    ASSERT_TRUE(spinUntil([&] { return callbacks.count() == 1; }));
    EXPECT_EQ(callbacks.front().front().toString(), QStringLiteral("brightloom://callback?token=xyz"));
}

TEST_F(SingleInstanceTest, SecondProgramStartedPlainRaisesTheFirstAndExits)
{
    SingleInstance first(socket());
    ASSERT_TRUE(first.listen());
    QSignalSpy raised(&first, &SingleInstance::raiseRequested);
    QSignalSpy callbacks(&first, &SingleInstance::callbackReceived);
    QProcess second;
    ASSERT_TRUE(startSecondProgram(second, QStringList()));
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    ASSERT_TRUE(spinUntil([&] { return raised.count() == 1; }));
    EXPECT_EQ(callbacks.count(), 0);
}

TEST_F(SingleInstanceTest, WindowThatQuitsTakesItsSocketAwayAndSkipsTheLibrariesTeardown)
{
    // The window destroys what it made, its socket included, and then ends without the libraries'
    // teardown, which raced the network threads' last steps.
    TempHome home;
    preloadTeardownProbe(home);
    QProcessEnvironment environment = home.environment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("BRIGHTLOOM_QUIT_AFTER_FIRST_FRAME"), QStringLiteral("1"));
    // Nothing answers there: the session check fails at once and the sign-in screen is painted.
    environment.insert(QStringLiteral("BRIGHTLOOM_URL"), QStringLiteral("http://127.0.0.1:9/"));
    QProcess window;
    window.setProcessEnvironment(environment);
    window.start(QStringLiteral(BRIGHTLOOM_WINDOW_PATH));
    ASSERT_TRUE(spinUntil([&] { return window.state() == QProcess::NotRunning; }, std::chrono::seconds(30)));
    const QString err = QString::fromUtf8(window.readAllStandardError());
    EXPECT_EQ(window.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(window.exitCode(), 0) << err.toStdString();
    EXPECT_TRUE(window.readAllStandardOutput().startsWith("first frame at ")); // it ran, and listened
    EXPECT_FALSE(err.contains(teardownProbeSays)) << err.toStdString();
    EXPECT_FALSE(QFile::exists(socket()));
}

TEST_F(SingleInstanceTest, WindowEndedByTermOrInterruptEndsAsQuitDoesAndTakesItsSocketAway)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        TempHome home;
        preloadTeardownProbe(home);
        QProcessEnvironment environment = home.environment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("BRIGHTLOOM_URL"), QStringLiteral("http://127.0.0.1:9/"));
        QProcess window;
        window.setProcessEnvironment(environment);
        window.start(QStringLiteral(BRIGHTLOOM_WINDOW_PATH));
        // Listening means it is past its start and runs its event loop.
        ASSERT_TRUE(spinUntil([&] { return QFile::exists(socket()); }, std::chrono::seconds(30)));
        ASSERT_EQ(::kill(pid_t(window.processId()), signal), 0);
        ASSERT_TRUE(
            spinUntil([&] { return window.state() == QProcess::NotRunning; }, std::chrono::seconds(30)));
        const QString err = QString::fromUtf8(window.readAllStandardError());
        EXPECT_EQ(window.exitStatus(), QProcess::NormalExit) << signal;
        EXPECT_EQ(window.exitCode(), 0) << err.toStdString();
        EXPECT_FALSE(err.contains(teardownProbeSays)) << "it ended through endProcess, as Quit does";
        EXPECT_FALSE(QFile::exists(socket())) << signal;
    }
}

TEST_F(SingleInstanceTest, PlainSecondStartRaisesTheRunningWindowInsteadOfOpeningAnother)
{
    SingleInstance first(socket());
    ASSERT_TRUE(first.listen());
    SingleInstance second(socket());
    EXPECT_FALSE(second.listen()); // never two windows
    QSignalSpy raised(&first, &SingleInstance::raiseRequested);
    ASSERT_TRUE(forwardAsASecondStart(socket(), QString()));
    ASSERT_TRUE(spinUntil([&] { return raised.count() == 1; }));
}

TEST_F(SingleInstanceTest, StaleSocketOfACrashedRunIsReplaced)
{
    // A socket file nobody listens on any more, as a killed process leaves it behind.
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(socket());
    std::memcpy(address.sun_path, path.constData(),
                std::min<std::size_t>(path.size(), sizeof(address.sun_path) - 1));
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(fd);
    ASSERT_TRUE(QFile::exists(socket()));
    SingleInstance next(socket());
    EXPECT_FALSE(next.forward(QString(), 500)); // nobody answers there
    ASSERT_TRUE(next.listen());
    QSignalSpy raised(&next, &SingleInstance::raiseRequested);
    ASSERT_TRUE(forwardAsASecondStart(socket(), QString()));
    ASSERT_TRUE(spinUntil([&] { return raised.count() == 1; }));
}

TEST_F(SingleInstanceTest, AddressOfAnotherSchemeOrJunkIsDropped)
{
    SingleInstance first(socket());
    ASSERT_TRUE(first.listen());
    QSignalSpy callbacks(&first, &SingleInstance::callbackReceived);
    ASSERT_TRUE(forwardAsASecondStart(socket(), QStringLiteral("https://evil.example/?token=x")));
    QLocalSocket junk;
    junk.connectToServer(socket());
    ASSERT_TRUE(junk.waitForConnected(2000));
    junk.write(QByteArray(64 * 1024, 'x'));
    junk.flush();
    spinUntil([&] { return junk.state() == QLocalSocket::UnconnectedState; }, std::chrono::seconds(5));
    EXPECT_EQ(junk.state(), QLocalSocket::UnconnectedState);
    EXPECT_EQ(callbacks.count(), 0);
}

namespace {

struct BrowserSignInTest : SingleInstanceTest
{
    TempHome home;
    RecordingServer server;
    std::unique_ptr<API> api;
    QWidget window;
    QList<QUrl> opened;

    void SetUp() override
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        server.on(QStringLiteral("POST /api/auth/one-time-token/verify"),
                  ScriptedReply::json(200, R"({"user":{}})"));
        server.on(QStringLiteral("GET /api/projects"), ScriptedReply::json(200, R"({"projects":[]})"));
        api = std::make_unique<API>();
        window.show();
    }

    // Starts a sign-in in the browser; `signIn` says how it ended once it has.
    void startSignIn()
    {
        signingIn = [](API& client, Outcome<void>& out) -> QCoro::Task<> {
            try {
                co_await client.signInWithGoogle();
                out.value = true;
            } catch (...) {
                out.error = std::current_exception();
            }
            out.finished = true;
        }(*api, signIn);
    }

    // The desktop of a Mac hands the address to the running application.
    static void openUrlEvent(const QString& address)
    {
        QCoreApplication::postEvent(QCoreApplication::instance(), new QFileOpenEvent(QUrl(address)));
    }

    Outcome<void> signIn;
    std::optional<QCoro::Task<>> signingIn;
};

} // namespace

TEST_F(BrowserSignInTest, CallbackFromASecondStartSignsTheWindowIn)
{
    SingleInstance instance(socket());
    ASSERT_TRUE(instance.listen());
    BrowserSignInPage page(instance, &window, [this](const QUrl& url) {
        opened.append(url);
        return true;
    });
    api->setSignInPage(&page);
    auto outcome = std::make_shared<Outcome<void>>();
    auto signIn = [](API& client, std::shared_ptr<Outcome<void>> out) -> QCoro::Task<> {
        try {
            co_await client.signInWithGoogle();
            out->value = true;
        } catch (...) {
            out->error = std::current_exception();
        }
        out->finished = true;
    }(*api, outcome);
    ASSERT_TRUE(spinUntil([&] { return page.waitingDialog() && page.waitingDialog()->isVisible(); }));
    EXPECT_EQ(opened, QList<QUrl>{server.baseUrl().resolved(QUrl(QStringLiteral("native-sign-in")))});
    ASSERT_TRUE(forwardAsASecondStart(socket(), QStringLiteral("brightloom://callback?token=one-time")));
    ASSERT_TRUE(spinUntil([&] { return outcome->finished; }));
    EXPECT_TRUE(outcome->ok()) << outcome->errorText().toStdString();
    EXPECT_TRUE(api->signedIn());
    const auto verify = server.requestsTo(QStringLiteral("/api/auth/one-time-token/verify"));
    ASSERT_EQ(verify.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(verify.front().body).object().value(QStringLiteral("token")).toString(),
              QStringLiteral("one-time"));
}

TEST_F(BrowserSignInTest, CancellingTheWaitingDialogSaysSignInCancelled)
{
    SingleInstance instance(socket());
    BrowserSignInPage page(instance, &window, [](const QUrl&) { return true; });
    api->setSignInPage(&page);
    Outcome<void> outcome;
    auto task = [](API& client, Outcome<void>& out) -> QCoro::Task<> {
        try {
            co_await client.signInWithGoogle();
        } catch (...) {
            out.error = std::current_exception();
        }
        out.finished = true;
    }(*api, outcome);
    ASSERT_TRUE(spinUntil([&] { return page.waitingDialog() && page.waitingDialog()->isVisible(); }));
    auto* buttons = page.waitingDialog()->findChild<QDialogButtonBox*>();
    ASSERT_NE(buttons, nullptr);
    QTest::mouseClick(buttons->button(QDialogButtonBox::Cancel), Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return outcome.finished; }));
    EXPECT_EQ(outcome.errorText(), QStringLiteral("Sign-in cancelled."));
    EXPECT_FALSE(api->signedIn());
}

TEST_F(BrowserSignInTest, BrowserThatCannotBeOpenedSaysTheSignInWindowCouldNotOpen)
{
    SingleInstance instance(socket());
    BrowserSignInPage page(instance, &window, [](const QUrl&) { return false; });
    api->setSignInPage(&page);
    const Outcome<void> outcome = run(api->signInWithGoogle());
    EXPECT_EQ(outcome.errorText(), QStringLiteral("Could not open the sign-in window."));
    EXPECT_EQ(page.waitingDialog(), nullptr);
}

TEST_F(BrowserSignInTest, CallbackThatTheDesktopOpensAsAnAddressSignsTheWindowIn)
{
    SingleInstance instance(socket());
    ASSERT_TRUE(instance.listen());
    BrowserSignInPage page(instance, &window, [](const QUrl&) { return true; });
    api->setSignInPage(&page);
    startSignIn();
    ASSERT_TRUE(spinUntil([&] { return page.waitingDialog() && page.waitingDialog()->isVisible(); }));
    openUrlEvent(QStringLiteral("brightloom://callback?token=from-the-desktop"));
    ASSERT_TRUE(spinUntil([&] { return signIn.finished; }));
    EXPECT_TRUE(signIn.ok()) << signIn.errorText().toStdString();
    EXPECT_TRUE(api->signedIn());
    const auto verify = server.requestsTo(QStringLiteral("/api/auth/one-time-token/verify"));
    ASSERT_EQ(verify.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(verify.front().body).object().value(QStringLiteral("token")).toString(),
              QStringLiteral("from-the-desktop"));
}

TEST_F(BrowserSignInTest, CallbackThatComesWhileNoSignInWaitsIsDroppedOnBothRoads)
{
    // A link on any page could open such an address: kept, it would sign the window into the
    // account of whoever made the link as soon as the user next signed in.
    SingleInstance instance(socket());
    ASSERT_TRUE(instance.listen());
    BrowserSignInPage page(instance, &window, [](const QUrl&) { return true; });
    api->setSignInPage(&page);
    QSignalSpy received(&instance, &SingleInstance::callbackReceived);
    ASSERT_TRUE(forwardAsASecondStart(socket(), QStringLiteral("brightloom://callback?token=planted-1")));
    openUrlEvent(QStringLiteral("brightloom://callback?token=planted-2"));
    ASSERT_TRUE(spinUntil([&] { return received.count() == 2; })) << "both roads delivered";

    startSignIn();
    ASSERT_TRUE(spinUntil([&] { return page.waitingDialog() && page.waitingDialog()->isVisible(); }));
    drainPostedEvents();
    EXPECT_FALSE(signIn.finished) << "the sign-in still waits for its own callback";
    EXPECT_TRUE(server.requestsTo(QStringLiteral("/api/auth/one-time-token/verify")).isEmpty());
    page.waitingDialog()->reject();
    ASSERT_TRUE(spinUntil([&] { return signIn.finished; }));
    EXPECT_EQ(signIn.errorText(), QStringLiteral("Sign-in cancelled."));
    EXPECT_FALSE(api->signedIn());
}

TEST_F(SingleInstanceTest, OpenUrlEventOfAnotherSchemeIsLeftToTheApplication)
{
    SingleInstance instance(socket());
    QSignalSpy callbacks(&instance, &SingleInstance::callbackReceived);
    QFileOpenEvent file(QStringLiteral("/tmp/notes.txt"));
    QFileOpenEvent web(QUrl(QStringLiteral("https://evil.example/?token=x")));
    QCoreApplication* app = QCoreApplication::instance();
    EXPECT_FALSE(QCoreApplication::sendEvent(app, &file));
    EXPECT_FALSE(QCoreApplication::sendEvent(app, &web));
    QFileOpenEvent ours(QUrl(QStringLiteral("brightloom://callback?token=t")));
    EXPECT_TRUE(QCoreApplication::sendEvent(app, &ours));
    ASSERT_EQ(callbacks.count(), 1);
    EXPECT_EQ(callbacks.front().front().toString(), QStringLiteral("brightloom://callback?token=t"));
}
