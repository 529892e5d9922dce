#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "service/api.h"
#include "service/api_error.h"
#include "terminal_sign_in_page.h"

namespace brightloom::cli {
QCoro::Task<int> login(API& api, QStringList words)
{
    const Arguments args = parse(words, {"email", "password"}, {"browser"});
    if (args.flag(QStringLiteral("browser"))) {
        TerminalSignInPage page;
        api.setSignInPage(&page);
        co_await api.signInWithGoogle();
        api.setSignInPage(nullptr);
    } else {
        co_await api.signIn(args.required(QStringLiteral("email")),
                            args.required(QStringLiteral("password")));
    }
    out(QStringLiteral("signed in"));
    co_return 0;
}

QCoro::Task<int> signup(API& api, QStringList words)
{
    const Arguments args = parse(words, {"name", "email", "password"}, {});
    co_await api.signUp(args.required(QStringLiteral("name")), args.required(QStringLiteral("email")),
                        args.required(QStringLiteral("password")));
    out(QStringLiteral("signed in"));
    co_return 0;
}

QCoro::Task<int> logout(API& api, QStringList words)
{
    parse(words, {}, {});
    co_await api.signOut();
    out(QStringLiteral("signed out"));
    co_return 0;
}

QCoro::Task<int> session(API& api, QStringList words)
{
    parse(words, {}, {});
    co_await api.restoreSession();
    out(api.signedIn() ? QStringLiteral("signed in") : QStringLiteral("signed out"));
    co_return 0;
}

QCoro::Task<int> projects(API& api, QStringList words)
{
    const Arguments args = parse(words, {}, {"json"});
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
