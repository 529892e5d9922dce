#pragma once

#include "platform/desktop.h"

#include <QList>
#include <QStringList>
#include <QUrl>

namespace brightloom::test {

// Keeps what the client asked the desktop to open and reveal, in order.
class RecordingDesktop final : public Desktop
{
public:
    void open(const QUrl& url) override { opened.append(url); }
    void reveal(const QString& path) override { revealed.append(path); }

    QStringList openedFiles() const
    {
        QStringList files;
        for (const QUrl& url : opened)
            files.append(url.toLocalFile());
        return files;
    }

    QList<QUrl> opened;
    QStringList revealed;
};

} // namespace brightloom::test
