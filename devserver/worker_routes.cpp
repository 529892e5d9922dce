// The health of the build machines, which the client polls to explain a job that stays queued.

#include "dev_server.h"
#include "http_util.h"
#include "routes.h"

namespace brightloom::devserver {

namespace {

HttpResponse workerStatus(DevServer& server, const Request&)
{
    const WorkerState state = server.clock().workerState();
    QJsonObject reply;
    reply.insert(QStringLiteral("online"), state.online);
    reply.insert(QStringLiteral("delayed"), state.delayed);
    if (!state.reason.isEmpty())
        reply.insert(QStringLiteral("reason"), state.reason);
    return jsonResponse(reply);
}

} // namespace

void addWorkerRoutes(DevServer& server)
{
    server.addRoute(DevServer::Method::Get, QStringLiteral("api/worker-status"), workerStatus);
}

} // namespace brightloom::devserver
