#pragma once

#include "local_pipeline.h"
#include "local_state.h"
#include "service/records.h"

#include <QFuture>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <memory>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;

// Runs the builds of source jobs on this machine, keeps each job's state for the screens, asks the
// service to fix code that does not compile, and remembers every app it built across runs.
class LocalBuilds final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LocalBuilds)
    Q_PROPERTY(QHash<QString, brightloom::LocalState> states READ states NOTIFY statesChanged)
    Q_PROPERTY(QString toolchain READ toolchainText NOTIFY toolchainChanged)
    Q_PROPERTY(
        bool toolchainChecked READ toolchainChecked WRITE setToolchainChecked NOTIFY toolchainCheckedChanged)

public:
    // Fix requests a chain of jobs may make before the build gives up.
    static constexpr int fixLimit = 3;

    // The local build's own steps; the tools still running when the controller goes are ended.
    explicit LocalBuilds(QObject* parent = nullptr);
    explicit LocalBuilds(LocalPipeline pipeline, QObject* parent = nullptr);
    ~LocalBuilds() override;

    const QHash<QString, LocalState>& states() const { return m_states; }
    std::optional<LocalState> state(const QString& job) const;
    // Forgets a job's state, so that the next time it is handled it builds afresh ("Try again").
    void remove(const QString& job);

    const std::optional<QString>& toolchain() const { return m_toolchain; }
    QString toolchainText() const { return m_toolchain.value_or(QString()); }
    void setToolchain(std::optional<QString> version);
    bool toolchainChecked() const { return m_toolchainChecked; }
    void setToolchainChecked(bool checked);

    // Starts building a ready source job unless it is already known, running or built before.
    // Returns at once.
    void handle(const QString& project, const Job& job, int fixesSoFar, API& api);

    // Whether a build task is in flight for the job.
    bool isRunning(const QString& job) const { return m_running.contains(job); }

    // The request that asks the service to fix the compiler's `errors` in the project at `dir`.
    static QString fixPrompt(const QByteArray& errors, const QString& dir);

Q_SIGNALS:
    void statesChanged();
    void toolchainChanged();
    void toolchainCheckedChanged();
    // A job's build task ended, in whatever phase.
    void finished(const QString& job);

private:
    // The standard steps, whose tools `cancellation` ends.
    LocalBuilds(std::shared_ptr<LocalBuild::Cancellation> cancellation, QObject* parent);
    QCoro::Task<> build(QString project, Job job, QString sourceUrl, int fixesSoFar, QPointer<API> api);
    LocalPipeline::Log appender(const QString& job);
    struct PendingOutput;
    // Hands the output gathered for `job` to the log, on the main thread.
    static void deliver(QPointer<LocalBuilds> self, QString job, std::shared_ptr<PendingOutput> pending);
    void finish(const QString& job);

    std::optional<QString> saved(const QString& job) const;
    // Any thread: each call reads and writes the settings file anew.
    static void remember(const QString& job, const QString& app);
    static QFuture<void> startRemembering(QString job, QString app);
    void append(const QString& job, const QString& text);
    void set(const QString& job, const std::function<void(LocalState&)>& change);

    LocalPipeline m_pipeline;
    std::shared_ptr<LocalBuild::Cancellation> m_cancellation; // of the tools the standard steps run
    QHash<QString, LocalState> m_states;
    QSet<QString> m_running;
    std::optional<QString> m_toolchain;
    bool m_toolchainChecked = false;
};

} // namespace brightloom
