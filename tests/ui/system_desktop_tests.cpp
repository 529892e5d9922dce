#include "platform/session_bus.h"
#include "task_runner.h"
#include "ui/desktop/desktop_notifier.h"
#include "ui/desktop/system_desktop.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;
using namespace brightloom::ui;

namespace {

// Receives what the desktop would open, in place of the platform's handlers.
class OpenedUrls final : public QObject
{
    Q_OBJECT

public:
    OpenedUrls()
    {
        for (const char* scheme : {"file", "https"})
            QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "take");
    }
    ~OpenedUrls() override
    {
        for (const char* scheme : {"file", "https"})
            QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
    }
    QList<QUrl> urls;

public Q_SLOTS:
    void take(const QUrl& url) { urls.append(url); }
};

// A stand-in file manager on the bus: it records the items it is asked to show.
class FileManager final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList shown;
    QString startup;

public Q_SLOTS:
    Q_SCRIPTABLE void ShowItems(const QStringList& uris, const QString& startupId)
    {
        shown += uris;
        startup = startupId;
    }
};

// A private session bus for one test, so nothing reaches the user's desktop.
struct PrivateBus
{
    QProcess daemon;
    QString address;

    PrivateBus()
    {
        daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                     QStringLiteral("--print-address=1")});
        if (!daemon.waitForStarted())
            return;
        spinUntil([&] { return daemon.canReadLine(); }, std::chrono::seconds(10));
        address = QString::fromUtf8(daemon.readLine()).trimmed();
    }
    ~PrivateBus()
    {
        daemon.terminate();
        daemon.waitForFinished();
    }
    QDBusConnection connect(const QString& name) const
    {
        return QDBusConnection::connectToBus(address, name);
    }
};

// Sets an environment variable for the life of the object, then puts the old value back.
struct ScopedEnv
{
    ScopedEnv(const char* name, const QByteArray& value)
        : name(name), old(qgetenv(name)), had(qEnvironmentVariableIsSet(name))
    {
        qputenv(name, value);
    }
    ~ScopedEnv()
    {
        if (had)
            qputenv(name, old);
        else
            qunsetenv(name);
    }
    const char* name;
    QByteArray old;
    bool had;
};

// The bus's own clients, as the bus lists them: every connection has a unique name ":1.N".
int clientsOf(QDBusConnection& observer)
{
    const QStringList names = observer.interface()->registeredServiceNames().value();
    return int(std::count_if(names.cbegin(), names.cend(),
                             [](const QString& name) { return name.startsWith(QLatin1Char(':')); }));
}

struct SystemDesktopTest : ::testing::Test
{
    QTemporaryDir folder;
    OpenedUrls opened;
    QString file() const { return folder.filePath(QStringLiteral("Notes.dmg")); }
};

} // namespace

TEST_F(SystemDesktopTest, RevealAsksTheFileManagerToShowTheFileSelected)
{
    PrivateBus bus;
    ASSERT_FALSE(bus.address.isEmpty());
    QDBusConnection managerSide = bus.connect(QStringLiteral("file-manager"));
    FileManager manager;
    ASSERT_TRUE(managerSide.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &manager,
                                           QDBusConnection::ExportScriptableSlots));
    ASSERT_TRUE(managerSide.registerService(QStringLiteral("org.freedesktop.FileManager1")));

    SystemDesktop desktop(bus.connect(QStringLiteral("client")));
    desktop.reveal(file());
    ASSERT_TRUE(spinUntil([&] { return !manager.shown.isEmpty(); }, std::chrono::seconds(10)));
    EXPECT_EQ(manager.shown, QStringList{QUrl::fromLocalFile(file()).toString()});
    EXPECT_TRUE(opened.urls.isEmpty());
    QDBusConnection::disconnectFromBus(QStringLiteral("file-manager"));
    QDBusConnection::disconnectFromBus(QStringLiteral("client"));
}

TEST_F(SystemDesktopTest, RevealOpensTheFolderWhenNoFileManagerAnswers)
{
    PrivateBus bus;
    ASSERT_FALSE(bus.address.isEmpty());
    SystemDesktop desktop(bus.connect(QStringLiteral("lonely-client")));
    desktop.reveal(file());
    ASSERT_TRUE(spinUntil([&] { return !opened.urls.isEmpty(); }, std::chrono::seconds(10)));
    EXPECT_EQ(opened.urls, QList<QUrl>{QUrl::fromLocalFile(folder.path())});
    QDBusConnection::disconnectFromBus(QStringLiteral("lonely-client"));
}

TEST_F(SystemDesktopTest, RevealWithoutASessionBusOpensTheFolderAtOnce)
{
    SystemDesktop desktop(QDBusConnection(QStringLiteral("never-connected")));
    desktop.reveal(file());
    EXPECT_EQ(opened.urls, QList<QUrl>{QUrl::fromLocalFile(folder.path())});
}

TEST_F(SystemDesktopTest, OpenHandsFilesAndWebPagesToTheDesktop)
{
    SystemDesktop desktop(QDBusConnection(QStringLiteral("never-connected")));
    desktop.open(QUrl::fromLocalFile(file()));
    desktop.open(QUrl(QStringLiteral("https://example.com/apps/notes")));
    EXPECT_EQ(opened.urls, (QList<QUrl>{QUrl::fromLocalFile(file()),
                                        QUrl(QStringLiteral("https://example.com/apps/notes"))}));
}

TEST(SessionBusTest, NamedOnlyByAnAddressOrTheRuntimeFoldersSocket)
{
    QTemporaryDir runtime;
    const ScopedEnv noAddress("DBUS_SESSION_BUS_ADDRESS", QByteArray());
    const ScopedEnv runtimeFolder("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    EXPECT_FALSE(sessionBusNamed());
    EXPECT_FALSE(sessionBusIfNamed().isConnected());
    QFile socket(runtime.filePath(QStringLiteral("bus")));
    ASSERT_TRUE(socket.open(QIODevice::WriteOnly));
    EXPECT_TRUE(sessionBusNamed());
    socket.remove();
    const ScopedEnv address("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    EXPECT_TRUE(sessionBusNamed());
}

// Connecting takes a round trip to the bus; the window makes both before its first frame.
TEST(SessionBusTest, DesktopAndNotifierReachTheBusOnlyWhenFirstUsed)
{
    PrivateBus bus;
    ASSERT_FALSE(bus.address.isEmpty());
    const ScopedEnv address("DBUS_SESSION_BUS_ADDRESS", bus.address.toUtf8());
    QDBusConnection observer = bus.connect(QStringLiteral("observer"));
    ASSERT_TRUE(observer.isConnected());
    ASSERT_EQ(clientsOf(observer), 1);

    SystemDesktop desktop;
    DesktopNotifier notifier;
    drainPostedEvents();
    EXPECT_EQ(clientsOf(observer), 1);

    notifier.notify(QStringLiteral("Notes is ready"), QStringLiteral("Built in the cloud."));
    EXPECT_TRUE(spinUntil([&] { return clientsOf(observer) == 2; }, std::chrono::seconds(10)));
    QDBusConnection::disconnectFromBus(QStringLiteral("observer"));
}

#include "system_desktop_tests.moc"
