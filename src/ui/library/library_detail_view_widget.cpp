#include "library_detail_view_widget.h"

#include "github_sync_view_widget.h"
#include "library/github_sync_view.h"
#include "library/library_view.h"
#include "row_page.h"
#include "tree_row_widget.h"
#include "ui/shared/app_header.h"
#include "ui/shared/button_styles.h"
#include "ui/shared/error_label.h"
#include "ui/shared/first_launch_note.h"
#include "ui/shared/metrics.h"
#include "ui/shared/symbols.h"
#include "ui/shared/unsafe_banner.h"
#include "version_row_widget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

namespace brightloom::ui {
namespace {

QLabel* sectionTitle(const QString& text, QWidget* parent)
{
    auto* title = new QLabel(text, parent);
    QFont font = title->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.15);
    title->setFont(font);
    return title;
}

QWidget* column(QWidget* parent, QVBoxLayout*& layout, int spacing)
{
    auto* widget = new QWidget(parent);
    layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    return widget;
}

} // namespace

// The versions of the app, one row each.
class LibraryDetailViewWidget::VersionRowSource final : public RowPage::Rows
{
public:
    explicit VersionRowSource(LibraryDetailViewWidget& page) : m_page(page) {}

    const QList<LibraryVersion>& versions() const
    {
        static const QList<LibraryVersion> none;
        const auto& detail = m_page.m_model->detail();
        return detail ? detail->app.versions : none;
    }
    int count() const override { return int(versions().size()); }
    int rowHeight(int) const override { return VersionRowWidget::heightFor(m_page); }
    QWidget* makeRow(QWidget* parent) override
    {
        auto* row = new VersionRowWidget(parent);
        LibraryDetailView* model = m_page.m_model;
        QObject::connect(row, &VersionRowWidget::download, model, &LibraryDetailView::download);
        QObject::connect(row, &VersionRowWidget::showInFinder, model, &LibraryDetailView::showInFinder);
        return row;
    }
    void bind(QWidget* row, int index) override
    {
        const LibraryVersion& version = versions()[index];
        const LibraryDetailView& model = *m_page.m_model;
        static_cast<VersionRowWidget*>(row)->bind(version, model.downloadBusy(version.jobId),
                                                  model.savedFile(version.jobId).has_value());
    }

private:
    LibraryDetailViewWidget& m_page;
};

// The version tree, one row per version, fork line and private-fork line.
class LibraryDetailViewWidget::TreeRowSource final : public RowPage::Rows
{
public:
    explicit TreeRowSource(LibraryDetailViewWidget& page) : m_page(page) {}

    // Heights by kind, measured once per listing: a long tree asks for every row's height.
    void measure()
    {
        m_versionHeight = TreeRowWidget::heightFor(TreeRow::Kind::version, m_page);
        m_lineHeight = TreeRowWidget::heightFor(TreeRow::Kind::fork, m_page);
    }
    int count() const override { return int(m_page.m_model->rows().size()); }
    int rowHeight(int index) const override
    {
        return m_page.m_model->rows()[std::size_t(index)].kind == TreeRow::Kind::version ? m_versionHeight
                                                                                         : m_lineHeight;
    }
    QWidget* makeRow(QWidget* parent) override
    {
        auto* row = new TreeRowWidget(parent);
        LibraryDetailView* model = m_page.m_model;
        QObject::connect(row, &TreeRowWidget::useAsTemplate, model,
                         [model](const QString& jobId) { model->fork(jobId); });
        return row;
    }
    void bind(QWidget* row, int index) override
    {
        const TreeRow& treeRow = m_page.m_model->rows()[std::size_t(index)];
        static_cast<TreeRowWidget*>(row)->bind(treeRow, m_page.m_model->templateButton(treeRow));
    }

private:
    LibraryDetailViewWidget& m_page;
    int m_versionHeight = 0;
    int m_lineHeight = 0;
};

LibraryDetailViewWidget::LibraryDetailViewWidget(LibraryDetailView& model, GithubSyncView& github,
                                                 IconLoader& icons, Desktop& desktop,
                                                 const std::optional<LibraryApp>& listed, QWidget* parent)
    : QWidget(parent), m_model(&model), m_github(&github),
      m_versionRows(std::make_unique<VersionRowSource>(*this)),
      m_treeRows(std::make_unique<TreeRowSource>(*this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    // The way back, as a navigation bar's back button: the list's title beside a back chevron.
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(metrics::pagePadding - 8, 10, metrics::pagePadding, 0);
    m_back = new QToolButton(this);
    m_back->setText(LibraryView::title);
    m_back->setIcon(symbol(Symbol::back));
    m_back->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_back->setAutoRaise(true);
    m_back->setCursor(Qt::PointingHandCursor);
    m_back->setToolTip(QStringLiteral("Back to the list of apps"));
    bar->addWidget(m_back);
    bar->addStretch(1);
    layout->addLayout(bar);
    auto* backShortcut = new QShortcut(QKeySequence::Back, this);
    connect(backShortcut, &QShortcut::activated, this, &LibraryDetailViewWidget::back);
    connect(m_back, &QToolButton::clicked, this, &LibraryDetailViewWidget::back);

    // The screen's error stays in sight however far the page is scrolled.
    m_error = new ErrorLabel(QStringLiteral("Library error"), this);
    m_error->setContentsMargins(metrics::pagePadding, 8, metrics::pagePadding, 0);
    layout->addWidget(m_error);

    m_page = new RowPage(this);
    m_page->setColumn(metrics::columnMaxWidth, metrics::pagePadding, 18);
    // The page takes focus to scroll with the keys; a screen reader reads it by the app's name.
    m_page->setAccessibleName(listed ? listed->name : LibraryView::title);
    layout->addWidget(m_page, 1);

    QVBoxLayout* top = nullptr;
    QWidget* topSection = column(nullptr, top, 12);
    auto* headerRow = new QHBoxLayout;
    m_header = new AppHeader(icons, topSection);
    headerRow->addWidget(m_header, 1);
    m_change = new QPushButton(LibraryDetailView::changeAppText, topSection);
    applyProminentStyle(m_change);
    headerRow->addWidget(m_change, 0, Qt::AlignVCenter);
    top->addLayout(headerRow);
    m_unsafe = new UnsafeBanner(topSection);
    m_unsafe->hide();
    top->addWidget(m_unsafe);
    m_origin = new QLabel(topSection);
    m_origin->setWordWrap(true);
    m_origin->setTextFormat(Qt::PlainText);
    m_origin->setForegroundRole(QPalette::PlaceholderText);
    m_origin->setAccessibleDescription(QStringLiteral("Origin"));
    m_origin->hide();
    top->addWidget(m_origin);
    m_loading = new QProgressBar(topSection);
    m_loading->setRange(0, 0);
    m_loading->setTextVisible(false);
    m_loading->setMaximumWidth(240);
    m_loading->setAccessibleName(QStringLiteral("Loading"));
    top->addWidget(m_loading);
    m_page->addWidget(topSection);

    QVBoxLayout* versions = nullptr;
    m_versionsHeader = column(nullptr, versions, 6);
    versions->addWidget(sectionTitle(LibraryDetailView::versionsTitle, m_versionsHeader));
    m_downloadError = new ErrorLabel(QStringLiteral("Download error"), m_versionsHeader);
    versions->addWidget(m_downloadError);
    m_versionsHeader->hide();
    m_page->addWidget(m_versionsHeader);
    m_page->addRows(m_versionRows.get());

    QVBoxLayout* middle = nullptr;
    m_middle = column(nullptr, middle, 18);
    middle->addWidget(new FirstLaunchNote(&desktop, m_middle));
    m_githubPanel = new GithubSyncViewWidget(*m_github, desktop, m_middle);
    middle->addWidget(m_githubPanel);
    QVBoxLayout* treeHeader = nullptr;
    QWidget* treeTitle = column(m_middle, treeHeader, 4);
    treeHeader->addWidget(sectionTitle(LibraryDetailView::treeTitle, treeTitle));
    auto* caption = new QLabel(LibraryDetailView::treeCaption, treeTitle);
    caption->setWordWrap(true);
    caption->setForegroundRole(QPalette::PlaceholderText);
    treeHeader->addWidget(caption);
    middle->addWidget(treeTitle);
    m_middle->hide();
    m_page->addWidget(m_middle);
    m_page->addRows(m_treeRows.get());

    connect(m_change, &QPushButton::clicked, m_model, &LibraryDetailView::changeApp);
    connect(m_model, &LibraryDetailView::detailChanged, this, &LibraryDetailViewWidget::showDetail);
    connect(m_model, &LibraryDetailView::errorChanged, this, &LibraryDetailViewWidget::showStatus);
    connect(m_model, &LibraryDetailView::loadFinished, this, &LibraryDetailViewWidget::showStatus);
    connect(m_model, &LibraryDetailView::forkingChanged, this, &LibraryDetailViewWidget::showForking);
    DmgDownloads* downloads = m_model->downloads();
    connect(downloads, &DmgDownloads::busyChanged, this, &LibraryDetailViewWidget::showDownloads);
    connect(downloads, &DmgDownloads::savedChanged, this, &LibraryDetailViewWidget::showDownloads);
    connect(downloads, &DmgDownloads::errorChanged, this, &LibraryDetailViewWidget::showDownloads);

    if (listed)
        m_header->setApp(listed->name, std::nullopt, std::nullopt);
    showDetail();
    m_model->load();
    m_github->load();
}

LibraryDetailViewWidget::~LibraryDetailViewWidget()
{
    // The page's rows ask the sources; the page goes first.
    delete m_page;
}

void LibraryDetailViewWidget::showDetail()
{
    const std::optional<LibraryDetail>& detail = m_model->detail();
    m_versionsHeader->setVisible(detail.has_value());
    m_middle->setVisible(detail.has_value());
    if (detail) {
        const LibraryApp& app = detail->app;
        std::optional<QString> newest;
        if (!app.versions.isEmpty())
            newest = app.versions.front().version;
        m_header->setApp(app.name, newest, std::nullopt);
        m_page->setAccessibleName(app.name);
        m_unsafe->setVisible(app.unsafe.value_or(false));
        const std::optional<QString> origin = m_model->originLine();
        m_origin->setText(origin.value_or(QString()));
        m_origin->setVisible(origin.has_value());
    }
    m_page->rowsChanged(m_versionRows.get());
    m_treeRows->measure();
    m_page->rowsChanged(m_treeRows.get());
    showStatus();
}

void LibraryDetailViewWidget::showStatus()
{
    m_error->setError(m_model->errorText());
    m_loading->setVisible(!m_model->detail() && !m_model->error());
}

void LibraryDetailViewWidget::showForking()
{
    m_page->rebindVisible();
}

void LibraryDetailViewWidget::showDownloads()
{
    m_downloadError->setError(m_model->downloads()->error());
    m_page->rebindVisible();
}

VersionRowWidget* LibraryDetailViewWidget::versionRow(int index) const
{
    return static_cast<VersionRowWidget*>(m_page->rowWidget(m_versionRows.get(), index));
}

TreeRowWidget* LibraryDetailViewWidget::treeRow(int index) const
{
    return static_cast<TreeRowWidget*>(m_page->rowWidget(m_treeRows.get(), index));
}

void LibraryDetailViewWidget::scrollToTreeRow(int index)
{
    m_page->scrollToRow(m_treeRows.get(), index);
}

} // namespace brightloom::ui
