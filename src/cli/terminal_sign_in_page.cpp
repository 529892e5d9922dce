#include "terminal_sign_in_page.h"

#include "console.h"
#include "platform/desktop_road.h"
#include "platform/detached_start.h"
#include "platform/mac_desktop.h"

#include <QStandardPaths>
#include <QtConcurrent/QtConcurrentRun>
#include <iostream>
#include <qcoro/qcorofuture.h>
#include <string>

namespace brightloom::cli {
namespace {

// A Mac always has its desktop. Elsewhere only with a desktop session: without one, the opener may
// start a text browser on this terminal.
void openInBrowser(const QUrl& page)
{
    if (desktopRoad() == DesktopRoad::mac) {
        MacDesktop().open(page);
        return;
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return;
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (opener.isEmpty())
        return;
    startDetachedQuietly(opener, QStringList(page.toString(QUrl::FullyEncoded)));
}

std::optional<QString> readLine()
{
    std::string line;
    if (!std::getline(std::cin, line))
        return std::nullopt;
    return QString::fromUtf8(line.data(), qsizetype(line.size())).trimmed();
}

} // namespace

QCoro::Task<SignInPage::Outcome> TerminalSignInPage::show(QUrl page)
{
    err(QStringLiteral("Open this address in a browser and sign in:"));
    err(QStringLiteral("  ") + page.toString(QUrl::FullyEncoded));
    err(QStringLiteral("Then paste the brightloom:// address the page leads to, and press Return:"));
    openInBrowser(page);

    Outcome outcome;
    // Reading a line blocks, so it happens on the thread pool while the event loop runs on.
    const std::optional<QString> line = co_await QtConcurrent::run(readLine);
    if (!line) {
        outcome.kind = Outcome::Cancelled;
        co_return outcome;
    }
    outcome.kind = Outcome::Callback;
    outcome.callback = *line;
    co_return outcome;
}

} // namespace brightloom::cli
