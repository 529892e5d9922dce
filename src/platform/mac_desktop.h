#pragma once

#include "platform/desktop.h"

namespace brightloom {

// The Mac's desktop through its "open" tool (found like the developer tools, so a stand-in can take
// its place): "open TARGET" opens a file, app or web page in its default program, and
// "open -R PATH" shows a file selected in Finder. Neither waits for the tool.
class MacDesktop final : public Desktop
{
public:
    void open(const QUrl& url) override;
    void reveal(const QString& path) override;
};

} // namespace brightloom
