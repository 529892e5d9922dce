#pragma once

#include "service/records.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <optional>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;

// The GitHub panel of one project: what the service says about its link to a repository, the
// repositories it may be linked to, and the three actions (link, push the newest version, stop
// syncing). Connecting an account happens on the service's web page.
class GithubSyncView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GithubSyncView)
    Q_PROPERTY(std::optional<brightloom::GithubPanel> panel READ panel NOTIFY panelChanged)
    Q_PROPERTY(State state READ state NOTIFY panelChanged)
    Q_PROPERTY(QList<brightloom::GithubRepo> repos READ repos NOTIFY reposChanged)
    Q_PROPERTY(QString choice READ choice WRITE setChoice NOTIFY choiceChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(QString message READ messageText NOTIFY messageChanged)
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    Q_PROPERTY(QString commitUrl READ commitUrlText NOTIFY commitUrlChanged)

public:
    // Which view the panel shows.
    enum class State {
        unavailable, // no panel (it could not be loaded), or a state this client does not know
        connect,     // no GitHub account connected yet
        linked,      // connected and linked to a repository
        choose,      // connected, no repository linked yet
    };
    Q_ENUM(State)

    static const QString title;           // "GitHub"
    static const QString unavailableText; // "GitHub sync is not available right now."
    static const QString connectText;     // "Connect GitHub to keep this app's source in a repository."
    static const QString connectButton;   // "Connect GitHub"
    static const QString noSourceText;    // "The newest build did not keep its source, …"
    static const QString pushAgainText;   // "Push again"
    static const QString unlinkText;      // "Stop syncing"
    static const QString noReposText;     // "No repositories shared with the app yet. …"
    static const QString repositoryLabel; // "Repository"
    static const QString useRepoText;     // "Use this repository"
    static const QString upToDateText;    // "Already up to date. The repository matches this build."
    static const QString viewCommitText;  // "View the commit"

    GithubSyncView(API& api, QString projectId, QObject* parent = nullptr);

    const QString& projectId() const { return m_projectId; }
    const std::optional<GithubPanel>& panel() const { return m_panel; }
    State state() const;
    const QList<GithubRepo>& repos() const { return m_repos; }
    const QString& choice() const { return m_choice; }
    void setChoice(const QString& fullName);
    bool busy() const { return m_busy; }
    const std::optional<QString>& message() const { return m_message; }
    QString messageText() const { return m_message.value_or(QString()); }
    const std::optional<QString>& error() const { return m_error; }
    QString errorText() const { return m_error.value_or(QString()); }
    const std::optional<QString>& commitUrl() const { return m_commitUrl; }
    QString commitUrlText() const { return m_commitUrl.value_or(QString()); }

    // The service's page where the account is connected: the base address and "library/" + id.
    QUrl connectUrl() const;
    // Linked view: "Syncs to owner/repo", then ". Last pushed: version 1.0" once something was.
    QString linkedText() const;
    // The push button's label, or nothing when the newest build has no source to push.
    std::optional<QString> pushLabel() const;
    // Choose view: "Connected as login. Pick the repository to push to."
    QString chooseText() const;
    // What a push reports: the up-to-date text, or "Pushed version … to GitHub.".
    static QString pushMessage(const GithubPushResult& result);

    // Asks the service for the panel, and for the repositories while there is none linked.
    QCoro::Task<> load();
    // Each action is refused while another runs.
    QCoro::Task<> link();
    QCoro::Task<> unlink();
    QCoro::Task<> push();

Q_SIGNALS:
    void panelChanged();
    void reposChanged();
    void choiceChanged();
    void busyChanged();
    void messageChanged();
    void errorChanged();
    void commitUrlChanged();
    // A load ended (on its own or after an action).
    void loadFinished();

private:
    QCoro::Task<> loadPanel();
    void setPanel(std::optional<GithubPanel> panel);
    void setBusy(bool busy);
    void setMessage(std::optional<QString> message);
    void setError(std::optional<QString> error);
    void setCommitUrl(std::optional<QString> url);

    QPointer<API> m_api;
    QString m_projectId;
    std::optional<GithubPanel> m_panel;
    QList<GithubRepo> m_repos;
    QString m_choice;
    bool m_busy = false;
    std::optional<QString> m_message;
    std::optional<QString> m_error;
    std::optional<QString> m_commitUrl;
};

} // namespace brightloom
