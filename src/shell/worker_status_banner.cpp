#include "worker_status_banner.h"

#include "service/api.h"

#include <qcoro/qcorotimer.h>

namespace brightloom {

const QString WorkerStatusBanner::boldText = QStringLiteral("Builds are delayed right now.");
const QString WorkerStatusBanner::offlineText = QStringLiteral(
    "Our build machine is offline. Your build will stay queued and start automatically when it is back.");
const QString WorkerStatusBanner::queueText =
    QStringLiteral("Lots of builds are ahead of yours. Yours will start as soon as there is room.");

WorkerStatusBanner::WorkerStatusBanner(API& api, QObject* parent) : QObject(parent), m_api(&api) {}

QString WorkerStatusBanner::detailTextFor(const WorkerStatus& status)
{
    return status.reason == QStringLiteral("offline") ? offlineText : queueText;
}

QString WorkerStatusBanner::detailText() const
{
    return m_status ? detailTextFor(*m_status) : QString();
}

void WorkerStatusBanner::start()
{
    if (m_polling)
        return;
    m_polling = true;
    poll(++m_generation);
}

void WorkerStatusBanner::stop()
{
    // A loop of an earlier generation ends at its next step; its answer in flight is dropped.
    m_polling = false;
    ++m_generation;
}

QCoro::Task<> WorkerStatusBanner::poll(int generation)
{
    QPointer<WorkerStatusBanner> self(this);
    while (self && m_generation == generation) {
        std::optional<WorkerStatus> status;
        try {
            if (m_api)
                status = co_await m_api->workerStatus();
        } catch (...) {
            // Unreachable, refused or unreadable: the banner hides.
        }
        if (!self || m_generation != generation)
            co_return;
        setStatus(std::move(status));
        Q_EMIT polled();
        if (m_wait) {
            const Wait wait = m_wait; // the banner may go while it waits
            co_await wait(m_interval);
        } else {
            co_await QCoro::sleepFor(m_interval);
        }
    }
}

void WorkerStatusBanner::setStatus(std::optional<WorkerStatus> status)
{
    const bool same =
        status.has_value() == m_status.has_value() &&
        (!status || (status->online == m_status->online && status->delayed == m_status->delayed &&
                     status->reason == m_status->reason));
    m_status = std::move(status);
    if (!same)
        Q_EMIT statusChanged();
}

} // namespace brightloom
