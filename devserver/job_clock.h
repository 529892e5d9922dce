#pragma once

// The simulated build machine. Every job moves one step per tick of the clock: "queued", then
// "building" through a few stages, then "ready" (or "failed" when a test asked for it), and its
// files are made when it finishes. The clock ticks on its own every `--speed` seconds; the control
// interface can also step it by hand, so tests never wait for time to pass.

#include "store.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <chrono>
#include <optional>

namespace brightloom::devserver {

struct WorkerState
{
    bool online = true;
    bool delayed = false;
    QString reason; // empty: none given
};

// "a notes app with tags" gives "Notes": the first words that say what the app is.
QString appNameFromPrompt(const QString& prompt);

class JobClock final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(JobClock)

public:
    JobClock(Store& store, QString filesRoot, std::chrono::milliseconds interval, QObject* parent = nullptr);

    // A new queued job of `project`, carrying whatever fault the control interface has lined up.
    Job startJob(const Project& project, const QString& prompt, const QString& mode);
    // A fork's first job: already finished, a copy of `origin`'s result.
    Job copyJob(const Project& fork, const Job& origin);

    // Moves every unfinished job one step on; answers how many are still unfinished.
    int step();
    // Steps until no job is unfinished (or a generous bound is reached); answers the steps taken.
    int finishAll();

    void failNextJobs(int count, const QString& error);
    void breakNextSource(const QString& fault);

    WorkerState workerState();
    void setWorkerState(const WorkerState& state);

    // The folder of a finished job's files, made again when it has gone missing.
    QString filesFolder(const Job& job);

private:
    void advance(Job& job);
    void finish(Job& job);

    Store& m_store;
    QString m_filesRoot;
    QTimer m_timer;
    QStringList m_failures;     // error texts for the next jobs, first one first
    QStringList m_sourceFaults; // faults for the next source jobs
};

} // namespace brightloom::devserver
