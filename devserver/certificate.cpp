#include "certificate.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>
#include <QTemporaryDir>

namespace brightloom::devserver {

namespace {

const QString certificateFile = QStringLiteral("cert.pem");
const QString keyFile = QStringLiteral("key.pem");

// Asks Debian's openssl program rather than linking a crypto library: the server needs a
// certificate once per data folder, and the program is always there where the server runs.
bool makeCertificate(const QString& dataFolder, QString* error)
{
    // Made in a private folder first, so the key is never readable by others and a half-made pair
    // never lands where the next start would take it for a finished one.
    QTemporaryDir work(dataFolder + QStringLiteral("/.certificate-XXXXXX"));
    if (!work.isValid()) {
        *error = QStringLiteral("cannot make a folder in %1: %2").arg(dataFolder, work.errorString());
        return false;
    }
    const QString certificatePath = work.filePath(certificateFile);
    const QString keyPath = work.filePath(keyFile);
    QProcess openssl;
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                   QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
                   QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"),
                   QStringLiteral("-days"), QStringLiteral("3650"), QStringLiteral("-subj"),
                   QStringLiteral("/CN=127.0.0.1"), QStringLiteral("-addext"),
                   QStringLiteral("subjectAltName=IP:127.0.0.1,DNS:localhost"), QStringLiteral("-addext"),
                   QStringLiteral("basicConstraints=critical,CA:TRUE"), QStringLiteral("-keyout"), keyPath,
                   QStringLiteral("-out"), certificatePath});
    if (!openssl.waitForStarted(10000)) {
        *error = QStringLiteral("cannot run openssl to make a certificate: %1").arg(openssl.errorString());
        return false;
    }
    openssl.closeWriteChannel();
    if (!openssl.waitForFinished(60000) || openssl.exitStatus() != QProcess::NormalExit ||
        openssl.exitCode() != 0) {
        *error = QStringLiteral("openssl could not make a certificate: %1")
                     .arg(QString::fromLocal8Bit(openssl.readAll()).trimmed());
        return false;
    }
    QFile::setPermissions(keyPath, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const QDir data(dataFolder);
    QFile::remove(data.filePath(keyFile));
    QFile::remove(data.filePath(certificateFile));
    // The key goes first: cert.pem present means the pair is complete.
    if (!QFile::rename(keyPath, data.filePath(keyFile)) ||
        !QFile::rename(certificatePath, data.filePath(certificateFile))) {
        *error = QStringLiteral("cannot move the new certificate into %1").arg(dataFolder);
        return false;
    }
    return true;
}

QByteArray readAll(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return {};
    }
    return file.readAll();
}

} // namespace

std::optional<QSslConfiguration> serverTlsConfiguration(const QString& dataFolder, QString* error)
{
    const QDir data(dataFolder);
    if (!data.exists(certificateFile) || !data.exists(keyFile)) {
        if (!makeCertificate(dataFolder, error))
            return std::nullopt;
    }
    const QByteArray certificatePem = readAll(data.filePath(certificateFile), error);
    const QByteArray keyPem = readAll(data.filePath(keyFile), error);
    if (certificatePem.isEmpty() || keyPem.isEmpty()) {
        if (error->isEmpty())
            *error = QStringLiteral("cert.pem or key.pem in %1 is empty").arg(dataFolder);
        return std::nullopt;
    }
    const QSslCertificate certificate(certificatePem, QSsl::Pem);
    const QSslKey key(keyPem, QSsl::Ec, QSsl::Pem, QSsl::PrivateKey);
    if (certificate.isNull() || key.isNull()) {
        *error = QStringLiteral("the certificate or key in %1 cannot be read; delete cert.pem and key.pem "
                                "to have new ones made")
                     .arg(dataFolder);
        return std::nullopt;
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(certificate);
    configuration.setPrivateKey(key);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone); // clients do not present certificates
    return configuration;
}

} // namespace brightloom::devserver
