// brightloom-devserver: the local stand-in for the Brightloom service.
//
// The first line on stdout is the base address and nothing else ever goes there, so scripts and
// tests can start the server on port 0 and read where it ended up. Logs go to stderr.

#include "certificate.h"
#include "dev_server.h"
#include "options.h"
#include "platform/quit_on_signals.h"
#include "store.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>
#include <cstdio>
#include <memory>

using namespace brightloom::devserver;

namespace {

int fail(const QString& message)
{
    std::fprintf(stderr, "brightloom-devserver: %s\n", qUtf8Printable(message));
    return 1;
}

// Fills `options` from the command line; on a bad value returns the complaint.
QString parseArguments(const QCoreApplication& app, Options* options)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The local stand-in for the Brightloom service."));
    parser.addHelpOption();
    const QCommandLineOption data(QStringLiteral("data"),
                                  QStringLiteral("Folder for the database and the certificate."),
                                  QStringLiteral("DIR"));
    const QCommandLineOption port(QStringLiteral("port"),
                                  QStringLiteral("Port on 127.0.0.1; 0 picks a free one."),
                                  QStringLiteral("N"), QStringLiteral("0"));
    const QCommandLineOption http(QStringLiteral("http"),
                                  QStringLiteral("Serve plain HTTP instead of HTTPS."));
    const QCommandLineOption speed(QStringLiteral("speed"),
                                   QStringLiteral("Length of one simulated step of work, in seconds."),
                                   QStringLiteral("SECONDS"), QStringLiteral("2"));
    const QCommandLineOption control(QStringLiteral("control"),
                                     QStringLiteral("Offer the loopback-only control interface."));
    parser.addOptions({data, port, http, speed, control});
    parser.process(app);

    options->dataFolder = parser.isSet(data)
                              ? parser.value(data)
                              : QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                                    QStringLiteral("/brightloom-devserver");
    bool ok = false;
    const uint portNumber = parser.value(port).toUInt(&ok);
    if (!ok || portNumber > 65535)
        return QStringLiteral("--port wants a number from 0 to 65535, not \"%1\"").arg(parser.value(port));
    options->port = quint16(portNumber);
    options->plainHttp = parser.isSet(http);
    options->speedSeconds = parser.value(speed).toDouble(&ok);
    // A day at most: longer would overflow the timer, and tests that step by hand use a long one.
    if (!ok || options->speedSeconds <= 0 || options->speedSeconds > 86400)
        return QStringLiteral("--speed wants a positive number of seconds, not \"%1\"")
            .arg(parser.value(speed));
    options->control = parser.isSet(control);
    return {};
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("brightloom-devserver"));

    Options options;
    if (const QString complaint = parseArguments(app, &options); !complaint.isEmpty())
        return fail(complaint);
    if (!QDir().mkpath(options.dataFolder))
        return fail(QStringLiteral("cannot make the data folder %1").arg(options.dataFolder));

    std::optional<QSslConfiguration> tls;
    if (!options.plainHttp) {
        QString error;
        tls = serverTlsConfiguration(options.dataFolder, &error);
        if (!tls)
            return fail(error);
    }

    Store store;
    try {
        store.open(QDir(options.dataFolder).filePath(QStringLiteral("devserver.sqlite")));
    } catch (const StoreError& error) {
        return fail(QString::fromUtf8(error.what()));
    }

    // Starting fills the gallery of a new data folder, which may meet a broken database.
    std::unique_ptr<DevServer> server;
    try {
        server = std::make_unique<DevServer>(options, store, tls);
    } catch (const std::exception& error) {
        return fail(QString::fromUtf8(error.what()));
    }
    brightloom::quitOnTerminationSignals(app);
    QString error;
    const QUrl base = server->listen(&error);
    if (base.isEmpty())
        return fail(error);
    std::fprintf(stdout, "%s\n", qUtf8Printable(base.toString()));
    std::fflush(stdout);
    std::fprintf(stderr, "brightloom-devserver: serving %s from %s\n", qUtf8Printable(base.toString()),
                 qUtf8Printable(QDir::toNativeSeparators(options.dataFolder)));
    return app.exec();
}
