// The window program. Started with a "brightloom://" address (the desktop does this when the browser
// sign-in finishes), it hands the address to the running window and exits; started plainly while a
// window runs, it brings that window to the front.

#include "commandline/help_text.h"
#include "platform/process_end.h"
#include "platform/quit_on_signals.h"
#include "platform/sign_in_handoff.h"
#include "platform/version.h"
#include "ui/app/brightloom_app.h"
#include "ui/app/first_frame_exit.h"
#include "ui/app/palette.h"
#include "ui/desktop/single_instance.h"

#include <QApplication>
#include <QUrl>
#include <QWidget>
#include <cstdio>

namespace {

// The whole program, to its exit status; everything it made is destroyed when this returns.
int runWindow(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QApplication::setApplicationName(QStringLiteral("Brightloom"));
    QApplication::setApplicationVersion(QStringLiteral(BRIGHTLOOM_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("app.brightloom.Brightloom"));
    // Before the socket is made, so that no signal can leave it behind.
    brightloom::quitOnTerminationSignals(app);

    QString callback;
    for (const QString& argument : app.arguments().mid(1)) {
        if (QUrl(argument).scheme() == QLatin1String("brightloom"))
            callback = argument;
    }
    brightloom::ui::SingleInstance instance;
    if (instance.forward(callback))
        return 0;
    if (!instance.listen())
        std::fprintf(stderr, "brightloom: another window may be starting; this one runs on its own.\n");

    brightloom::ui::applyDesktopPalette(app);
    brightloom::ui::quitAfterFirstFrameWhenAsked(app);
    brightloom::ui::BrightloomApp brightloom(instance);
    brightloom.window().show();
    return app.exec();
}

} // namespace

int main(int argc, char** argv)
{
    // Both print and end before anything else is made: no window, no display needed.
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--version") == 0) {
            std::printf("brightloom %s\n", BRIGHTLOOM_VERSION);
            return 0;
        }
        if (qstrcmp(argv[i], "--help") == 0 || qstrcmp(argv[i], "-h") == 0) {
            const QByteArray help =
                brightloom::commandline::programHelp(brightloom::commandline::windowProgram()).toUtf8();
            std::fwrite(help.constData(), 1, size_t(help.size()), stdout);
            return 0;
        }
        // A command line waiting for a browser sign-in takes the address first, before anything that
        // needs a display is made; otherwise the window does.
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (QUrl(argument).scheme() == QLatin1String("brightloom") &&
            brightloom::SignInHandoff::offer(argument))
            return 0;
    }
    brightloom::endProcess(runWindow(argc, argv));
}
