#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

namespace brightloom::soak {

// One thing that goes wrong on the service: a fault for the next replies of some paths, or a change
// of the worker status.
struct Trouble
{
    QString name;
    QByteArray method; // of the control call
    QString path;      // of the control call
    QJsonObject body;
};

// The troubles of the soak, in the order they come round: error statuses with JSON and with HTML
// bodies, connections reset mid-reply, replies cut short, 10-second delays, a 100 MB body, invalid
// JSON, JSON nested 100,000 deep, and a worker status that flips between delayed and not.
QList<Trouble> troubles();

// Calls that put the service right again: no faults left, the workers on time.
QList<Trouble> remedies();

// The messages the troubles make the service say, which the screens may show as they stand.
QStringList serviceMessages();

} // namespace brightloom::soak
