#include "session_store.h"

#include "platform/secret_store.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSaveFile>
#include <optional>

namespace brightloom::SessionStore {
namespace {

const QByteArray inStore = QByteArrayLiteral("store");
const QByteArray inFile = QByteArrayLiteral("file");
const QByteArray nowhere = QByteArrayLiteral("none");

QString service()
{
    return QString::fromLatin1(storeService);
}

// BRIGHTLOOM_SESSION_STORE=file keeps the session in the file whatever the desktop offers: for a
// machine whose store should not be used, and for tests, which must never reach a person's own
// keyring or Keychain.
QCoro::Task<bool> storeAnswers()
{
    if (qEnvironmentVariable("BRIGHTLOOM_SESSION_STORE") == QLatin1String("file"))
        co_return false;
    co_return co_await SecretStore::usable();
}

// A file's bytes, when it is a plain file: a link planted at the path is not followed.
std::optional<QByteArray> readPlain(const QString& path)
{
    const QFileInfo info(path);
    if (info.isSymLink() || !info.isFile())
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

// Written whole or not at all, mode 0600 before the rename. QSaveFile writes through a link to its
// target, so a link planted at the path is removed first and replaced by the file.
bool writeOwnerOnly(const QString& path, const QByteArray& bytes)
{
    if (QFileInfo(path).isSymLink())
        QFile::remove(path);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    file.write(bytes);
    return file.commit();
}

QByteArray writeMarker(const QString& folder, const QByteArray& place)
{
    QByteArray stamp;
    for (int i = 0; i < 2; ++i)
        stamp += QByteArray::number(QRandomGenerator::system()->generate64(), 16).rightJustified(16, '0');
    writeOwnerOnly(markerFile(folder), place + ' ' + stamp + '\n');
    return marker(folder);
}

// Where the marker says the session is. Without a marker, a file left by a client that kept its
// session only there is taken as it stands.
QByteArray placeOf(const QByteArray& marker, const QString& folder)
{
    const QByteArray place = marker.left(marker.indexOf(' '));
    if (place == inStore || place == inFile || place == nowhere)
        return place;
    return QFileInfo::exists(cookieFile(folder)) ? inFile : nowhere;
}

} // namespace

QString cookieFile(const QString& folder)
{
    return folder + QStringLiteral("/cookies");
}

QString markerFile(const QString& folder)
{
    return folder + QStringLiteral("/session");
}

QByteArray marker(const QString& folder)
{
    return readPlain(markerFile(folder)).value_or(QByteArray());
}

QCoro::Task<Loaded> load(QString folder)
{
    Loaded loaded;
    loaded.marker = marker(folder);
    const QByteArray place = placeOf(loaded.marker, folder);
    if (place == inStore) {
        const bool answers = co_await storeAnswers();
        if (answers) {
            try {
                loaded.cookies = (co_await SecretStore::read(service(), folder)).value_or(QByteArray());
            } catch (const SecretStore::Error&) {
                // Unreadable for now: signed out until the store answers again.
            }
        }
        co_return loaded;
    }
    if (place != inFile)
        co_return loaded;
    loaded.cookies = readPlain(cookieFile(folder)).value_or(QByteArray());
    if (loaded.cookies.isEmpty())
        co_return loaded;
    const bool answers = co_await storeAnswers();
    if (!answers)
        co_return loaded;
    try {
        co_await SecretStore::write(service(), folder, loaded.cookies);
        QFile::remove(cookieFile(folder));
        loaded.marker = writeMarker(folder, inStore);
    } catch (const SecretStore::Error&) {
        // The file stays where it is, to be moved another time.
    }
    co_return loaded;
}

QCoro::Task<QByteArray> save(QString folder, QByteArray cookies)
{
    const QString file = cookieFile(folder);
    const bool answers = co_await storeAnswers();
    if (cookies.isEmpty()) {
        if (answers) {
            try {
                co_await SecretStore::remove(service(), folder);
            } catch (const SecretStore::Error&) {
                // The marker says signed out, so what is left in the store is never read again,
                // and the next sign-in replaces it.
            }
        }
        QFile::remove(file);
        co_return writeMarker(folder, nowhere);
    }
    if (answers) {
        try {
            co_await SecretStore::write(service(), folder, cookies);
            QFile::remove(file);
            co_return writeMarker(folder, inStore);
        } catch (const SecretStore::Error&) {
            // Kept in the file below, until a later load finds the store answering.
        }
    }
    writeOwnerOnly(file, cookies);
    co_return writeMarker(folder, inFile);
}

} // namespace brightloom::SessionStore
