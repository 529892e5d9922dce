#include "secret_store.h"

#include "session_bus.h"

#include <QAbstractEventDispatcher>
#include <qcoro/qcorosignal.h>
#include <qt6keychain/keychain.h>

#if defined(__linux__)
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#endif

namespace brightloom::SecretStore {
namespace {

#if defined(__linux__)

const QString secretsName = QStringLiteral("org.freedesktop.secrets");
// Each call of the check: the bus answers its own at once, and the Secret Service, even when the
// bus has to start it first, in well under a second. Without a limit of our own a service that
// never answers would hold the caller for D-Bus's 25 seconds.
constexpr int busCallLimitMs = 5000;

// QtKeychain reaches the Secret Service through libsecret, whose answers arrive through GLib's main
// loop: only Qt's GLib event dispatcher runs it (QT_NO_GLIB turns it off), and without it no answer
// ever comes.
bool glibLoopRuns()
{
    const QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    return dispatcher && dispatcher->inherits("QEventDispatcherGlib");
}

QDBusMessage method(const QString& service, const QString& path, const QString& interface,
                    const QString& name, const QVariantList& arguments = {})
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, name);
    message.setArguments(arguments);
    return message;
}

// Set once a call of the check went unanswered: a service that hangs is not asked again by this
// process, so each later change of the session does not wait the limit once more.
bool serviceHangs = false;

QCoro::Task<QDBusMessage> call(QDBusConnection bus, QDBusMessage message)
{
    QDBusPendingCallWatcher watcher(bus.asyncCall(message, busCallLimitMs));
    if (!watcher.isFinished())
        co_await qCoro(&watcher, &QDBusPendingCallWatcher::finished);
    if (watcher.isError() && watcher.error().type() == QDBusError::NoReply)
        serviceHangs = true;
    co_return watcher.reply();
}

QVariant firstAnswer(const QDBusMessage& reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    QVariant value = reply.arguments().constFirst();
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

// The messages are made before each co_await: GCC 12 cannot compile a QStringLiteral inside the
// awaited expression.
QCoro::Task<bool> secretServiceAnswers()
{
    if (serviceHangs || !sessionBusNamed() || !glibLoopRuns())
        co_return false;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        co_return false;
    const QString busName = QStringLiteral("org.freedesktop.DBus");
    const QString busPath = QStringLiteral("/org/freedesktop/DBus");
    // Asking a name that nothing owns or can start would fail at once, but first ask the bus, which
    // answers for itself.
    const QDBusMessage owner =
        method(busName, busPath, busName, QStringLiteral("NameHasOwner"), {secretsName});
    bool present = firstAnswer(co_await call(bus, owner)).toBool();
    if (!present) {
        const QDBusMessage startable =
            method(busName, busPath, busName, QStringLiteral("ListActivatableNames"));
        present = firstAnswer(co_await call(bus, startable)).toStringList().contains(secretsName);
    }
    if (!present)
        co_return false;
    // QtKeychain keeps its secrets in the default collection. Without one, or with it locked, the
    // service would put up a prompt to make or unlock it: nobody may be there to answer (a command
    // line over ssh, a headless session), so the file is used instead.
    const QDBusMessage readAlias = method(secretsName, QStringLiteral("/org/freedesktop/secrets"),
                                          QStringLiteral("org.freedesktop.Secret.Service"),
                                          QStringLiteral("ReadAlias"), {QStringLiteral("default")});
    const QString collection = firstAnswer(co_await call(bus, readAlias)).value<QDBusObjectPath>().path();
    if (collection.isEmpty() || collection == QLatin1String("/"))
        co_return false;
    const QDBusMessage lockedQuery = method(
        secretsName, collection, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
        {QStringLiteral("org.freedesktop.Secret.Collection"), QStringLiteral("Locked")});
    const QVariant locked = firstAnswer(co_await call(bus, lockedQuery));
    co_return locked.isValid() && !locked.toBool();
}

#endif

// What a finished job said, taken while the job is alive.
struct Answer
{
    QKeychain::Error error = QKeychain::NoError;
    QString errorString;
    QByteArray data;
};

Error failure(const Answer& answer)
{
    QString text = QStringLiteral("The secret store refused the session");
    if (!answer.errorString.isEmpty())
        text += QStringLiteral(": ") + answer.errorString;
    return Error(text + QLatin1Char('.'));
}

// Runs `job` to its end and deletes it. Throws Error when it does not finish within the answer
// limit; the job is then left to finish and delete itself whenever it does.
QCoro::Task<Answer> finish(QKeychain::Job* job)
{
    job->setAutoDelete(false);
    // The wait is set up before the start, so that a job that finishes at once is not missed.
    auto finished = qCoro(job, &QKeychain::Job::finished, answerLimit);
    job->start();
    const std::optional<QKeychain::Job*> done = co_await std::move(finished);
    if (!done) {
        job->setAutoDelete(true);
        throw Error(QStringLiteral("The secret store did not answer in time."));
    }
    Answer answer{job->error(), job->errorString(), {}};
    if (const auto* read = qobject_cast<QKeychain::ReadPasswordJob*>(job))
        answer.data = read->textData().toUtf8();
    job->deleteLater();
    co_return answer;
}

} // namespace

QCoro::Task<bool> usable()
{
#if defined(__linux__)
    co_return co_await secretServiceAnswers();
#else
    co_return true;
#endif
}

QCoro::Task<std::optional<QByteArray>> read(QString service, QString key)
{
    auto* job = new QKeychain::ReadPasswordJob(service);
    job->setKey(key);
    const Answer answer = co_await finish(job);
    if (answer.error == QKeychain::EntryNotFound)
        co_return std::nullopt;
    if (answer.error != QKeychain::NoError)
        throw failure(answer);
    co_return answer.data;
}

QCoro::Task<> write(QString service, QString key, QByteArray secret)
{
    auto* job = new QKeychain::WritePasswordJob(service);
    job->setKey(key);
    job->setTextData(QString::fromUtf8(secret));
    const Answer answer = co_await finish(job);
    if (answer.error != QKeychain::NoError)
        throw failure(answer);
}

QCoro::Task<> remove(QString service, QString key)
{
    auto* job = new QKeychain::DeletePasswordJob(service);
    job->setKey(key);
    const Answer answer = co_await finish(job);
    if (answer.error != QKeychain::NoError && answer.error != QKeychain::EntryNotFound)
        throw failure(answer);
}

} // namespace brightloom::SecretStore
