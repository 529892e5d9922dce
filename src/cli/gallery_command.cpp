// The gallery as its screen shows it, and starting a project from one of its templates.

#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "library/gallery_view.h"
#include "service/api.h"
#include "service/api_error.h"
#include "settle.h"

namespace brightloom::cli {
namespace {

QString flag(bool on, const char* word)
{
    return on ? QLatin1Char('\t') + QString::fromLatin1(word) : QString();
}

QCoro::Task<int> useTemplate(API& api, QString slug, bool follow,
                             std::optional<std::chrono::milliseconds> interval)
{
    std::optional<QString> created;
    const std::function<void(QString)> onCreated = [&created](QString id) { created = std::move(id); };
    GalleryView view(api, nullptr, onCreated);
    co_await view.load();
    const GalleryApp* found = nullptr;
    for (const GalleryApp& app : view.apps()) {
        if (app.slug == slug)
            found = &app;
    }
    if (!found)
        throw APIError(QStringLiteral("The gallery has no app ") + slug + QLatin1Char('.'));
    if (!found->templateJobId)
        throw APIError(found->name + QStringLiteral(" offers no template."));
    view.use(*found);
    while (view.busySlug())
        co_await nextChange(&view, &GalleryView::busySlugChanged);
    if (!created)
        throw APIError(view.errorText());
    out(*created);
    if (follow)
        co_return co_await followProject(api, *created, interval);
    co_return 0;
}

} // namespace

QCoro::Task<int> gallery(API& api, Arguments args)
{
    if (args.positionalCount() > 0) {
        const QString action = args.positional(0, "action");
        if (action != QLatin1String("use"))
            throw UsageError(QStringLiteral("unknown gallery action ") + action);
        co_return co_await useTemplate(api, args.positional(1, "slug"), args.flag(QStringLiteral("follow")),
                                       pollInterval(args));
    }
    GalleryView view(api, nullptr, {});
    co_await view.load();
    view.setOnlyFavorites(args.flag(QStringLiteral("favorites")));
    if (args.flag(QStringLiteral("json"))) {
        GalleryResp resp;
        resp.apps = view.shown();
        out(QString::fromUtf8(encodeRecord(resp)));
        co_return 0;
    }
    for (const GalleryApp& app : view.shown()) {
        out(app.slug + QLatin1Char('\t') + app.name + QLatin1Char('\t') + app.tagline +
            flag(app.starred, "starred") + flag(app.templateJobId.has_value(), "template") +
            flag(view.isFavorite(app.slug), "favorite"));
    }
    co_return 0;
}

} // namespace brightloom::cli
