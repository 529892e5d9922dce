// The yardstick of the command line's start-up once it must reach the service: a QCoreApplication
// that makes one HTTPS request, prints one line and ends.

#include "one_request.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QNetworkAccessManager network;
    brightloom::bench::askOnce(network, [] {
        std::puts("answered");
        QCoreApplication::quit();
    });
    return app.exec();
}
