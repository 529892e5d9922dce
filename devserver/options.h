#pragma once

#include <QString>
#include <QtGlobal>

namespace brightloom::devserver {

// How the program was asked to run; main() fills it from the command line.
struct Options
{
    QString dataFolder; // holds the database and the certificate
    quint16 port = 0;   // 0: any free port
    bool plainHttp = false;
    double speedSeconds = 2.0; // length of one simulated step, for the job simulation
    bool control = false;      // whether the loopback control interface is offered
};

} // namespace brightloom::devserver
