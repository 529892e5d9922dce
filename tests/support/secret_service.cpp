#include "secret_service.h"

#include "child_process.h"
#include "task_runner.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QFile>
#include <atomic>

namespace brightloom::test {
namespace {

const QString secretsName = QStringLiteral("org.freedesktop.secrets");
const QString secretsPath = QStringLiteral("/org/freedesktop/secrets");
const QString loginCollection = QStringLiteral("/org/freedesktop/secrets/collection/login");
constexpr std::chrono::seconds startLimit{20};

QString busConfig(const QString& folder, PrivateSessionBus::Activation activation)
{
    QString config =
        QStringLiteral("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                       " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                       "<busconfig>\n"
                       "  <type>session</type>\n"
                       "  <listen>unix:dir=%1</listen>\n"
                       "  <auth>EXTERNAL</auth>\n"
                       "  <policy context=\"default\">\n"
                       "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
                       "    <allow eavesdrop=\"true\"/>\n"
                       "    <allow own=\"*\"/>\n"
                       "  </policy>\n")
            .arg(folder);
    if (activation == PrivateSessionBus::Activation::installedServices)
        config += QStringLiteral("  <standard_session_servicedirs/>\n");
    return config + QStringLiteral("</busconfig>\n");
}

QProcessEnvironment withoutDisplay(QProcessEnvironment env)
{
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    return env;
}

} // namespace

PrivateSessionBus::PrivateSessionBus(Activation activation) : m_daemon(std::make_unique<QProcess>())
{
    static std::atomic<int> made{0};
    m_connection = QStringLiteral("brightloom-test-bus-") + QString::number(++made);
    const QString configFile = m_folder.filePath(QStringLiteral("bus.conf"));
    QFile config(configFile);
    if (!m_folder.isValid() || !config.open(QIODevice::WriteOnly)) {
        m_failure = QStringLiteral("could not write the bus configuration");
        return;
    }
    config.write(busConfig(m_folder.path(), activation).toUtf8());
    config.close();
    // A service the bus starts gets the bus's environment: this test's home, and no display.
    m_daemon->setProcessEnvironment(withoutDisplay(QProcessEnvironment::systemEnvironment()));
    m_daemon->start(QStringLiteral("dbus-daemon"),
                    {QStringLiteral("--config-file=") + configFile, QStringLiteral("--nofork"),
                     QStringLiteral("--print-address=1")});
    if (!m_daemon->waitForStarted(10000)) {
        m_failure = QStringLiteral("dbus-daemon did not start: ") + m_daemon->errorString();
        return;
    }
    spinUntil([&] { return m_daemon->canReadLine() || m_daemon->state() == QProcess::NotRunning; },
              startLimit);
    const QString address = QString::fromUtf8(m_daemon->readLine()).trimmed();
    if (address.isEmpty()) {
        m_failure = QStringLiteral("dbus-daemon printed no address: ") +
                    QString::fromUtf8(m_daemon->readAllStandardError());
        return;
    }
    if (!QDBusConnection::connectToBus(address, m_connection).isConnected()) {
        m_failure = QStringLiteral("could not connect to the bus at ") + address;
        return;
    }
    m_address = address;
}

PrivateSessionBus::~PrivateSessionBus()
{
    QDBusConnection::disconnectFromBus(m_connection);
    if (m_daemon->state() != QProcess::NotRunning) {
        m_daemon->terminate();
        if (!m_daemon->waitForFinished(5000))
            m_daemon->kill();
        m_daemon->waitForFinished(5000);
    }
}

QProcessEnvironment PrivateSessionBus::environment(QProcessEnvironment base) const
{
    QProcessEnvironment env = withoutDisplay(std::move(base));
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_address);
    return env;
}

bool PrivateSessionBus::hasOwner(const QString& name) const
{
    QDBusConnection bus(m_connection);
    return bus.isConnected() && bus.interface()->isServiceRegistered(name).value();
}

QVariant PrivateSessionBus::call(const QString& service, const QString& path, const QString& interface,
                                 const QString& method, const QVariantList& arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    const QDBusMessage reply = QDBusConnection(m_connection).call(message, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    QVariant value = reply.arguments().constFirst();
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

const QByteArray TestSecretService::password = QByteArrayLiteral("brightloom-test-keyring");

TestSecretService::TestSecretService(const PrivateSessionBus& bus, QString dataHome)
    : m_bus(bus), m_dataHome(std::move(dataHome))
{}

TestSecretService::~TestSecretService()
{
    stop();
}

bool TestSecretService::start(bool unlock)
{
    stop();
    m_failure.clear();
    if (!m_bus.running()) {
        m_failure = QStringLiteral("no bus: ") + m_bus.failure();
        return false;
    }
    QProcessEnvironment env = m_bus.environment();
    env.insert(QStringLiteral("XDG_DATA_HOME"), m_dataHome);
    // Its control socket goes here rather than next to the desktop's own daemon's.
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
    m_daemon = std::make_unique<QProcess>();
    m_daemon->setProcessEnvironment(env);
    QStringList args{QStringLiteral("--foreground"), QStringLiteral("--components=secrets")};
    if (unlock)
        args.append(QStringLiteral("--unlock"));
    m_daemon->start(QStringLiteral("gnome-keyring-daemon"), args);
    if (!m_daemon->waitForStarted(10000)) {
        m_failure = QStringLiteral("gnome-keyring-daemon did not start: ") + m_daemon->errorString();
        return false;
    }
    // --unlock reads the password from standard input, up to its end.
    if (unlock)
        m_daemon->write(password);
    m_daemon->closeWriteChannel();
    const auto serving = [&] {
        if (!m_bus.hasOwner(secretsName))
            return false;
        return !unlock || defaultCollectionUnlocked();
    };
    if (!spinUntil([&] { return m_daemon->state() == QProcess::NotRunning || serving(); }, startLimit) ||
        m_daemon->state() == QProcess::NotRunning) {
        m_failure = QStringLiteral("gnome-keyring-daemon did not come to serve the Secret Service: ") +
                    QString::fromUtf8(m_daemon->readAllStandardError());
        return false;
    }
    return true;
}

void TestSecretService::stop()
{
    if (!m_daemon || m_daemon->state() == QProcess::NotRunning)
        return;
    m_daemon->terminate();
    if (!m_daemon->waitForFinished(5000))
        m_daemon->kill();
    m_daemon->waitForFinished(5000);
    // The bus lets the name go once the daemon's connection is gone.
    spinUntil([&] { return !m_bus.hasOwner(secretsName); }, startLimit);
}

bool TestSecretService::lock()
{
    m_bus.call(secretsName, secretsPath, QStringLiteral("org.freedesktop.Secret.Service"),
               QStringLiteral("Lock"),
               {QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath(loginCollection)})});
    return !defaultCollectionUnlocked();
}

bool TestSecretService::defaultCollectionUnlocked() const
{
    const QString collection =
        m_bus
            .call(secretsName, secretsPath, QStringLiteral("org.freedesktop.Secret.Service"),
                  QStringLiteral("ReadAlias"), {QStringLiteral("default")})
            .value<QDBusObjectPath>()
            .path();
    if (collection.isEmpty() || collection == QLatin1String("/"))
        return false;
    const QVariant locked = m_bus.call(
        secretsName, collection, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
        {QStringLiteral("org.freedesktop.Secret.Collection"), QStringLiteral("Locked")});
    return locked.isValid() && !locked.toBool();
}

std::optional<QByteArray> TestSecretService::lookup(const QStringList& attributes) const
{
    const ProcessResult found =
        runProcess(QStringLiteral("secret-tool"), QStringList{QStringLiteral("lookup")} + attributes,
                   m_bus.environment(), {}, std::chrono::seconds(20));
    if (!found.finished || found.exitCode != 0)
        return std::nullopt;
    return found.out.toUtf8();
}

} // namespace brightloom::test
