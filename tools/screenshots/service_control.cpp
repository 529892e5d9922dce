#include "service_control.h"

#include "service/api.h"

#include <QJsonObject>

namespace brightloom::screens {

namespace {

// Bodies are made outside the coroutines: GCC 12 cannot compile braced lists inside one.
QJsonObject stepsBody(int steps)
{
    return QJsonObject{{QStringLiteral("steps"), steps}};
}

QJsonObject compileFault()
{
    return QJsonObject{{QStringLiteral("fault"), QStringLiteral("compile")}};
}

} // namespace

QCoro::Task<> stepClock(API& api, int steps)
{
    co_await api.request(QStringLiteral("control/clock/step"), "POST", stepsBody(steps));
}

QCoro::Task<> finishJobs(API& api)
{
    co_await api.request(QStringLiteral("control/clock/finish"), "POST", QJsonObject());
}

QCoro::Task<> nextSourceNeverCompiles(API& api)
{
    co_await api.request(QStringLiteral("control/source/next"), "POST", compileFault());
}

} // namespace brightloom::screens
