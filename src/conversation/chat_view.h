#pragma once

#include "conversation/status_area.h"
#include "service/records.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <chrono>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;
class Desktop;
class LocalBuilds;

// The conversation about one project: its messages and jobs as the service last told them, the
// composer's text, and what the newest job offers. Polls the service while it lives.
class ChatView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ChatView)
    Q_PROPERTY(QList<brightloom::Message> messages READ messages NOTIFY messagesChanged)
    Q_PROPERTY(QList<brightloom::Job> jobs READ jobs NOTIFY jobsChanged)
    Q_PROPERTY(QString prompt READ prompt WRITE setPrompt NOTIFY promptChanged)
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    Q_PROPERTY(bool loaded READ loaded NOTIFY loadedChanged)
    Q_PROPERTY(bool sending READ sending NOTIFY sendingChanged)
    Q_PROPERTY(bool downloading READ downloading NOTIFY downloadingChanged)
    Q_PROPERTY(QString downloadedApp READ downloadedAppText NOTIFY downloadedAppChanged)
    Q_PROPERTY(QString savedDmg READ savedDmgText NOTIFY savedDmgChanged)

public:
    static constexpr int fixLimit = 3;

    struct PollIntervals
    {
        std::chrono::milliseconds active{2500}; // before the first success, and while a job runs
        std::chrono::milliseconds idle{1500};
        std::chrono::milliseconds becameActive{2500}; // added when a job started during the idle wait
    };
    // How the polling loop waits out an interval: a timer unless a test gives a clock of its own.
    using PollWait = std::function<QCoro::Task<>(std::chrono::milliseconds)>;

    // `desktop` opens and reveals files; it may be null where there is no desktop.
    ChatView(API& api, LocalBuilds& local, Project project, Desktop* desktop = nullptr,
             QObject* parent = nullptr);
    ~ChatView() override;

    const Project& project() const { return m_project; }
    const QList<Message>& messages() const { return m_messages; }
    const QList<Job>& jobs() const { return m_jobs; }
    const QString& prompt() const { return m_prompt; }
    void setPrompt(const QString& prompt);
    const std::optional<QString>& error() const { return m_error; }
    QString errorText() const { return m_error.value_or(QString()); }
    bool loaded() const { return m_loaded; }
    // A message is on its way to the service; no second one goes until it is answered.
    bool sending() const { return m_sending; }
    bool downloading() const { return m_downloading; }
    const std::optional<QString>& downloadedApp() const { return m_downloadedApp; }
    QString downloadedAppText() const { return m_downloadedApp.value_or(QString()); }
    const std::optional<QString>& savedDmg() const { return m_savedDmg; }
    QString savedDmgText() const { return m_savedDmg.value_or(QString()); }
    const QHash<QString, QDateTime>& stageSince() const { return m_stageSince; }

    // The newest job, if any.
    std::optional<Job> latest() const;
    // How many of the newest jobs in a row are fix jobs.
    int fixesSoFar() const;
    static QString stageKey(const Job& job);
    // When a queued job was made, if its time stamp reads as an internet date-time.
    static std::optional<QDateTime> parseCreatedAt(const std::optional<QString>& text);

    StatusArea status() const;
    LocalArea localStatus(const Job& job) const;
    DownloadArea downloadArea(const Job& job) const;
    // Where the job's app icon loads from; none when it has no icon or the address cannot be one.
    std::optional<QUrl> iconAddress(const Job& job) const;
    // The name a disk image is saved under: the app's name and version.
    QString dmgName(const Job& job) const { return dmgName(job, m_project); }
    static QString dmgName(const Job& job, const Project& project);

    // Asks the service for the project once; a failure changes nothing.
    QCoro::Task<> refresh();
    // Refreshes until the screen is gone or stopPolling() is called; starting again after a stop
    // runs one loop, never two.
    void startPolling();
    // Ends the polling loop at its next step (a hidden screen asks nothing of the service).
    void stopPolling();
    bool polling() const { return m_polling; }
    void setPollIntervals(PollIntervals intervals) { m_intervals = intervals; }
    // Taken when polling starts.
    void setPollWait(PollWait wait) { m_wait = std::move(wait); }
    // Sends the composer's text unless it is blank or a job is still running.
    void send();
    // Whether send() would send now; changes with promptChanged, jobsChanged and sendingChanged.
    bool canSend() const;
    // Does what a button of the status area stands for.
    void trigger(const ChatButton& button);

Q_SIGNALS:
    void messagesChanged();
    void jobsChanged();
    void promptChanged();
    void errorChanged();
    void loadedChanged();
    void sendingChanged();
    void downloadingChanged();
    void downloadedAppChanged();
    void savedDmgChanged();
    void stageSinceChanged();
    // The status area may read differently (a job, a local build or a download changed).
    void statusChanged();
    // A refresh finished, with or without success.
    void refreshed();
    // A send finished; `ok` tells whether the service took the message.
    void sent(bool ok);

private:
    QCoro::Task<> poll(int run);
    QCoro::Task<> sendText(QString text);
    // The disk image, or else the app archive, of `job`.
    QCoro::Task<> download(Job job, bool diskImage);
    void setError(std::optional<QString> error);
    void setSending(bool sending);
    void setDownloading(bool downloading);
    void setDownloadedApp(std::optional<QString> path);
    void setSavedDmg(std::optional<QString> path);

    QPointer<API> m_api;
    QPointer<LocalBuilds> m_local;
    Project m_project;
    Desktop* m_desktop;
    QList<Message> m_messages;
    QList<Job> m_jobs;
    QString m_prompt;
    std::optional<QString> m_error;
    bool m_loaded = false;
    bool m_sending = false;
    bool m_downloading = false;
    std::optional<QString> m_downloadedApp;
    std::optional<QString> m_savedDmg;
    QHash<QString, QDateTime> m_stageSince;
    PollIntervals m_intervals;
    PollWait m_wait;
    bool m_polling = false;
    int m_pollRun = 0; // which start the running loop belongs to
};

} // namespace brightloom
