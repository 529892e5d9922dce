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
        // Added, not set: setting the list would replace the system roots, and listing those too
        // would read every one of them at start (a tenth of a second) instead of the one a server
        // needs when it needs it.
        QSslConfiguration config = QSslConfiguration::defaultConfiguration();
        config.addCaCertificates(extra);
        QSslConfiguration::setDefaultConfiguration(config);
    });
}

} // namespace brightloom
