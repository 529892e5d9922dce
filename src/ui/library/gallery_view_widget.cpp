#include "gallery_view_widget.h"

#include "gallery_grid.h"
#include "library/gallery_view.h"
#include "ui/shared/busy_spinner.h"
#include "ui/shared/checkable_buttons.h"
#include "ui/shared/error_label.h"
#include "ui/shared/symbols.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QShowEvent>
#include <QToolButton>
#include <QVBoxLayout>

namespace brightloom::ui {

const QString GalleryViewWidget::title = QStringLiteral("Start from a template");
const QString GalleryViewWidget::line =
    QStringLiteral("Pick an app to copy. It becomes your own project and you can change it by chatting.");
const QString GalleryViewWidget::favoritesToggle = QStringLiteral("My favorites");
const QString GalleryViewWidget::noFavorites = QStringLiteral("No favorites yet.");
const QString GalleryViewWidget::noApps = QStringLiteral("No apps to show right now.");

GalleryViewWidget::GalleryViewWidget(GalleryView& model, IconLoader& icons, QWidget* parent)
    : QWidget(parent), m_model(&model), m_favorites(new QToolButton(this)),
      m_error(new ErrorLabel(QStringLiteral("Gallery error"), this)), m_spinner(new BusySpinner(20, this)),
      m_empty(new QLabel(this)), m_grid(new GalleryGrid(model, icons, this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);

    auto* header = new QHBoxLayout;
    header->setSpacing(16);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(4);
    auto* heading = new QLabel(title, this);
    QFont big = heading->font();
    big.setPointSizeF(big.pointSizeF() * 1.35);
    big.setBold(true);
    heading->setFont(big);
    texts->addWidget(heading);
    auto* below = new QLabel(line, this);
    below->setWordWrap(true);
    below->setForegroundRole(QPalette::PlaceholderText);
    texts->addWidget(below);
    header->addLayout(texts, 1);
    // Checkable before anything else: setting the text already asks for the accessible interface.
    installCheckableButtonAccessibility();
    m_favorites->setCheckable(true);
    m_favorites->setText(favoritesToggle);
    m_favorites->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_favorites->setIconSize(QSize(16, 16));
    m_favorites->setCursor(Qt::PointingHandCursor);
    m_favorites->setStyleSheet(QStringLiteral(
        "QToolButton { color: palette(text); border: 1px solid palette(mid); border-radius: 7px;"
        " padding: 4px 10px; background: transparent; }"
        "QToolButton:hover { background: palette(midlight); }"
        "QToolButton:checked { background: palette(highlight); color: palette(highlighted-text);"
        " border-color: palette(highlight); }"));
    header->addWidget(m_favorites, 0, Qt::AlignTop);
    layout->addLayout(header);

    layout->addWidget(m_error);

    layout->addWidget(m_spinner, 0, Qt::AlignHCenter);
    m_empty->setForegroundRole(QPalette::PlaceholderText);
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setAccessibleDescription(QStringLiteral("Gallery empty"));
    m_empty->hide();
    layout->addWidget(m_empty);
    layout->addWidget(m_grid);

    connect(m_favorites, &QToolButton::toggled, m_model, &GalleryView::setOnlyFavorites);
    connect(m_model, &GalleryView::onlyFavoritesChanged, this, &GalleryViewWidget::showFilter);
    connect(m_model, &GalleryView::loadedChanged, this, &GalleryViewWidget::showLoadState);
    connect(m_model, &GalleryView::shownChanged, this, [this] {
        m_grid->reload();
        showLoadState();
    });
    connect(m_model, &GalleryView::favoritesChanged, m_grid, &GalleryGrid::refreshStates);
    connect(m_model, &GalleryView::busySlugChanged, m_grid, &GalleryGrid::refreshStates);
    connect(m_model, &GalleryView::errorChanged, this, &GalleryViewWidget::showError);
    showFilter();
    showLoadState();
}

GalleryViewWidget::~GalleryViewWidget() = default;

void GalleryViewWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // Once per appearance of the screen: the screen is made afresh each time it is shown, and a
    // window coming back from being minimised is no new appearance.
    if (!m_loadStarted && !event->spontaneous()) {
        m_loadStarted = true;
        m_model->load(); // ends on its own; it never fails
    }
}

void GalleryViewWidget::showLoadState()
{
    const bool loaded = m_model->loaded();
    const bool empty = m_model->shown().isEmpty();
    m_spinner->setVisible(!loaded);
    m_empty->setVisible(loaded && empty);
    m_empty->setText(m_model->onlyFavorites() ? noFavorites : noApps);
    m_grid->setVisible(loaded && !empty);
}

void GalleryViewWidget::showFilter()
{
    const bool on = m_model->onlyFavorites();
    if (m_favorites->isChecked() != on)
        m_favorites->setChecked(on);
    m_favorites->setIcon(symbol(on ? Symbol::heartFill : Symbol::heart));
    showLoadState();
}

void GalleryViewWidget::showError()
{
    m_error->setError(m_model->error() ? m_model->errorText() : QString());
}

} // namespace brightloom::ui
