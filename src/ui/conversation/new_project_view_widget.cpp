#include "new_project_view_widget.h"

#include "composer.h"
#include "conversation/ideas.h"
#include "conversation/new_project_view.h"
#include "link_notice_view.h"
#include "location_picker.h"
#include "ui/library/gallery_view_widget.h"
#include "ui/shared/busy_spinner.h"
#include "ui/shared/error_label.h"
#include "ui/shared/metrics.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QShowEvent>
#include <QVBoxLayout>

namespace brightloom::ui {

const QString NewProjectViewWidget::title = QStringLiteral("Describe it. Get a Mac app.");
const QString NewProjectViewWidget::subtitle =
    QStringLiteral("Chat with an AI that writes, builds, and packages a native SwiftUI Mac app for you.");
const QString NewProjectViewWidget::placeholder = QStringLiteral("Describe the Mac app you want…");
const QString NewProjectViewWidget::starting = QStringLiteral("Starting…");

namespace {

Composer::Options composerOptions()
{
    Composer::Options options;
    options.placeholder = NewProjectViewWidget::placeholder;
    options.minHeight = 110;
    options.maxHeight = 280;
    options.maxLength = 8000;
    options.examples = appIdeas();
    return options;
}

} // namespace

NewProjectViewWidget::NewProjectViewWidget(NewProjectView& model, GalleryView& gallery, IconLoader& icons,
                                           QWidget* parent)
    : QWidget(parent), m_model(&model), m_scroll(new QScrollArea(this)), m_column(new QWidget),
      m_composer(new Composer(composerOptions(), m_column)), m_busy(new QWidget(m_column)),
      m_notice(new LinkNoticeView(m_column)), m_error(new ErrorLabel(QStringLiteral("Error"), m_column)),
      m_picker(new LocationPicker(m_column)), m_gallery(new GalleryViewWidget(gallery, icons, m_column))
{
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    m_scroll->setFrameShape(QFrame::NoFrame);
    // It takes focus to scroll with the keys, so a screen reader must be able to name it.
    m_scroll->setAccessibleName(QStringLiteral("New app"));
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    outer->addWidget(m_scroll);

    // The column takes the width up to 900 and stands in the middle of wider windows: the margins'
    // stretches get only what the column cannot take.
    auto* page = new QWidget;
    auto* centre = new QHBoxLayout(page);
    centre->setContentsMargins(metrics::pagePadding, metrics::pagePadding + 8, metrics::pagePadding,
                               metrics::pagePadding);
    centre->setSpacing(0);
    m_column->setMaximumWidth(metrics::columnMaxWidth);
    m_column->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    centre->addStretch(1);
    centre->addWidget(m_column, 1000, Qt::AlignTop);
    centre->addStretch(1);
    m_scroll->setWidget(page);

    auto* column = new QVBoxLayout(m_column);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(12);
    auto* heading = new QLabel(title, m_column);
    QFont big = heading->font();
    big.setPointSizeF(big.pointSizeF() * 2.0);
    big.setBold(true);
    heading->setFont(big);
    heading->setWordWrap(true);
    column->addWidget(heading);
    auto* below = new QLabel(subtitle, m_column);
    below->setWordWrap(true);
    below->setForegroundRole(QPalette::PlaceholderText);
    QFont larger = below->font();
    larger.setPointSizeF(larger.pointSizeF() * 1.1);
    below->setFont(larger);
    column->addWidget(below);
    column->addSpacing(8);
    column->addWidget(m_composer);

    auto* busyRow = new QHBoxLayout(m_busy);
    busyRow->setContentsMargins(6, 0, 0, 0);
    busyRow->setSpacing(8);
    busyRow->addWidget(new BusySpinner(14, m_busy));
    auto* startingLabel = new QLabel(starting, m_busy);
    startingLabel->setForegroundRole(QPalette::PlaceholderText);
    busyRow->addWidget(startingLabel);
    busyRow->addStretch(1);
    m_busy->hide();
    column->addWidget(m_busy);
    column->addWidget(m_notice);

    column->addWidget(m_error);
    column->addSpacing(6);
    column->addWidget(m_picker);
    column->addSpacing(28);
    column->addWidget(m_gallery);
    column->addStretch(1);

    connect(m_composer, &Composer::textChanged, m_model, &NewProjectView::setPrompt);
    connect(m_composer, &Composer::submitted, m_model, &NewProjectView::build);
    connect(m_model, &NewProjectView::promptChanged, this,
            [this] { m_composer->setText(m_model->prompt()); });
    connect(m_model, &NewProjectView::busyChanged, this, &NewProjectViewWidget::showBusy);
    connect(m_model, &NewProjectView::errorChanged, this, &NewProjectViewWidget::showError);
    connect(m_model, &NewProjectView::linkNoticeChanged, this,
            [this] { m_notice->setNotice(m_model->linkNotice()); });
    connect(m_model, &NewProjectView::locationChanged, this,
            [this] { m_picker->setLocation(m_model->location()); });
    connect(m_model, &NewProjectView::locationDescriptionChanged, this,
            [this] { m_picker->setDescription(m_model->locationDescription()); });
    connect(m_picker, &LocationPicker::chosen, m_model, &NewProjectView::setLocation);
    m_picker->setLocation(m_model->location());
    m_picker->setDescription(m_model->locationDescription());
    m_notice->setNotice(m_model->linkNotice());
    showBusy();
    showError();
}

NewProjectViewWidget::~NewProjectViewWidget() = default;

void NewProjectViewWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_appeared || event->spontaneous())
        return;
    m_appeared = true;
    m_model->appear();
    m_composer->setFocus();
}

void NewProjectViewWidget::showBusy()
{
    m_busy->setVisible(m_model->busy());
    m_composer->setCanSend(!m_model->busy());
}

void NewProjectViewWidget::showError()
{
    m_error->setError(m_model->error() ? m_model->errorText() : QString());
}

} // namespace brightloom::ui
