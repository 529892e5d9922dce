#include "extra_trust.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QtGlobal>
#include <mutex>

namespace brightloom {

void applyExtraTrust()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const QString file = qEnvironmentVariable("BRIGHTLOOM_CA_FILE");
        if (file.isEmpty())
            return;
        const QList<QSslCertificate> extra = QSslCertificate::fromPath(file, QSsl::Pem);
        if (extra.isEmpty()) {
            qWarning("BRIGHTLOOM_CA_FILE names no readable PEM certificate; it is ignored");
            return;
        }
        // CA certificates alone would replace the system roots, so both are set.
        QSslConfiguration config = QSslConfiguration::defaultConfiguration();
        config.setCaCertificates(QSslConfiguration::systemCaCertificates() + extra);
        QSslConfiguration::setDefaultConfiguration(config);
    });
}

} // namespace brightloom
