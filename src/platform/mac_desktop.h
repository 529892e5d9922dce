#pragma once

#include "platform/desktop.h"

#include <QStringList>
#include <functional>

namespace brightloom {

// The Mac's desktop through its "open" tool (found like the developer tools, so a stand-in can take
// its place): "open TARGET" opens a file, app or web page in its default program, and
// "open -R PATH" shows a file selected in Finder. Neither waits for the tool.
class MacDesktop final : public Desktop
{
public:
    // Starts "open" with the arguments given.
    using Launch = std::function<void(const QStringList& arguments)>;

    // `launch` takes the place of starting the tool, for tests that record what would run.
    explicit MacDesktop(Launch launch = {});

    void open(const QUrl& url) override;
    void reveal(const QString& path) override;

private:
    Launch m_launch;
};

} // namespace brightloom
