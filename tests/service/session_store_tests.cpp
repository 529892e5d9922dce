// The session through a real Secret Service (gnome-keyring on a bus of the test's own), through a
// bus without one, and without any bus. The programs under test are the real command line and a
// long-lived client beside it (session_holder.cpp, as the window keeps one), against the stand-in
// service; the test looks at the keyring from outside with secret-tool.

#include "child_process.h"
#include "secret_service.h"
#include "task_runner.h"
#include "temp_home.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <gtest/gtest.h>

using namespace brightloom::test;

namespace {

const QString email = QStringLiteral("demo@brightloom.test");
const QString password = QStringLiteral("brightloom-demo");
const QByteArray tokenName = QByteArrayLiteral("brightloom.session_token=");
const auto ownerGroupOther = QFile::Permissions(0x7000 | 0x0070 | 0x0007);
const auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;
// Far below D-Bus's own 25 seconds, which an unguarded call to a missing service would wait.
constexpr qint64 promptlyMs = 12000;

// The session token in kept cookies (Set-Cookie lines), or "" when there is none.
QByteArray tokenIn(const QByteArray& saved)
{
    const qsizetype at = saved.indexOf(tokenName);
    if (at < 0)
        return {};
    const qsizetype start = at + tokenName.size();
    qsizetype end = start;
    while (end < saved.size() && saved[end] != ';' && saved[end] != '\n')
        ++end;
    return saved.mid(start, end - start);
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The long-lived client, driven one command at a time through its standard input.
class Holder
{
public:
    explicit Holder(const QProcessEnvironment& env)
    {
        m_process.setProcessEnvironment(env);
        m_process.start(QStringLiteral(BRIGHTLOOM_SESSION_HOLDER_PATH), QStringList());
        m_process.waitForStarted(10000);
    }
    ~Holder()
    {
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(10000))
            m_process.kill();
        m_process.waitForFinished(5000);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    // The answer to `command`, or what went wrong instead.
    QString ask(const QString& command)
    {
        m_process.write(command.toUtf8() + '\n');
        spinUntil([&] { return m_process.canReadLine() || m_process.state() == QProcess::NotRunning; },
                  std::chrono::seconds(60));
        if (!m_process.canReadLine())
            return QStringLiteral("<no answer> ") + QString::fromUtf8(m_process.readAllStandardError());
        return QString::fromUtf8(m_process.readLine()).trimmed();
    }

private:
    QProcess m_process;
};

// A Secret Service that takes every call and never answers.
class StuckSecretService final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Secret.Service")

public:
    int asked = 0;

public Q_SLOTS:
    QDBusObjectPath ReadAlias(const QString&, const QDBusMessage& message)
    {
        ++asked;
        message.setDelayedReply(true);
        return {};
    }
};

// The desktop's prompter, as gnome-keyring asks it to put up a password dialog, with nobody there
// to answer: it counts what it is asked and never replies.
class AbsentPerson final : public QDBusVirtualObject
{
public:
    explicit AbsentPerson(const PrivateSessionBus& bus)
        : m_name(QStringLiteral("absent-person-") + QString::number(quintptr(this)))
    {
        QDBusConnection side = QDBusConnection::connectToBus(bus.address(), m_name);
        registered = side.registerVirtualObject(QStringLiteral("/org/gnome/keyring/Prompter"), this,
                                                QDBusConnection::SubPath) &&
                     side.registerService(QStringLiteral("org.gnome.keyring.SystemPrompter"));
    }
    ~AbsentPerson() override { QDBusConnection::disconnectFromBus(m_name); }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override
    {
        ++asked;
        message.setDelayedReply(true);
        return true;
    }

    bool registered = false;
    int asked = 0;

private:
    QString m_name;
};

class SessionStoreTest : public ::testing::Test
{
protected:
    SessionStoreTest()
        : server(home.path() + QStringLiteral("/service")),
          keyring(bus, home.path() + QStringLiteral("/keyring"))
    {
        home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
        home.setEnv("BRIGHTLOOM_CA_FILE", server.caFile().toUtf8());
    }

    // The test's environment with the store allowed and no session bus at all.
    QProcessEnvironment noBus() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"BRIGHTLOOM_SESSION_STORE", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR",
                                 "DISPLAY", "WAYLAND_DISPLAY", "QT_NO_GLIB"})
            env.remove(QString::fromLatin1(name));
        return env;
    }
    QProcessEnvironment on(const PrivateSessionBus& sessionBus) const
    {
        return sessionBus.environment(noBus());
    }

    ProcessResult cli(const QStringList& args, const QProcessEnvironment& env)
    {
        return runProcess(QStringLiteral(BRIGHTLOOM_CLI_PATH), args, env);
    }
    ProcessResult login(const QProcessEnvironment& env)
    {
        return cli({QStringLiteral("login"), QStringLiteral("--email"), email, QStringLiteral("--password"),
                    password},
                   env);
    }
    QString session(const QProcessEnvironment& env) { return cli({QStringLiteral("session")}, env).out; }

    void startKeyring(bool unlock = true)
    {
        ASSERT_TRUE(bus.running()) << bus.failure().toStdString();
        ASSERT_TRUE(keyring.start(unlock)) << keyring.failure().toStdString();
    }
    // What the keyring keeps for this home's data folder, looked up from outside.
    std::optional<QByteArray> kept() const
    {
        return keyring.lookup({QStringLiteral("server"), QStringLiteral("Brightloom"), QStringLiteral("user"),
                               home.dataFolder()});
    }
    QString cookieFile() const { return home.dataFolder() + QStringLiteral("/cookies"); }
    QString markerFile() const { return home.dataFolder() + QStringLiteral("/session"); }
    // Whether any file of the client's data folder holds `token`.
    bool onDisk(const QByteArray& token) const
    {
        QDirIterator files(home.dataFolder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            if (contents(files.next()).contains(token))
                return true;
        }
        return false;
    }
    // Signs in on `env` within `limitMs`, the time a road without a prompt takes at most.
    void signInWithin(const QProcessEnvironment& env, qint64 limitMs = promptlyMs)
    {
        QElapsedTimer took;
        took.start();
        const ProcessResult signedIn = login(env);
        EXPECT_LT(took.elapsed(), limitMs);
        ASSERT_EQ(signedIn.exitCode, 0) << signedIn.err.toStdString();
    }

    void expectOwnerOnlyFileWithTheSession()
    {
        ASSERT_TRUE(QFile::exists(cookieFile()));
        EXPECT_EQ(QFile::permissions(cookieFile()) & ownerGroupOther, ownerOnly);
        EXPECT_FALSE(tokenIn(contents(cookieFile())).isEmpty()) << contents(cookieFile()).constData();
        EXPECT_TRUE(contents(markerFile()).startsWith("file ")) << contents(markerFile()).constData();
    }

    TempHome home;
    DevServer server;
    PrivateSessionBus bus;
    TestSecretService keyring;
};

} // namespace

TEST_F(SessionStoreTest, SignInKeepsTheCookieInTheSecretServiceAndNotOnDisk)
{
    startKeyring();
    const ProcessResult signedIn = login(on(bus));
    ASSERT_EQ(signedIn.exitCode, 0) << signedIn.err.toStdString();
    const std::optional<QByteArray> saved = kept();
    ASSERT_TRUE(saved);
    const QByteArray token = tokenIn(*saved);
    ASSERT_FALSE(token.isEmpty()) << saved->constData();
    EXPECT_FALSE(QFile::exists(cookieFile()));
    EXPECT_FALSE(onDisk(token));
    EXPECT_TRUE(contents(markerFile()).startsWith("store ")) << contents(markerFile()).constData();
}

TEST_F(SessionStoreTest, ANewProcessRestoresTheSessionFromTheSecretService)
{
    startKeyring();
    ASSERT_EQ(login(on(bus)).exitCode, 0);
    EXPECT_EQ(session(on(bus)), QStringLiteral("signed in\n"));
    const ProcessResult list = cli({QStringLiteral("projects")}, on(bus));
    EXPECT_EQ(list.exitCode, 0) << list.err.toStdString();
    Holder window(on(bus));
    EXPECT_EQ(window.ask(QStringLiteral("restore")), QStringLiteral("signed in"));
}

TEST_F(SessionStoreTest, SignOutRemovesTheCookieFromTheSecretService)
{
    startKeyring();
    ASSERT_EQ(login(on(bus)).exitCode, 0);
    ASSERT_TRUE(kept());
    const ProcessResult signedOut = cli({QStringLiteral("logout")}, on(bus));
    EXPECT_EQ(signedOut.exitCode, 0) << signedOut.err.toStdString();
    EXPECT_FALSE(kept());
    EXPECT_FALSE(QFile::exists(cookieFile()));
    EXPECT_EQ(session(on(bus)), QStringLiteral("signed out\n"));
}

TEST_F(SessionStoreTest, SignOutRemovesTheSessionFromTheFileWhereItWasKept)
{
    ASSERT_EQ(login(noBus()).exitCode, 0);
    ASSERT_TRUE(QFile::exists(cookieFile()));
    startKeyring();
    const ProcessResult signedOut = cli({QStringLiteral("logout")}, on(bus));
    EXPECT_EQ(signedOut.exitCode, 0) << signedOut.err.toStdString();
    EXPECT_FALSE(QFile::exists(cookieFile()));
    EXPECT_FALSE(kept());
    EXPECT_EQ(session(noBus()), QStringLiteral("signed out\n"));
}

TEST_F(SessionStoreTest, ARunningClientSeesAnotherProcessSignInAndSignOut)
{
    startKeyring();
    Holder window(on(bus));
    ASSERT_EQ(window.ask(QStringLiteral("restore")), QStringLiteral("signed out"));
    EXPECT_TRUE(window.ask(QStringLiteral("projects")).startsWith(QLatin1String("error: ")));

    ASSERT_EQ(login(on(bus)).exitCode, 0);
    EXPECT_EQ(window.ask(QStringLiteral("projects")), QStringLiteral("ok"));
    ASSERT_EQ(cli({QStringLiteral("logout")}, on(bus)).exitCode, 0);
    EXPECT_TRUE(window.ask(QStringLiteral("projects")).startsWith(QLatin1String("error: ")));

    // And the other way round: the command line sees what the running client did.
    EXPECT_EQ(window.ask(QStringLiteral("signin ") + email + QLatin1Char(' ') + password),
              QStringLiteral("signed in"));
    EXPECT_EQ(session(on(bus)), QStringLiteral("signed in\n"));
    EXPECT_EQ(window.ask(QStringLiteral("signout")), QStringLiteral("signed out"));
    EXPECT_EQ(session(on(bus)), QStringLiteral("signed out\n"));
    EXPECT_FALSE(kept());
}

TEST_F(SessionStoreTest, ASessionKeptInTheFileMovesIntoTheSecretServiceOnceItAnswers)
{
    ASSERT_EQ(login(noBus()).exitCode, 0);
    expectOwnerOnlyFileWithTheSession();
    const QByteArray token = tokenIn(contents(cookieFile()));

    startKeyring();
    EXPECT_EQ(session(on(bus)), QStringLiteral("signed in\n"));
    EXPECT_FALSE(QFile::exists(cookieFile()));
    EXPECT_FALSE(onDisk(token));
    const std::optional<QByteArray> saved = kept();
    ASSERT_TRUE(saved);
    EXPECT_EQ(tokenIn(*saved), token);
    EXPECT_TRUE(contents(markerFile()).startsWith("store "));
}

TEST_F(SessionStoreTest, ALockedKeyringIsPassedOverForTheFileWithoutAPrompt)
{
    startKeyring();
    ASSERT_TRUE(keyring.lock());
    AbsentPerson person(bus);
    ASSERT_TRUE(person.registered);
    signInWithin(on(bus));
    expectOwnerOnlyFileWithTheSession();
    EXPECT_EQ(session(on(bus)), QStringLiteral("signed in\n"));
    EXPECT_EQ(person.asked, 0);

    // Opened again with its password (a new daemon on the same keyring), it takes the session.
    const QByteArray token = tokenIn(contents(cookieFile()));
    startKeyring();
    EXPECT_EQ(session(on(bus)), QStringLiteral("signed in\n"));
    EXPECT_FALSE(QFile::exists(cookieFile()));
    const std::optional<QByteArray> saved = kept();
    ASSERT_TRUE(saved);
    EXPECT_EQ(tokenIn(*saved), token);
}

TEST_F(SessionStoreTest, WithoutASessionBusTheSessionIsKeptInAnOwnerOnlyFile)
{
    const ProcessResult signedIn = login(noBus());
    ASSERT_EQ(signedIn.exitCode, 0) << signedIn.err.toStdString();
    expectOwnerOnlyFileWithTheSession();
    EXPECT_EQ(session(noBus()), QStringLiteral("signed in\n"));
    ASSERT_EQ(cli({QStringLiteral("logout")}, noBus()).exitCode, 0);
    EXPECT_FALSE(QFile::exists(cookieFile()));
    EXPECT_EQ(session(noBus()), QStringLiteral("signed out\n"));
}

TEST_F(SessionStoreTest, ABusWithoutASecretServiceFallsBackToTheFileAtOnce)
{
    ASSERT_TRUE(bus.running()) << bus.failure().toStdString();
    signInWithin(on(bus));
    expectOwnerOnlyFileWithTheSession();
    EXPECT_EQ(session(on(bus)), QStringLiteral("signed in\n"));
}

TEST_F(SessionStoreTest, AStartableSecretServiceWithoutAKeyringIsNotAskedToMakeOne)
{
    // As on a desktop session bus: the installed gnome-keyring starts on the first call, here with
    // no keyring to keep anything in until it asks the person for a password.
    PrivateSessionBus desktopBus(PrivateSessionBus::Activation::installedServices);
    ASSERT_TRUE(desktopBus.running()) << desktopBus.failure().toStdString();
    AbsentPerson person(desktopBus);
    ASSERT_TRUE(person.registered);
    signInWithin(on(desktopBus));
    EXPECT_TRUE(desktopBus.hasOwner(QStringLiteral("org.freedesktop.secrets")));
    EXPECT_EQ(person.asked, 0);
    expectOwnerOnlyFileWithTheSession();
}

TEST_F(SessionStoreTest, ASecretServiceThatNeverAnswersIsGivenUpForTheFile)
{
    ASSERT_TRUE(bus.running()) << bus.failure().toStdString();
    StuckSecretService stuck;
    {
        QDBusConnection side =
            QDBusConnection::connectToBus(bus.address(), QStringLiteral("stuck-secret-service"));
        ASSERT_TRUE(side.registerObject(QStringLiteral("/org/freedesktop/secrets"), &stuck,
                                        QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(side.registerService(QStringLiteral("org.freedesktop.secrets")));
    }
    signInWithin(on(bus), 2 * promptlyMs);
    EXPECT_GE(stuck.asked, 1);
    expectOwnerOnlyFileWithTheSession();
    QDBusConnection::disconnectFromBus(QStringLiteral("stuck-secret-service"));
}

TEST_F(SessionStoreTest, AProcessWithoutGLibsLoopKeepsTheSessionInTheFile)
{
    // libsecret answers through GLib's main loop: with Qt's own loop instead, no answer would come.
    startKeyring();
    QProcessEnvironment env = on(bus);
    env.insert(QStringLiteral("QT_NO_GLIB"), QStringLiteral("1"));
    signInWithin(env);
    expectOwnerOnlyFileWithTheSession();
    EXPECT_FALSE(kept());
}

#include "session_store_tests.moc"
