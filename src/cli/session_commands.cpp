#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "password_input.h"
#include "service/api.h"
#include "service/api_error.h"
#include "terminal_sign_in_page.h"

namespace brightloom::cli {
QCoro::Task<int> login(API& api, Arguments args)
{
    if (args.flag(QStringLiteral("browser"))) {
        TerminalSignInPage page;
        api.setSignInPage(&page);
        co_await api.signInWithGoogle();
        api.setSignInPage(nullptr);
    } else {
        const QString email = args.required(QStringLiteral("email"));
        co_await api.signIn(email, co_await passwordFrom(args));
    }
    out(QStringLiteral("signed in"));
    co_return 0;
}

QCoro::Task<int> signup(API& api, Arguments args)
{
    const QString name = args.required(QStringLiteral("name"));
    const QString email = args.required(QStringLiteral("email"));
    co_await api.signUp(name, email, co_await passwordFrom(args));
    out(QStringLiteral("signed in"));
    co_return 0;
}

QCoro::Task<int> logout(API& api, Arguments)
{
    co_await api.signOut();
    out(QStringLiteral("signed out"));
    co_return 0;
}

QCoro::Task<int> session(API& api, Arguments)
{
    co_await api.restoreSession();
    out(api.signedIn() ? QStringLiteral("signed in") : QStringLiteral("signed out"));
    // As a shell test: "session && …" goes on only when signed in.
    co_return api.signedIn() ? 0 : 1;
}

QCoro::Task<int> projects(API& api, Arguments args)
{
    // The same request as the list reload, but a failure is reported rather than kept quiet.
    const ProjectsResp resp = co_await api.decode<ProjectsResp>(QStringLiteral("api/projects"));
    if (args.flag(QStringLiteral("json"))) {
        out(QString::fromUtf8(encodeRecord(resp)));
        co_return 0;
    }
    for (const Project& project : resp.projects) {
        QString line = project.id + QLatin1Char('\t') + project.name;
        if (project.unsafe.value_or(false))
            line += QStringLiteral("\tunsafe");
        out(line);
    }
    co_return 0;
}

} // namespace brightloom::cli
