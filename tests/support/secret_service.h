#pragma once

// A D-Bus session bus and a real Secret Service of a test's own: the programs under test, started
// as child processes with environment(), talk to gnome-keyring exactly as on a desktop, and nothing
// reaches the desktop's own bus or keyring. Linux only (dbus-daemon, gnome-keyring, secret-tool).
//
// The code under test runs in children, not in the test process: libsecret keeps one connection
// to the session bus for the life of a process and ends the process when that bus goes away.

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>
#include <optional>

namespace brightloom::test {

// A dbus-daemon for one test, on a socket in a folder of its own. It starts on demand only what
// `activation` allows: nothing, or the services installed on this machine, as a desktop's session
// bus does (gnome-keyring is then started by the first call to the Secret Service).
class PrivateSessionBus
{
public:
    enum class Activation { none, installedServices };

    explicit PrivateSessionBus(Activation activation = Activation::none);
    ~PrivateSessionBus();
    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    bool running() const { return !m_address.isEmpty(); }
    QString failure() const { return m_failure; } // why it did not start
    QString address() const { return m_address; }

    // `base` with this bus as the session bus, and no display, so that nothing could show a prompt.
    QProcessEnvironment
    environment(QProcessEnvironment base = QProcessEnvironment::systemEnvironment()) const;

    // Whether `name` has an owner on the bus now.
    bool hasOwner(const QString& name) const;
    // Calls `method` of `interface` on `service` at `path` and answers the reply's first argument,
    // unwrapped; an invalid value when the call failed.
    QVariant call(const QString& service, const QString& path, const QString& interface,
                  const QString& method, const QVariantList& arguments = {}) const;

private:
    QTemporaryDir m_folder;
    std::unique_ptr<QProcess> m_daemon;
    QString m_address;
    QString m_connection;
    QString m_failure;
};

// gnome-keyring-daemon's Secret Service on `bus`, keeping its keyrings in `dataHome`/keyrings.
class TestSecretService
{
public:
    // The password of the test's login keyring.
    static const QByteArray password;

    TestSecretService(const PrivateSessionBus& bus, QString dataHome);
    ~TestSecretService();
    TestSecretService(const TestSecretService&) = delete;
    TestSecretService& operator=(const TestSecretService&) = delete;

    // Starts the daemon and waits until it serves. With `unlock` the login keyring is made, or
    // opened, with the test password and left unlocked; without, a keyring already there stays
    // locked (and none is made). Answers whether it got there; failure() says why not.
    bool start(bool unlock = true);
    void stop();
    // Locks the login keyring, as a desktop may when the screen locks.
    bool lock();
    QString failure() const { return m_failure; }

    // What secret-tool, from outside, finds stored for `attributes` (name, value, name, value, ...),
    // or nothing.
    std::optional<QByteArray> lookup(const QStringList& attributes) const;
    // Whether the default collection is there and unlocked, as the bus reports it.
    bool defaultCollectionUnlocked() const;

private:
    const PrivateSessionBus& m_bus;
    QString m_dataHome;
    QTemporaryDir m_runtime;
    std::unique_ptr<QProcess> m_daemon;
    QString m_failure;
};

} // namespace brightloom::test
