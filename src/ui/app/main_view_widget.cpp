#include "main_view_widget.h"

#include "conversation/chat_view.h"
#include "localbuild/local_builds.h"
#include "platform/notifier.h"
#include "shell/build_notice.h"
#include "sidebar.h"
#include "worker_status_banner_widget.h"

#include <QAction>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace brightloom::ui {

MainViewWidget::MainViewWidget(MainView& model, WorkerStatusBanner& banner, LocalBuilds& local,
                               Screens screens, Notifier* notifier, QWidget* parent)
    : QWidget(parent), m_model(&model), m_local(local), m_screens(std::move(screens)), m_notifier(notifier)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_sidebar = new Sidebar(model, this);
    layout->addWidget(m_sidebar);
    auto* right = new QVBoxLayout;
    right->setContentsMargins(0, 0, 0, 0);
    right->setSpacing(0);
    m_banner = new WorkerStatusBannerWidget(banner, this);
    right->addWidget(m_banner);
    m_pane = new QVBoxLayout;
    m_pane->setContentsMargins(0, 0, 0, 0);
    right->addLayout(m_pane, 1);
    layout->addLayout(right, 1);

    makeNavigation();

    connect(m_model, &MainView::detailChanged, this, &MainViewWidget::showDetail);
    showDetail();
}

void MainViewWidget::makeNavigation()
{
    // Ctrl+N (Cmd+N on a Mac) a new app, Ctrl+Shift+A the library, Ctrl+1 to Ctrl+9 the first nine
    // projects. The window's menus list the same actions.
    m_newApp = new QAction(QStringLiteral("New App"), this);
    m_newApp->setShortcut(QKeySequence::New);
    connect(m_newApp, &QAction::triggered, m_model, [this] { m_model->select(MainView::newSelection); });
    auto* library = new QAction(QStringLiteral("My Apps"), this);
    library->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_A));
    connect(library, &QAction::triggered, m_model, [this] { m_model->select(MainView::librarySelection); });
    m_destinations = {library};
    for (int n = 1; n <= 9; ++n) {
        auto* project = new QAction(this);
        project->setShortcut(QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_0 + n)));
        connect(project, &QAction::triggered, m_model, [this, n] {
            const QList<Project>& projects = m_model->projects();
            if (n <= projects.size())
                m_model->select(projects.at(n - 1).id);
        });
        m_destinations.append(project);
    }
    addAction(m_newApp);
    addActions(m_destinations);
    connect(m_model, &MainView::projectsChanged, this, &MainViewWidget::nameProjectActions);
    nameProjectActions();
}

void MainViewWidget::nameProjectActions()
{
    const QList<Project>& projects = m_model->projects();
    for (int n = 1; n < m_destinations.size(); ++n) {
        QAction* action = m_destinations.at(n);
        const bool exists = n <= projects.size();
        // A project's name is the service's text: an "&" in it is a letter, not a mnemonic.
        action->setText(exists
                            ? QString(projects.at(n - 1).name).replace(QLatin1Char('&'), QStringLiteral("&&"))
                            : QString());
        action->setVisible(exists);
    }
}

void MainViewWidget::showDetail()
{
    // The old screen may be the one asking for the change (a project it just created), from inside
    // one of its own calls: it goes once that call has returned.
    if (m_detail) {
        m_detail->hide();
        m_pane->removeWidget(m_detail);
        m_detail->deleteLater();
    }
    const MainView::Detail detail = m_model->detail();
    const Screens::Open open = [this](const QString& id) { m_model->select(id); };
    QWidget* screen = nullptr;
    switch (detail.screen) {
    case MainView::Screen::newProject:
        screen = m_screens.newProject ? m_screens.newProject(open) : nullptr;
        break;
    case MainView::Screen::library:
        screen = m_screens.library ? m_screens.library(open) : nullptr;
        break;
    case MainView::Screen::conversation:
        if (m_screens.conversation) {
            const Screens::Conversation conversation = m_screens.conversation(*detail.project);
            screen = conversation.widget;
            if (conversation.model)
                watchConversation(conversation.model, *detail.project);
        }
        break;
    }
    if (!screen)
        screen = new QWidget;
    m_detail = screen;
    m_pane->addWidget(screen);
    screen->show();
}

void MainViewWidget::watchConversation(ChatView* chat, const Project& project)
{
    auto last = std::make_shared<std::optional<Job>>();
    connect(chat, &ChatView::jobsChanged, this, [this, chat, project, last] {
        const std::optional<Job> now = chat->latest();
        if (const auto notice = BuildNotice::forJob(project.name, *last, now))
            notify(notice->title, notice->body);
        *last = now;
    });
    // A build on this machine of one of the open project's jobs.
    connect(&m_local, &LocalBuilds::finished, chat, [this, chat, project](const QString& job) {
        const std::optional<LocalState> state = m_local.state(job);
        const bool ours = std::any_of(chat->jobs().begin(), chat->jobs().end(),
                                      [&job](const Job& mine) { return mine.id == job; });
        if (!state || !ours)
            return;
        if (const auto notice = BuildNotice::forLocalBuild(project.name, *state))
            notify(notice->title, notice->body);
    });
}

void MainViewWidget::notify(const QString& title, const QString& body)
{
    // Only a window the user is not looking at needs the desktop to say it.
    if (!m_notifier || window()->isActiveWindow())
        return;
    m_notifier->notify(title, body);
}

} // namespace brightloom::ui
