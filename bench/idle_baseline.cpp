// The yardstick of the idle benchmark: a minimal Qt Widgets window, signed in, that asks the stand-in
// service what the window asks on the same screen at the same intervals, with a bare
// QNetworkAccessManager, and sits behind another window measuring itself as the window does:
//
//   bench_idle_baseline new|ready|building PROJECT SECONDS SETTLE_SECONDS ACTIVE_MS IDLE_MS BANNER_MS
//       every screen  the worker status, and again BANNER_MS after each answer;
//       ready         the project too, again IDLE_MS after each answer;
//       building      the project too, again ACTIVE_MS after each answer, and a label that counts
//                     the seconds.

#include "idle_meter.h"

#include <QApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <QWidget>
#include <cstdio>
#include <cstdlib>

namespace {

// Asks for one address, and again `interval` after each answer.
class Poll final : public QObject
{
public:
    Poll(QNetworkAccessManager& network, QUrl url, int interval, QObject* parent)
        : QObject(parent), m_network(network), m_url(std::move(url)), m_interval(interval)
    {
        ask();
    }
    bool answered() const { return m_answered; }

private:
    void ask()
    {
        QNetworkReply* reply = m_network.get(QNetworkRequest(m_url));
        connect(reply, &QNetworkReply::finished, this, [this, reply] {
            reply->readAll();
            reply->deleteLater();
            m_answered = true;
            QTimer::singleShot(m_interval, this, [this] { ask(); });
        });
    }

    QNetworkAccessManager& m_network;
    QUrl m_url;
    int m_interval;
    bool m_answered = false;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 8) {
        std::fprintf(stderr, "usage: bench_idle_baseline new|ready|building PROJECT SECONDS SETTLE_SECONDS "
                             "ACTIVE_MS IDLE_MS BANNER_MS\n");
        return 2;
    }
    QApplication app(argc, argv);
    const QString screen = QString::fromLocal8Bit(argv[1]);
    const QString project = QString::fromLocal8Bit(argv[2]);
    const int seconds = std::atoi(argv[3]), settle = std::atoi(argv[4]);
    const int active = std::atoi(argv[5]), idle = std::atoi(argv[6]), banner = std::atoi(argv[7]);

    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.addCaCertificates(QSslCertificate::fromPath(qEnvironmentVariable("BRIGHTLOOM_CA_FILE")));
    QSslConfiguration::setDefaultConfiguration(tls);
    const QUrl base(qEnvironmentVariable("BRIGHTLOOM_URL"));
    QNetworkAccessManager network;

    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(new QLabel(QStringLiteral("Describe the app you want")));
    auto* counter = new QLabel(&window);
    layout->addWidget(counter);
    window.resize(1100, 720);
    QWidget front;
    front.resize(320, 200);
    QTimer tick;
    int elapsed = 0;
    if (screen == QLatin1String("building")) {
        QObject::connect(&tick, &QTimer::timeout, counter,
                         [&] { counter->setText(QString::number(++elapsed) + QStringLiteral(" s")); });
        tick.start(1000);
    }

    // Signed in once, as the window is; the cookie jar keeps the session for the polls.
    QNetworkRequest signIn(base.resolved(QUrl(QStringLiteral("api/auth/sign-in/email"))));
    signIn.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    const QJsonObject credentials{{QStringLiteral("email"), QStringLiteral("demo@brightloom.test")},
                                  {QStringLiteral("password"), QStringLiteral("brightloom-demo")}};
    QNetworkReply* signedIn = network.post(signIn, QJsonDocument(credentials).toJson(QJsonDocument::Compact));
    QObject::connect(signedIn, &QNetworkReply::finished, &app, [&, signedIn] {
        signedIn->deleteLater();
        if (signedIn->error() != QNetworkReply::NoError) {
            std::fprintf(stderr, "the yardstick could not sign in: %s\n",
                         qPrintable(signedIn->errorString()));
            std::exit(1);
        }
        window.show();
        new Poll(network, base.resolved(QUrl(QStringLiteral("api/worker-status"))), banner, &app);
        if (screen != QLatin1String("new"))
            new Poll(network, base.resolved(QUrl(QStringLiteral("api/projects/") + project)),
                     screen == QLatin1String("building") ? active : idle, &app);
        front.show();
        front.activateWindow();
        QTimer::singleShot(settle * 1000, &app,
                           [seconds] { brightloom::bench::measureIdleThenQuit(seconds); });
    });
    return app.exec();
}
