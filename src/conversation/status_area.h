#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

namespace brightloom {

// What the conversation shows under its messages for the newest job: plain data that a window
// draws and the command line prints.
struct StatusArea
{
    enum class Kind {
        none,     // no job yet
        progress, // a spinner, `text` and a counter running since `since`
        local,    // the build on this machine: see LocalArea
        download, // the cloud-built result: see DownloadArea
        failed,   // the cloud build failed: `text` says so
    };

    Kind kind = Kind::none;
    QString text;
    QDateTime since;

    bool operator==(const StatusArea&) const = default;
};

// The actions the conversation's buttons stand for.
enum class ChatAction { downloadDmg, downloadZip, open, reveal, tryAgain };

struct ChatButton
{
    QString label;
    ChatAction action;
    QString target; // the file opened or revealed, or the job to build again
    bool enabled = true;
    bool prominent = false;

    bool operator==(const ChatButton&) const = default;
};

// The local build's area for one source job.
struct LocalArea
{
    bool spinner = false;
    QString text;
    std::optional<QString> error; // the failed build's reason
    QString log;                  // shown when the build failed and there is output
    std::optional<QString> note;  // the first-launch advice once the app is built
    QList<ChatButton> buttons;

    bool operator==(const LocalArea&) const = default;
};

// A finished download: where it went and what can be done with it.
struct SavedRow
{
    QString text;
    QList<ChatButton> buttons;

    bool operator==(const SavedRow&) const = default;
};

// The area that offers the cloud-built result.
struct DownloadArea
{
    QList<ChatButton> buttons;
    QList<SavedRow> saved;

    bool operator==(const DownloadArea&) const = default;
};

} // namespace brightloom
