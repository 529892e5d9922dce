// Scenes of starting an app: the new project screen in its states, and the gallery of templates.

#include "conversation/new_project_view.h"
#include "library/gallery_view.h"
#include "localbuild/local_builds.h"
#include "scene.h"
#include "scripted_dialogs.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "ui/app/window_screens.h"
#include "ui/conversation/composer.h"
#include "ui/conversation/location_picker.h"
#include "ui/conversation/new_project_view_widget.h"
#include "ui/library/gallery_view_widget.h"

#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <QScrollArea>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace brightloom::screens {
namespace {

ScriptedDialogs& dialogs()
{
    static ScriptedDialogs answers;
    return answers;
}

// A folder whose xcrun answers as a toolchain would: with a version, after a long wait, or not
// at all; the screen's toolchain check runs it.
enum class Toolchain { found, slow, missing };

// The developer tools the program was started with (the stand-ins), which later scenes build with;
// read before any scene changes them.
const QByteArray startingTools = qgetenv("BRIGHTLOOM_TOOLS_DIR");

void useToolchain(Toolchain which)
{
    const QString base = QStandardPaths::writableLocation(QStandardPaths::TempLocation) +
                         QStringLiteral("/brightloom-screens-tools");
    const QString folder = base + (which == Toolchain::found  ? QStringLiteral("/found")
                                   : which == Toolchain::slow ? QStringLiteral("/slow")
                                                              : QStringLiteral("/missing"));
    QDir().mkpath(folder);
    if (which != Toolchain::missing) {
        QFile script(folder + QStringLiteral("/xcrun"));
        script.open(QIODevice::WriteOnly | QIODevice::Truncate);
        script.write(which == Toolchain::found
                         ? "#!/bin/sh\necho 'swift-driver version: 1.115 Apple Swift version 6.0.3'\n"
                         : "#!/bin/sh\nsleep 20\n");
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    qputenv("BRIGHTLOOM_TOOLS_DIR", folder.toUtf8());
}

// Loads every gallery icon beforehand, so that tiles show pictures rather than their placeholders
// when photographed.
QCoro::Task<> preloadIcons(SceneContext& context)
{
    const QList<GalleryApp> apps = co_await context.api.gallery();
    QList<QUrl> urls;
    for (const GalleryApp& app : apps) {
        if (const std::optional<QUrl> url = context.api.iconURL(app.iconUrl)) {
            context.icons.load(*url);
            urls.append(*url);
        }
    }
    IconLoader& icons = context.icons;
    // Named before it is awaited: GCC 12 corrupts a capturing lambda made inside a co_await.
    const std::function<bool()> settled = [&icons, urls] {
        for (const QUrl& url : urls) {
            if (icons.state(url) == IconLoader::State::loading)
                return false;
        }
        return true;
    };
    co_await waitUntil(settled);
}

ui::NewProjectViewWidget* screen(SceneContext& context, const QString& location)
{
    // A fresh controller each time, so that no check of an earlier scene shows.
    auto* local = new LocalBuilds;
    auto* widget =
        ui::newProjectScreen(context.api, *local, context.icons, context.desktop, dialogs(), [](QString) {});
    local->setParent(widget);
    widget->model().setLocation(location);
    return widget;
}

QCoro::Task<QWidget*> emptyScreen(SceneContext& context)
{
    co_await preloadIcons(context);
    useToolchain(Toolchain::found);
    co_return screen(context, NewProjectView::cloud);
}

QCoro::Task<QWidget*> linkNotice(SceneContext& context)
{
    useToolchain(Toolchain::missing);
    auto* widget = screen(context, NewProjectView::cloud);
    widget->model().setPrompt(QStringLiteral("Turn https://github.com/octo/Pomodoro into a menu bar timer, "
                                             "with the sounds of github.com/octo/chimes"));
    co_return widget;
}

QWidget* thisMacWith(SceneContext& context, Toolchain toolchain)
{
    useToolchain(toolchain);
    auto* widget = screen(context, NewProjectView::local);
    widget->model().setPrompt(QStringLiteral("A menu bar timer with a Pomodoro countdown"));
    return widget;
}

QCoro::Task<QWidget*> thisMac(SceneContext& context)
{
    co_await preloadIcons(context);
    co_return thisMacWith(context, Toolchain::found);
}

QCoro::Task<QWidget*> lookingForXcode(SceneContext& context)
{
    co_return thisMacWith(context, Toolchain::slow);
}

QCoro::Task<QWidget*> swiftNotFound(SceneContext& context)
{
    co_return thisMacWith(context, Toolchain::missing);
}

// The four lines under the picker: in the cloud, while looking for Xcode, without Swift, and with
// it. A plain function: GCC 12 cannot compile the braced lists in a coroutine.
QWidget* pickerColumn()
{
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(26);
    const struct
    {
        QString location;
        QString text;
    } states[] = {
        {NewProjectView::cloud, NewProjectView::cloudDescription},
        {NewProjectView::local, NewProjectView::lookingForXcode},
        {NewProjectView::local, NewProjectView::swiftNotFound},
        {NewProjectView::local, NewProjectView::foundDescription(
                                    QStringLiteral("swift-driver version: 1.115 Apple Swift version 6.0.3"))},
    };
    for (const auto& state : states) {
        auto* picker = new ui::LocationPicker(column);
        picker->setLocation(state.location);
        picker->setDescription(state.text);
        layout->addWidget(picker);
    }
    return page(column);
}

QCoro::Task<QWidget*> pickerLines(SceneContext&)
{
    co_return pickerColumn();
}

// The gallery alone, in a scroll area as on its screen.
QWidget* galleryPage(ui::GalleryViewWidget* gallery)
{
    auto* scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(page(gallery));
    return scroll;
}

ui::GalleryViewWidget* gallery(SceneContext& context)
{
    return ui::galleryScreen(context.api, context.icons, context.desktop, [](QString) {});
}

QCoro::Task<GalleryView*> loaded(ui::GalleryViewWidget* widget)
{
    GalleryView& model = widget->model();
    co_await model.load();
    co_return &model;
}

QCoro::Task<QWidget*> galleryAll(SceneContext& context)
{
    co_await preloadIcons(context);
    auto* widget = gallery(context);
    co_await loaded(widget);
    co_return galleryPage(widget);
}

void markFavorites(GalleryView& model)
{
    QStringList slugs;
    for (const int index : {1, 5, 8}) {
        if (index < model.shown().size())
            slugs.append(model.shown().at(index).slug);
    }
    for (const QString& slug : slugs)
        model.toggle(slug, true);
    model.setOnlyFavorites(true);
}

QCoro::Task<QWidget*> galleryFavorites(SceneContext& context)
{
    auto* widget = gallery(context);
    GalleryView* model = co_await loaded(widget);
    markFavorites(*model);
    co_return galleryPage(widget);
}

QCoro::Task<QWidget*> galleryBusy(SceneContext& context)
{
    // The stand-in service holds the copy back, so the tile still reads "Starting…" when pictured.
    QJsonObject fault;
    fault.insert(QStringLiteral("path"), QStringLiteral("api/templates/fork"));
    fault.insert(QStringLiteral("delayMs"), 3000);
    co_await context.api.request(QStringLiteral("control/faults"), "POST", fault);
    auto* widget = gallery(context);
    GalleryView* model = co_await loaded(widget);
    for (const GalleryApp& app : model->shown()) {
        if (app.templateJobId) {
            model->use(app);
            break;
        }
    }
    co_return galleryPage(widget);
}

// Puts the starting tools back, so that a later scene's local build finds a compiler.
QCoro::Task<> putToolsBack(SceneContext&)
{
    if (startingTools.isNull())
        qunsetenv("BRIGHTLOOM_TOOLS_DIR");
    else
        qputenv("BRIGHTLOOM_TOOLS_DIR", startingTools);
    co_return;
}

const SceneRegistration registered{
    {QStringLiteral("new-project"), QSize(1000, 900), emptyScreen, putToolsBack},
    {QStringLiteral("new-project-link"), QSize(1000, 700), linkNotice, putToolsBack},
    {QStringLiteral("new-project-this-mac"), QSize(1000, 640), thisMac, putToolsBack},
    {QStringLiteral("new-project-looking"), QSize(1000, 420), lookingForXcode, putToolsBack},
    {QStringLiteral("new-project-no-swift"), QSize(1000, 420), swiftNotFound, putToolsBack},
    {QStringLiteral("location-lines"), QSize(760, 330), pickerLines},
    {QStringLiteral("gallery"), QSize(1000, 860), galleryAll},
    {QStringLiteral("gallery-favorites"), QSize(1000, 420), galleryFavorites},
    {QStringLiteral("gallery-busy"), QSize(1000, 420), galleryBusy},
};

} // namespace
} // namespace brightloom::screens
