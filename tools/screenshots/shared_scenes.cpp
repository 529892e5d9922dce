// Scenes of the pieces every screen shares: the composer, the repository question, the app header
// and the banners.

#include "conversation/ideas.h"
#include "conversation/repo_link.h"
#include "platform/desktop.h"
#include "scene.h"
#include "service/api.h"
#include "ui/conversation/composer.h"
#include "ui/desktop/widget_dialogs.h"
#include "ui/shared/app_header.h"
#include "ui/shared/first_launch_note.h"
#include "ui/shared/unsafe_banner.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <QVBoxLayout>

namespace brightloom::screens {
namespace {

ui::Composer::Options newProjectComposer()
{
    ui::Composer::Options options;
    options.placeholder = QStringLiteral("Describe the Mac app you want…");
    options.minHeight = 110;
    options.maxHeight = 280;
    options.examples = appIdeas();
    return options;
}

QString longRequest(int characters)
{
    const QString sentence =
        QStringLiteral("Add a sidebar that lists every recipe by cuisine, with a search field "
                       "that filters as I type and keeps the selection. ");
    QString text;
    while (text.size() < characters)
        text += sentence;
    return text.left(characters);
}

QCoro::Task<QWidget*> composerWithChips(SceneContext&)
{
    auto* composer = new ui::Composer(newProjectComposer());
    co_return page(composer);
}

QCoro::Task<QWidget*> composerNearLimit(SceneContext&)
{
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(28);
    ui::Composer::Options options;
    options.placeholder = QStringLiteral("Ask for changes…");
    auto* near = new ui::Composer(options);
    near->setText(longRequest(6812));
    layout->addWidget(near);
    auto* full = new ui::Composer(options);
    full->setText(longRequest(8000));
    layout->addWidget(full);
    co_return page(column);
}

QCoro::Task<QWidget*> repositoryAlert(SceneContext& context)
{
    ui::WidgetDialogs dialogs;
    const RepoLink link = RepoLink::detect(QStringLiteral("github.com/octo/Pomodoro")).value();
    const QString out = context.outFolder;
    QTimer::singleShot(600, qApp, [out] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            save(*box, out, QStringLiteral("repo-alert"));
            box->close();
        }
    });
    link.confirm(dialogs);
    co_return nullptr;
}

QCoro::Task<QWidget*> appHeader(SceneContext& context)
{
    const QList<GalleryApp> gallery = co_await context.api.gallery();
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(20);
    auto* withIcon = new ui::AppHeader(context.icons);
    if (!gallery.isEmpty())
        withIcon->setApp(gallery.front().name, QStringLiteral("1.2"),
                         context.api.iconURL(gallery.front().iconUrl));
    layout->addWidget(withIcon);
    auto* letter = new ui::AppHeader(context.icons);
    letter->setApp(QStringLiteral("Recipe Box"), QStringLiteral("1.0"), std::nullopt);
    layout->addWidget(letter);
    co_return page(column);
}

QCoro::Task<QWidget*> banners(SceneContext& context)
{
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(20);
    layout->addWidget(new ui::UnsafeBanner);
    layout->addWidget(new ui::FirstLaunchNote(&context.desktop));
    co_return page(column);
}

const SceneRegistration registered{
    {QStringLiteral("composer-chips"), QSize(760, 330), composerWithChips},
    {QStringLiteral("composer-limit"), QSize(760, 420), composerNearLimit},
    {QStringLiteral("repo-alert"), QSize(), repositoryAlert},
    {QStringLiteral("app-header"), QSize(560, 300), appHeader},
    {QStringLiteral("banners"), QSize(760, 220), banners},
};

} // namespace
} // namespace brightloom::screens
