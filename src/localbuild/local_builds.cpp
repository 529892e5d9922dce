#include "local_builds.h"

#include "bundle_info.h"
#include "platform/settings.h"
#include "process_runner.h"
#include "service/api.h"
#include "service/api_error.h"
#include "service/screen_action.h"
#include "text/characters.h"
#include "threads/release_in_background.h"

#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QVariantMap>
#include <QtConcurrent/QtConcurrentRun>
#include <exception>
#include <memory>
#include <qcoro/qcorofuture.h>
#include <utility>

namespace brightloom {

namespace {

constexpr qsizetype logLimit = 4000;

// The newest `limit` characters; a text that holds no more code units than that holds no more
// characters either.
QString newest(const QString& text, qsizetype limit)
{
    if (text.size() <= limit)
        return text;
    return text::lastCharacters(text, limit);
}

QString describe(const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& e) {
        return QString::fromUtf8(e.what());
    } catch (...) {
        return QStringLiteral("The build stopped for an unknown reason.");
    }
}

} // namespace

LocalBuilds::LocalBuilds(QObject* parent) : LocalBuilds(std::make_shared<LocalBuild::Cancellation>(), parent)
{}

LocalBuilds::LocalBuilds(std::shared_ptr<LocalBuild::Cancellation> cancellation, QObject* parent)
    : LocalBuilds(LocalPipeline::standard(LocalBuild::Limits{.cancellation = cancellation}), parent)
{
    m_cancellation = std::move(cancellation);
}

LocalBuilds::LocalBuilds(LocalPipeline pipeline, QObject* parent)
    : QObject(parent), m_pipeline(std::move(pipeline))
{}

LocalBuilds::~LocalBuilds()
{
    // A build still running would otherwise go on compiling for nobody.
    if (m_cancellation)
        m_cancellation->cancel();
}

std::optional<LocalState> LocalBuilds::state(const QString& job) const
{
    const auto it = m_states.constFind(job);
    if (it == m_states.cend())
        return std::nullopt;
    return *it;
}

void LocalBuilds::remove(const QString& job)
{
    if (m_states.remove(job) > 0)
        Q_EMIT statesChanged();
}

void LocalBuilds::setToolchain(std::optional<QString> version)
{
    assignAndNotify(this, m_toolchain, std::move(version), &LocalBuilds::toolchainChanged);
}

void LocalBuilds::setToolchainChecked(bool checked)
{
    assignAndNotify(this, m_toolchainChecked, checked, &LocalBuilds::toolchainCheckedChanged);
}

void LocalBuilds::handle(const QString& project, const Job& job, int fixesSoFar, API& api)
{
    if (job.status != JobStatus::ready || !job.isSourceBuild() || !job.sourceUrl)
        return;
    if (m_states.contains(job.id) || m_running.contains(job.id))
        return;

    LocalState state;
    state.attempt = fixesSoFar;
    if (const auto app = saved(job.id)) {
        state.phase = LocalState::Phase::done;
        state.app = *app;
        m_states.insert(job.id, state);
        Q_EMIT statesChanged();
        return;
    }
    m_running.insert(job.id);
    m_states.insert(job.id, state);
    Q_EMIT statesChanged();
    build(project, job, *job.sourceUrl, fixesSoFar, QPointer<API>(&api));
}

// Every step's failure is caught here: nobody awaits this task, so an escaping exception would be
// lost along with the job's state.
QCoro::Task<> LocalBuilds::build(QString project, Job job, QString sourceUrl, int fixesSoFar,
                                 QPointer<API> api)
{
    QPointer<LocalBuilds> self(this);
    const QString id = job.id;
    std::exception_ptr failure;
    try {
        if (!api)
            throw APIError(QStringLiteral("The service client is gone."));
        // The version goes into the app's Info.plist: a bad one is refused before the source comes.
        LocalBuild::checkBundleVersion(job.version);
        const QString dir = co_await m_pipeline.fetchSource(*api, sourceUrl, id);
        if (!self)
            co_return;

        try {
            co_await m_pipeline.fetchAssets(dir, appender(id));
        } catch (...) {
            if (self)
                append(id, QStringLiteral("Assets skipped: ") + describe(std::current_exception()) +
                               QLatin1Char('\n'));
        }
        if (!self)
            co_return;

        set(id, [](LocalState& s) { s.phase = LocalState::Phase::compiling; });
        std::optional<QByteArray> errors = co_await m_pipeline.compile(dir, appender(id));
        if (!self)
            co_return;

        if (!errors) {
            set(id, [](LocalState& s) { s.phase = LocalState::Phase::packaging; });
            const QString app = co_await m_pipeline.package(dir, id, job.version);
            if (!self)
                co_return;
            // Written to the settings file on the thread pool: saving it waits for the disk.
            QFuture<void> remembered = startRemembering(id, app);
            co_await remembered;
            if (!self)
                co_return;
            set(id, [app](LocalState& s) {
                s.phase = LocalState::Phase::done;
                s.app = app;
            });
        } else if (fixesSoFar >= fixLimit) {
            releaseInBackground(std::move(*errors));
            set(id, [](LocalState& s) {
                s.phase = LocalState::Phase::failed;
                s.error = QStringLiteral("Still not compiling after 3 fix attempts.");
            });
        } else {
            set(id, [](LocalState& s) { s.phase = LocalState::Phase::askingForFix; });
            // A failing build can print megabytes; sifting them is no work for the main thread.
            QFuture<QString> sifting = QtConcurrent::run(&LocalBuilds::fixPrompt, *errors, dir);
            const QString prompt = co_await sifting;
            releaseInBackground(std::move(*errors));
            if (!self)
                co_return;
            if (!api)
                throw APIError(QStringLiteral("The service client is gone."));
            co_await api->send(prompt, project, true);
            if (!self)
                co_return;
        }
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure) {
        const QString text = describe(failure);
        set(id, [text](LocalState& s) {
            s.phase = LocalState::Phase::failed;
            s.error = text;
        });
    }
    finish(id);
}

void LocalBuilds::finish(const QString& job)
{
    m_running.remove(job);
    Q_EMIT finished(job);
}

// Output waiting for the main thread. A compiler can write faster than one event per chunk can be
// handled, so chunks gather here and one event at a time carries what has gathered: the main thread
// never meets a flood of events, and the log it keeps ends the same.
//
// The lock is held only to add a short text or to take what gathered, and the main thread never
// waits for it: the output thread may be preempted while it holds it, and the main thread would then
// stall for as long as the machine is busy. It tries again with its next turn instead. For the same
// reason the main thread copies what gathered and leaves the output thread's memory to it: freeing
// memory of another thread waits for that thread's allocator lock.
struct LocalBuilds::PendingOutput
{
    QMutex lock;
    QString text;
    bool posted = false;
};

void LocalBuilds::deliver(QPointer<LocalBuilds> self, QString job, std::shared_ptr<PendingOutput> pending)
{
    LocalBuilds* context = self.data();
    if (!context)
        return; // the controller is gone: the output is dropped
    if (!pending->lock.tryLock()) {
        QMetaObject::invokeMethod(
            context, [self, job, pending] { deliver(self, job, pending); }, Qt::QueuedConnection);
        return;
    }
    const QString text(pending->text.constData(), pending->text.size());
    pending->text.truncate(0); // keeps its memory, for the output thread to reuse or free
    pending->posted = false;
    pending->lock.unlock();
    context->append(job, text);
}

LocalPipeline::Log LocalBuilds::appender(const QString& job)
{
    QPointer<LocalBuilds> self(this);
    auto pending = std::make_shared<PendingOutput>();
    return [self, job, pending](const QString& chunk) {
        // Runs on the tools' output thread. A chunk of a megabyte is cut to its tail before the lock.
        QObject* context = self.data();
        if (!context)
            return;
        const QString tail = newest(chunk, logLimit);
        {
            QMutexLocker locked(&pending->lock);
            pending->text += tail;
            // Cut now and then, not on every chunk, to keep the time under the lock short.
            if (pending->text.size() > 4 * logLimit)
                pending->text = newest(pending->text, logLimit);
            if (pending->posted)
                return;
            pending->posted = true;
        }
        QMetaObject::invokeMethod(
            context, [self, job, pending] { deliver(self, job, pending); }, Qt::QueuedConnection);
    };
}

std::optional<QString> LocalBuilds::saved(const QString& job) const
{
    const auto apps = Settings::localBuiltApps();
    if (!apps || !apps->contains(job))
        return std::nullopt;
    const QString path = apps->value(job);
    if (path.isEmpty() || !QFileInfo::exists(path))
        return std::nullopt;
    return path;
}

void LocalBuilds::remember(const QString& job, const QString& app)
{
    QMap<QString, QString> apps = Settings::localBuiltApps().value_or(QMap<QString, QString>());
    apps.insert(job, QFileInfo(app).absoluteFilePath());
    Settings::setLocalBuiltApps(apps);
}

QFuture<void> LocalBuilds::startRemembering(QString job, QString app)
{
    return QtConcurrent::run([job = std::move(job), app = std::move(app)] { remember(job, app); });
}

void LocalBuilds::append(const QString& job, const QString& text)
{
    const auto it = m_states.find(job);
    if (it == m_states.end())
        return;
    it->log = newest(it->log + text, logLimit);
    Q_EMIT statesChanged();
}

void LocalBuilds::set(const QString& job, const std::function<void(LocalState&)>& change)
{
    const auto it = m_states.find(job);
    if (it == m_states.end())
        return;
    LocalState copy = *it;
    change(copy);
    *it = std::move(copy);
    Q_EMIT statesChanged();
}

} // namespace brightloom
