#pragma once

#include <QString>
#include <QUrl>

namespace brightloom {

// What the desktop does for the client: open a file, app or web page, and show a file in the file
// browser. The window app asks the desktop; tests and the command line record or print instead.
class Desktop
{
public:
    virtual ~Desktop() = default;
    virtual void open(const QUrl& url) = 0;
    virtual void reveal(const QString& path) = 0;
};

} // namespace brightloom
