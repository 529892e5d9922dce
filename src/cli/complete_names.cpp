// The names the shell completions offer: project ids and gallery slugs, from the service.

#include "commands.h"
#include "console.h"
#include "service/api.h"

#include <QCoreApplication>
#include <QTimer>

namespace brightloom::cli {

QCoro::Task<> completeNames(QString kind)
{
    // A shell waits for this before it shows anything: after a second, no answer is the answer.
    QTimer::singleShot(std::chrono::seconds(1), qApp, [] { QCoreApplication::exit(1); });
    int status = 1;
    try {
        API api;
        if (kind == QLatin1String("projects")) {
            const ProjectsResp resp = co_await api.decode<ProjectsResp>(QStringLiteral("api/projects"));
            for (const Project& project : resp.projects)
                out(project.id);
            status = 0;
        } else if (kind == QLatin1String("slugs")) {
            for (const GalleryApp& app : co_await api.gallery())
                out(app.slug);
            status = 0;
        }
    } catch (const std::exception&) {
        // Signed out, or no service: a completion says nothing.
    }
    QCoreApplication::exit(status);
}

} // namespace brightloom::cli
