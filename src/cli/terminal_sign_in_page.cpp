#include "terminal_sign_in_page.h"

#include "console.h"
#include "platform/desktop_road.h"
#include "platform/detached_start.h"
#include "platform/mac_desktop.h"
#include "platform/sign_in_handoff.h"
#include "stdin_lines.h"

#include <QStandardPaths>
#include <qcoro/qcorosignal.h>

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

} // namespace

QCoro::Task<SignInPage::Outcome> TerminalSignInPage::show(QUrl page)
{
    // Listening before the page opens, so that the address cannot come back before anyone waits.
    // When another command line waits already, this one takes the pasted address only.
    SignInHandoff handoff;
    const bool listening = handoff.listen();
    StdinLines input;
    std::optional<QString> handedOver;
    QObject::connect(&handoff, &SignInHandoff::callbackReceived, &input,
                     [&handedOver, &input](const QString& callback) {
                         if (!handedOver)
                             handedOver = callback;
                         Q_EMIT input.changed();
                     });

    err(QStringLiteral("Open this address in a browser and sign in:"));
    err(QStringLiteral("  ") + page.toString(QUrl::FullyEncoded));
    err(listening
            ? QStringLiteral("Waiting for the browser. Or paste the brightloom:// address the page leads "
                             "to, and press Return:")
            : QStringLiteral("Then paste the brightloom:// address the page leads to, and press Return:"));
    openInBrowser(page);

    Outcome outcome;
    std::optional<QString> line;
    while (!handedOver && !(line = input.takeLine()) && !input.atEnd())
        co_await qCoro(&input, &StdinLines::changed);
    if (handedOver) {
        outcome.kind = Outcome::Callback;
        outcome.callback = *handedOver;
    } else if (line) {
        outcome.kind = Outcome::Callback;
        outcome.callback = line->trimmed();
    } else {
        outcome.kind = Outcome::Cancelled;
    }
    co_return outcome;
}

} // namespace brightloom::cli
