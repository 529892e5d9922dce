#include "fault_rotation.h"

namespace brightloom::soak {
namespace {

const QString jsonMessage = QStringLiteral("The build service is having a bad day.");

// The paths the window and the command line poll, so that every fault lands somewhere.
QStringList watchedPaths()
{
    return {QStringLiteral("api/projects/*"),     QStringLiteral("api/library"),
            QStringLiteral("api/library/*"),      QStringLiteral("api/gallery"),
            QStringLiteral("api/apps/favorites"), QStringLiteral("api/worker-status"),
            QStringLiteral("api/projects")};
}

Trouble fault(const QString& name, const QString& path, QJsonObject body)
{
    body.insert(QStringLiteral("path"), path);
    if (!body.contains(QStringLiteral("count")))
        body.insert(QStringLiteral("count"), 3);
    return Trouble{name, "POST", QStringLiteral("control/faults"), body};
}

QString nested(int depth)
{
    return QString(depth, QLatin1Char('[')) + QString(depth, QLatin1Char(']'));
}

Trouble worker(bool delayed)
{
    QJsonObject body{{QStringLiteral("online"), !delayed}, {QStringLiteral("delayed"), delayed}};
    if (delayed)
        body.insert(QStringLiteral("reason"), QStringLiteral("offline"));
    return Trouble{delayed ? QStringLiteral("workers delayed") : QStringLiteral("workers on time"), "PUT",
                   QStringLiteral("control/worker-status"), body};
}

} // namespace

QList<Trouble> troubles()
{
    QList<Trouble> list;
    // The heavy ones come early, so that even a short soak meets them, and once a round.
    list.append(
        fault(QStringLiteral("100 MB body on api/projects/*"), QStringLiteral("api/projects/*"),
              QJsonObject{{QStringLiteral("bodySize"), 100 * 1024 * 1024}, {QStringLiteral("count"), 1}}));
    list.append(fault(QStringLiteral("JSON 100,000 deep on api/library/*"), QStringLiteral("api/library/*"),
                      QJsonObject{{QStringLiteral("status"), 200},
                                  {QStringLiteral("body"), nested(100000)},
                                  {QStringLiteral("contentType"), QStringLiteral("application/json")},
                                  {QStringLiteral("count"), 2}}));
    list.append(fault(QStringLiteral("JSON 100,000 deep on api/projects/*"), QStringLiteral("api/projects/*"),
                      QJsonObject{{QStringLiteral("status"), 200},
                                  {QStringLiteral("body"), nested(100000)},
                                  {QStringLiteral("contentType"), QStringLiteral("application/json")},
                                  {QStringLiteral("count"), 2}}));
    const QStringList paths = watchedPaths();
    for (const QString& path : paths) {
        QJsonObject json{{QStringLiteral("status"), 503},
                         {QStringLiteral("json"), QJsonObject{{QStringLiteral("message"), jsonMessage}}}};
        list.append(fault(QStringLiteral("JSON error on ") + path, path, json));
        list.append(fault(QStringLiteral("HTML error on ") + path, path,
                          QJsonObject{{QStringLiteral("status"), 502},
                                      {QStringLiteral("html"), QStringLiteral("<h1>Bad gateway</h1>")}}));
        list.append(
            fault(QStringLiteral("reset on ") + path, path, QJsonObject{{QStringLiteral("reset"), true}}));
        list.append(fault(QStringLiteral("cut short on ") + path, path,
                          QJsonObject{{QStringLiteral("truncate"), true}}));
        list.append(fault(QStringLiteral("10 s delay on ") + path, path,
                          QJsonObject{{QStringLiteral("delayMs"), 10000}, {QStringLiteral("count"), 1}}));
        list.append(fault(QStringLiteral("invalid JSON on ") + path, path,
                          QJsonObject{{QStringLiteral("status"), 200},
                                      {QStringLiteral("body"), QStringLiteral("{\"projects\": [ oops")},
                                      {QStringLiteral("contentType"), QStringLiteral("application/json")}}));
        list.append(worker(list.size() % 2 == 0));
    }
    return list;
}

QList<Trouble> remedies()
{
    return {Trouble{QStringLiteral("no faults"), "DELETE", QStringLiteral("control/faults"), {}},
            worker(false)};
}

QStringList serviceMessages()
{
    return {jsonMessage, QStringLiteral("Injected failure")};
}

} // namespace brightloom::soak
