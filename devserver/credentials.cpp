#include "credentials.h"

#include <QCryptographicHash>
#include <QList>
#include <QPasswordDigestor>
#include <QRandomGenerator>

namespace brightloom::devserver {

namespace {

// Far below what a production service would use: this server only ever holds demo and test
// accounts, and every sign-in in the test suite pays for the derivation.
constexpr int passwordIterations = 10000;
constexpr int passwordKeyLength = 32;
const QByteArray passwordScheme = QByteArrayLiteral("pbkdf2-sha256");

QByteArray randomBytes(int count)
{
    QByteArray bytes;
    bytes.reserve(count);
    while (bytes.size() < count) {
        const quint32 word = QRandomGenerator::system()->generate();
        bytes.append(reinterpret_cast<const char*>(&word),
                     qMin<qsizetype>(sizeof word, count - bytes.size()));
    }
    return bytes;
}

QByteArray deriveKey(const QString& password, const QByteArray& salt, int iterations)
{
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, password.toUtf8(), salt, iterations,
                                              passwordKeyLength);
}

// Compares in time independent of where the first difference lies.
bool sameBytes(const QByteArray& a, const QByteArray& b)
{
    if (a.size() != b.size())
        return false;
    char difference = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        difference |= char(a[i] ^ b[i]);
    return difference == 0;
}

} // namespace

QString newToken()
{
    return QString::fromLatin1(
        randomBytes(32).toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString newId()
{
    static constexpr char alphabet[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr int alphabetSize = int(sizeof(alphabet)) - 1;
    QString id;
    id.reserve(12);
    for (int i = 0; i < 12; ++i)
        id.append(QLatin1Char(alphabet[QRandomGenerator::system()->bounded(alphabetSize)]));
    return id;
}

QByteArray hashPassword(const QString& password)
{
    const QByteArray salt = randomBytes(16);
    return passwordScheme + '$' + QByteArray::number(passwordIterations) + '$' + salt.toBase64() + '$' +
           deriveKey(password, salt, passwordIterations).toBase64();
}

bool passwordMatches(const QString& password, const QByteArray& record)
{
    const QList<QByteArray> parts = record.split('$');
    if (parts.size() != 4 || parts[0] != passwordScheme)
        return false;
    bool ok = false;
    const int iterations = parts[1].toInt(&ok);
    if (!ok || iterations <= 0)
        return false;
    const QByteArray expected = QByteArray::fromBase64(parts[3]);
    return sameBytes(deriveKey(password, QByteArray::fromBase64(parts[2]), iterations), expected);
}

} // namespace brightloom::devserver
