#include "library_view_widget.h"

#include "library/library_view.h"
#include "library_app_delegate.h"
#include "library_app_list_model.h"
#include "library_detail_view_widget.h"
#include "ui/shared/error_label.h"
#include "ui/shared/metrics.h"

#include <QLabel>
#include <QListView>
#include <QProgressBar>
#include <QStackedLayout>
#include <QToolButton>
#include <QVBoxLayout>

namespace brightloom::ui {

LibraryViewWidget::LibraryViewWidget(LibraryView& model, MakeDetail makeDetail, QWidget* parent)
    : QWidget(parent), m_model(&model), m_makeDetail(std::move(makeDetail)),
      m_apps(new LibraryAppListModel(this)), m_stack(new QStackedLayout(this)), m_listPage(new QWidget(this))
{
    setBackgroundRole(QPalette::Window);

    auto* outer = new QHBoxLayout(m_listPage);
    // The rows' tiles line up with the title; their highlight reaches into the margin.
    constexpr int rowInset = 12;
    outer->setContentsMargins(metrics::pagePadding - rowInset, metrics::pagePadding,
                              metrics::pagePadding - rowInset, 0);
    auto* columnWidget = new QWidget(m_listPage);
    columnWidget->setMaximumWidth(metrics::columnMaxWidth);
    outer->addWidget(columnWidget, 1);
    auto* column = new QVBoxLayout(columnWidget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);

    m_title = new QLabel(LibraryView::title, columnWidget);
    m_title->setContentsMargins(rowInset, 0, 0, 0);
    QFont title = m_title->font();
    title.setBold(true);
    title.setPointSizeF(title.pointSizeF() * 1.6);
    m_title->setFont(title);
    column->addWidget(m_title);
    m_subtitle = new QLabel(LibraryView::subtitle, columnWidget);
    m_subtitle->setWordWrap(true);
    m_subtitle->setContentsMargins(rowInset, 0, 0, 0);
    m_subtitle->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(m_subtitle);
    column->addSpacing(10);

    m_loading = new QProgressBar(columnWidget);
    m_loading->setRange(0, 0);
    m_loading->setTextVisible(false);
    m_loading->setMaximumWidth(240);
    m_loading->setAccessibleName(QStringLiteral("Loading"));
    auto* loadingRow = new QHBoxLayout;
    loadingRow->setContentsMargins(rowInset, 0, 0, 0);
    loadingRow->addWidget(m_loading);
    loadingRow->addStretch(1);
    column->addLayout(loadingRow);
    m_error = new ErrorLabel(QStringLiteral("Library error"), columnWidget);
    m_error->setContentsMargins(rowInset, 0, 0, 0);
    column->addWidget(m_error);
    m_empty = new QLabel(LibraryView::emptyText, columnWidget);
    m_empty->setWordWrap(true);
    m_empty->setContentsMargins(rowInset, 0, 0, 0);
    m_empty->setForegroundRole(QPalette::PlaceholderText);
    m_empty->hide();
    column->addWidget(m_empty);

    m_list = new QListView(columnWidget);
    m_list->setModel(m_apps);
    m_list->setItemDelegate(new LibraryAppDelegate(m_list));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setUniformItemSizes(true);
    m_list->setMouseTracking(true);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->viewport()->setBackgroundRole(QPalette::Window);
    m_list->viewport()->setAutoFillBackground(false);
    m_list->setCursor(Qt::PointingHandCursor);
    m_list->setAccessibleName(LibraryView::title);
    column->addWidget(m_list, 1);

    m_stack->addWidget(m_listPage);

    connect(m_list, &QListView::clicked, this, &LibraryViewWidget::openRow);
    connect(m_list, &QListView::activated, this, &LibraryViewWidget::openRow);
    connect(m_model, &LibraryView::appsChanged, this, &LibraryViewWidget::showApps);
    connect(m_model, &LibraryView::loadedChanged, this, &LibraryViewWidget::showApps);
    connect(m_model, &LibraryView::errorChanged, this, &LibraryViewWidget::showApps);
    connect(m_model, &LibraryView::selectedChanged, this, &LibraryViewWidget::showSelection);

    showApps();
    m_model->load();
}

LibraryViewWidget::~LibraryViewWidget() = default;

void LibraryViewWidget::showApps()
{
    m_apps->setApps(m_model->apps());
    m_loading->setVisible(!m_model->loaded());
    m_error->setError(m_model->errorText());
    m_empty->setVisible(m_model->showsEmptyText());
    m_list->setVisible(!m_model->apps().isEmpty());
}

void LibraryViewWidget::openRow(const QModelIndex& index)
{
    if (index.isValid())
        m_model->select(index.data(LibraryAppListModel::projectIdRole).toString());
}

void LibraryViewWidget::showSelection()
{
    const std::optional<QString>& selected = m_model->selected();
    if (m_detail && (!selected || m_detail->model().projectId() != *selected)) {
        // The page may be the one whose button asked to leave: it goes once that is over.
        m_stack->removeWidget(m_detail);
        m_detail->hide();
        m_detail->deleteLater();
        m_detail = nullptr;
    }
    if (!selected) {
        m_stack->setCurrentWidget(m_listPage);
        m_list->setFocus();
        // The list appears again: it is loaded again.
        m_model->load();
        return;
    }
    if (m_detail || !m_makeDetail)
        return;
    m_detail = m_makeDetail(*selected, m_model->selectedApp());
    m_detail->setParent(this);
    connect(m_detail, &LibraryDetailViewWidget::back, m_model, &LibraryView::clearSelection);
    m_stack->addWidget(m_detail);
    m_stack->setCurrentWidget(m_detail);
    m_detail->backButton()->setFocus();
}

} // namespace brightloom::ui
