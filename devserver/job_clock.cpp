#include "job_clock.h"

#include "job_files.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <cstdio>

namespace brightloom::devserver {

namespace {

const QStringList cloudStages = {QStringLiteral("planning"), QStringLiteral("writing code"),
                                 QStringLiteral("compiling"), QStringLiteral("signing")};
const QStringList sourceStages = {QStringLiteral("planning"), QStringLiteral("writing code"),
                                  QStringLiteral("checking the source")};

// More than any job needs, so "finish" ends even if something keeps a job from moving.
constexpr int finishBound = 50;

const QSet<QString>& fillerWords()
{
    static const QSet<QString> words = {
        QStringLiteral("a"),      QStringLiteral("an"),          QStringLiteral("the"),
        QStringLiteral("make"),   QStringLiteral("build"),       QStringLiteral("create"),
        QStringLiteral("write"),  QStringLiteral("me"),          QStringLiteral("my"),
        QStringLiteral("i"),      QStringLiteral("want"),        QStringLiteral("need"),
        QStringLiteral("please"), QStringLiteral("simple"),      QStringLiteral("small"),
        QStringLiteral("tiny"),   QStringLiteral("little"),      QStringLiteral("app"),
        QStringLiteral("apps"),   QStringLiteral("application"), QStringLiteral("mac"),
        QStringLiteral("macos"),  QStringLiteral("for"),         QStringLiteral("with"),
        QStringLiteral("that"),   QStringLiteral("which"),       QStringLiteral("to"),
        QStringLiteral("of"),     QStringLiteral("and"),         QStringLiteral("in"),
        QStringLiteral("on"),     QStringLiteral("using"),       QStringLiteral("called"),
        QStringLiteral("named"),  QStringLiteral("new"),         QStringLiteral("quick"),
        QStringLiteral("basic"),  QStringLiteral("native"),      QStringLiteral("swiftui"),
        QStringLiteral("like"),   QStringLiteral("from"),        QStringLiteral("based"),
        QStringLiteral("can"),    QStringLiteral("shows"),
    };
    return words;
}

QString summaryOf(const QString& prompt)
{
    QString line = prompt.section(QLatin1Char('\n'), 0, 0).simplified();
    if (line.size() > 80)
        line = line.left(79) + QChar(0x2026);
    return line;
}

void logLine(const QString& line)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(line));
    std::fflush(stderr);
}

} // namespace

QString appNameFromPrompt(const QString& prompt)
{
    static const QRegularExpression wordPattern(QStringLiteral("[\\p{L}\\p{N}]+"));
    QStringList name;
    QRegularExpressionMatchIterator words = wordPattern.globalMatch(prompt);
    while (words.hasNext() && name.size() < 2) {
        const QString word = words.next().captured();
        if (fillerWords().contains(word.toLower())) {
            if (!name.isEmpty())
                break;
            continue;
        }
        name.append(word.left(1).toUpper() + word.mid(1));
    }
    return name.isEmpty() ? QStringLiteral("My App") : name.join(QLatin1Char(' '));
}

JobClock::JobClock(Store& store, QString filesRoot, std::chrono::milliseconds interval, QObject* parent)
    : QObject(parent), m_store(store), m_filesRoot(std::move(filesRoot))
{
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        try {
            step();
        } catch (const std::exception& error) {
            logLine(QStringLiteral("error: the job clock stopped a step: ") +
                    QString::fromUtf8(error.what()));
        }
    });
    m_timer.start();
}

Job JobClock::startJob(const Project& project, const QString& prompt, const QString& mode)
{
    Job job;
    job.projectId = project.id;
    job.mode = mode;
    job.prompt = prompt;
    job.status = QStringLiteral("queued");
    job.summary = summaryOf(prompt);
    if (!m_failures.isEmpty())
        job.failWith = m_failures.takeFirst();
    if (jobfiles::isSourceMode(mode) && !m_sourceFaults.isEmpty())
        job.sourceFault = m_sourceFaults.takeFirst();
    // An imported repository's history stays on GitHub: this service keeps no source of its own.
    job.hasSource = project.importRepo.isEmpty();
    return m_store.createJob(job);
}

Job JobClock::copyJob(const Project& fork, const Job& origin)
{
    Job job;
    job.projectId = fork.id;
    job.mode = origin.mode;
    job.prompt = origin.prompt;
    job.status = QStringLiteral("ready");
    job.appName = origin.appName;
    job.version = QStringLiteral("1.0");
    job.summary = QStringLiteral("Started from %1 %2").arg(origin.appName, origin.version);
    job.hasSource = origin.hasSource;
    job.copiedFrom = origin.id;
    job = m_store.createJob(job);
    filesFolder(job);
    return job;
}

int JobClock::step()
{
    QList<Job> jobs = m_store.activeJobs();
    const bool online = workerState().online;
    int active = 0;
    for (Job& job : jobs) {
        // With the build machine offline nothing starts; what already runs carries on.
        if (online || job.status != QLatin1String("queued"))
            advance(job);
        if (job.status == QLatin1String("queued") || job.status == QLatin1String("building"))
            ++active;
    }
    return active;
}

int JobClock::finishAll()
{
    int steps = 0;
    while (steps < finishBound && !m_store.activeJobs().isEmpty()) {
        step();
        ++steps;
    }
    return steps;
}

void JobClock::advance(Job& job)
{
    const QStringList& stages = jobfiles::isSourceMode(job.mode) ? sourceStages : cloudStages;
    ++job.step;
    if (job.step <= stages.size()) {
        job.status = QStringLiteral("building");
        job.stage = stages[job.step - 1];
        m_store.saveJob(job);
        return;
    }
    finish(job);
}

void JobClock::finish(Job& job)
{
    job.stage.clear();
    if (!job.failWith.isEmpty()) {
        job.status = QStringLiteral("failed");
        job.error = job.failWith;
        m_store.saveJob(job);
        m_store.addMessage(job.projectId, QStringLiteral("assistant"),
                           QStringLiteral("The build failed: ") + job.error);
        return;
    }
    const std::optional<Project> project = m_store.project(job.projectId);
    job.appName = project ? project->name : appNameFromPrompt(job.prompt);
    job.version = QStringLiteral("1.%1").arg(m_store.readyJobCount(job.projectId));
    job.status = QStringLiteral("ready");
    try {
        jobfiles::make(QDir(m_filesRoot).filePath(job.fileKey), job);
    } catch (const std::exception& error) {
        job.status = QStringLiteral("failed");
        job.error = QStringLiteral("The build machine could not save the app.");
        job.version.clear();
        logLine(QStringLiteral("error: ") + QString::fromUtf8(error.what()));
    }
    m_store.saveJob(job);
    if (job.status == QLatin1String("ready")) {
        m_store.addMessage(job.projectId, QStringLiteral("assistant"),
                           jobfiles::isSourceMode(job.mode)
                               ? QStringLiteral("The source of %1 %2 is ready to build on your Mac.")
                                     .arg(job.appName, job.version)
                               : QStringLiteral("Version %1 of %2 is ready.").arg(job.version, job.appName));
    }
}

void JobClock::failNextJobs(int count, const QString& error)
{
    for (int i = 0; i < count; ++i)
        m_failures.append(error);
}

void JobClock::breakNextSource(const QString& fault)
{
    m_sourceFaults.append(fault);
}

WorkerState JobClock::workerState()
{
    WorkerState state;
    state.online =
        m_store.meta(QStringLiteral("worker.online")).value_or(QStringLiteral("1")) == QLatin1String("1");
    state.delayed = m_store.meta(QStringLiteral("worker.delayed")).value_or(QString()) == QLatin1String("1");
    state.reason = m_store.meta(QStringLiteral("worker.reason")).value_or(QString());
    return state;
}

void JobClock::setWorkerState(const WorkerState& state)
{
    m_store.setMeta(QStringLiteral("worker.online"),
                    state.online ? QStringLiteral("1") : QStringLiteral("0"));
    m_store.setMeta(QStringLiteral("worker.delayed"),
                    state.delayed ? QStringLiteral("1") : QStringLiteral("0"));
    m_store.setMeta(QStringLiteral("worker.reason"), state.reason);
}

QString JobClock::filesFolder(const Job& job)
{
    const QString folder = QDir(m_filesRoot).filePath(job.fileKey);
    const bool complete =
        QFileInfo::exists(QDir(folder).filePath(QString::fromLatin1(jobfiles::appArchive))) &&
        (!jobfiles::isSourceMode(job.mode) ||
         QFileInfo::exists(QDir(folder).filePath(QString::fromLatin1(jobfiles::sourceArchive))));
    if (!complete)
        jobfiles::make(folder, job);
    return folder;
}

} // namespace brightloom::devserver
