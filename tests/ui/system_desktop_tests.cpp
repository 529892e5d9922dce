#include "task_runner.h"
#include "ui/desktop/system_desktop.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QProcess>
#include <QTemporaryDir>
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

#include "system_desktop_tests.moc"
