#pragma once

// The floor under a start that must ask the service something: one HTTPS request of the session
// check, made the plainest way Qt offers, trusting the stand-in service's certificate the way the
// client does.

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QUrl>
#include <functional>

namespace brightloom::bench {

inline void askOnce(QNetworkAccessManager& network, std::function<void()> then)
{
    QSslConfiguration config = QSslConfiguration::defaultConfiguration();
    config.addCaCertificates(QSslCertificate::fromPath(qEnvironmentVariable("BRIGHTLOOM_CA_FILE")));
    QSslConfiguration::setDefaultConfiguration(config);
    const QUrl base(qEnvironmentVariable("BRIGHTLOOM_URL"));
    QNetworkReply* reply =
        network.get(QNetworkRequest(base.resolved(QUrl(QStringLiteral("api/auth/get-session")))));
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply, then = std::move(then)] {
        reply->deleteLater();
        then();
    });
}

} // namespace brightloom::bench
