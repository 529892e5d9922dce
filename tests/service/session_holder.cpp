// A long-lived client for the session tests: it keeps one API object for its whole life, as the
// window does, while other processes sign in and out beside it. It runs the commands it reads on
// standard input, one a line, and answers each with one line on standard output:
//   restore             "signed in" or "signed out"
//   signin EMAIL PASS   "signed in", or "error: " and the failure's text
//   signout             "signed out"
//   projects            "ok", or "error: " and the failure's text
// It ends when standard input ends.

#include "service/api.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <cstdio>
#include <exception>
#include <unistd.h>

namespace {

using brightloom::API;

void answer(const QString& line)
{
    std::fputs(line.toUtf8().append('\n').constData(), stdout);
    std::fflush(stdout);
}

QString failureText(const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& e) {
        return QString::fromUtf8(e.what());
    } catch (...) {
        return QStringLiteral("unknown failure");
    }
}

QCoro::Task<> run(API& api, QStringList words)
{
    const QString command = words.value(0);
    std::exception_ptr error;
    try {
        if (command == QLatin1String("restore")) {
            co_await api.restoreSession();
        } else if (command == QLatin1String("signin")) {
            co_await api.signIn(words.value(1), words.value(2));
        } else if (command == QLatin1String("signout")) {
            co_await api.signOut();
        } else if (command == QLatin1String("projects")) {
            co_await api.request(QStringLiteral("api/projects"), "GET");
            answer(QStringLiteral("ok"));
            co_return;
        } else {
            answer(QStringLiteral("error: unknown command ") + command);
            co_return;
        }
    } catch (...) {
        error = std::current_exception();
    }
    if (error)
        answer(QStringLiteral("error: ") + failureText(error));
    else
        answer(api.signedIn() ? QStringLiteral("signed in") : QStringLiteral("signed out"));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    API api;
    QByteArray pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[4096];
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got <= 0) {
            input.setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        pending.append(buffer, got);
        for (qsizetype end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n')) {
            const QString line = QString::fromUtf8(pending.left(end)).trimmed();
            pending.remove(0, end + 1);
            run(api, line.split(QLatin1Char(' '), Qt::SkipEmptyParts));
        }
    });
    return app.exec();
}
