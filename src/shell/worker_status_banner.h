#pragma once

#include "service/records.h"

#include <QObject>
#include <QPointer>
#include <chrono>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;

// Warns when the service's build machine is running late or is offline, so that a job that stays
// queued is explained. Polls the service's worker status while it is shown; a failed poll hides it
// rather than showing stale news.
class WorkerStatusBanner final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WorkerStatusBanner)
    Q_PROPERTY(bool shown READ shown NOTIFY statusChanged)

public:
    static const QString boldText;    // "Builds are delayed right now."
    static const QString offlineText; // the machine is offline
    static const QString queueText;   // builds are queued behind others

    static constexpr std::chrono::milliseconds defaultInterval{30'000};

    explicit WorkerStatusBanner(API& api, QObject* parent = nullptr);

    const std::optional<WorkerStatus>& status() const { return m_status; }
    // Only `delayed` decides whether the banner shows.
    bool shown() const { return m_status && m_status->delayed; }
    // The sentence after the bold one: the offline text for the reason "offline", else the queue text.
    QString detailText() const;
    static QString detailTextFor(const WorkerStatus& status);

    // Polls now and then every interval until stopped; starting twice polls once.
    void start();
    void stop();
    bool polling() const { return m_polling; }
    void setInterval(std::chrono::milliseconds interval) { m_interval = interval; }
    std::chrono::milliseconds interval() const { return m_interval; }
    // How the loop waits out the interval: a timer unless a test gives a clock of its own.
    using Wait = std::function<QCoro::Task<>(std::chrono::milliseconds)>;
    void setWait(Wait wait) { m_wait = std::move(wait); }

Q_SIGNALS:
    void statusChanged();
    // One poll ended, whatever its outcome.
    void polled();

private:
    QCoro::Task<> poll(int generation);
    void setStatus(std::optional<WorkerStatus> status);

    QPointer<API> m_api;
    std::optional<WorkerStatus> m_status;
    std::chrono::milliseconds m_interval{defaultInterval};
    Wait m_wait;
    bool m_polling = false;
    int m_generation = 0;
};

} // namespace brightloom
