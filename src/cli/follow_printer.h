#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

namespace brightloom {
class ChatView;
class LocalBuilds;
} // namespace brightloom

namespace brightloom::cli {

// Prints a conversation's status as it changes, and tells when the newest job has come to an end:
// built (in the cloud, or on this machine for source jobs) or failed.
class FollowPrinter final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FollowPrinter)

public:
    FollowPrinter(ChatView& view, LocalBuilds& local, QObject* parent = nullptr);

Q_SIGNALS:
    // The exit status of the command: 0 built, 1 failed.
    void ended(int status);

private:
    void update();
    void show(const QString& text, bool counting);
    void tick();
    void finish(int status);
    void printLogTail(const QString& log);

    QPointer<ChatView> m_view;
    QPointer<LocalBuilds> m_local;
    QTimer m_ticker;
    QString m_shown;
    bool m_counting = false;
    bool m_ended = false;
    bool m_lineOpen = false;
};

} // namespace brightloom::cli
