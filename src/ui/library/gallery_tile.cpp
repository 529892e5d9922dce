#include "gallery_tile.h"

#include "ui/shared/elided_label.h"
#include "ui/shared/icon_tile.h"
#include "ui/shared/link_button.h"
#include "ui/shared/symbols.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace brightloom::ui {

const QString GalleryTile::useText = QStringLiteral("Use as template");
const QString GalleryTile::startingText = QStringLiteral("Starting…");

namespace {

// The platform's prominent button, whose waiting state stays legible: a copy in progress reads
// "Starting…" on it, and the other tiles' buttons wait.
QString useButtonStyle()
{
    return QStringLiteral("QPushButton { background: palette(highlight); color: palette(highlighted-text);"
                          " border: 1px solid palette(highlight); border-radius: 7px; padding: 5px 12px;"
                          " font-weight: 600; }"
                          "QPushButton:pressed { background: palette(dark); }"
                          "QPushButton:disabled { background: palette(button); color: palette(button-text);"
                          " border: 1px solid palette(mid); }"
                          "QPushButton[busy=\"true\"]:disabled { background: palette(highlight);"
                          " color: palette(highlighted-text); border: 1px solid palette(highlight); }");
}

QFont scaled(QFont font, qreal factor, bool bold = false)
{
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setBold(bold);
    return font;
}

} // namespace

GalleryTile::GalleryTile(IconLoader& icons, QWidget* parent)
    : QFrame(parent), m_icon(new IconTile(icons, iconSide, this)), m_heart(new QToolButton(this)),
      m_name(new ElidedLabel(1, this)), m_tagline(new ElidedLabel(2, this)), m_count(new QLabel(this)),
      m_details(new LinkButton(QStringLiteral("Details"), this)), m_use(new QPushButton(useText, this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 14, 14, 14);
    layout->setSpacing(4);

    auto* top = new QHBoxLayout;
    top->setContentsMargins(0, 0, 0, 0);
    top->addWidget(m_icon, 0, Qt::AlignTop);
    top->addStretch(1);
    m_heart->setAutoRaise(true);
    m_heart->setIconSize(QSize(20, 20));
    m_heart->setCursor(Qt::PointingHandCursor);
    top->addWidget(m_heart, 0, Qt::AlignTop);
    layout->addLayout(top);
    layout->addSpacing(6);

    m_name->setFont(scaled(m_name->font(), 1.08, true));
    m_name->setAccessibleDescription(QStringLiteral("App name"));
    layout->addWidget(m_name);
    m_tagline->setForegroundRole(QPalette::PlaceholderText);
    m_tagline->setAccessibleDescription(QStringLiteral("App tagline"));
    layout->addWidget(m_tagline);
    auto* countRow = new QHBoxLayout;
    countRow->setContentsMargins(0, 2, 0, 0);
    m_count->setFont(scaled(m_count->font(), 0.88));
    m_count->setForegroundRole(QPalette::PlaceholderText);
    m_count->setTextFormat(Qt::PlainText);
    m_count->setAccessibleDescription(QStringLiteral("Favorite count"));
    countRow->addWidget(m_count);
    countRow->addStretch(1);
    m_details->setFont(scaled(m_details->font(), 0.95));
    countRow->addWidget(m_details);
    layout->addLayout(countRow);
    layout->addSpacing(8);

    // The template button spans the tile: at the least tile width two buttons side by side would
    // not fit their labels.
    m_use->setStyleSheet(useButtonStyle());
    m_use->setCursor(Qt::PointingHandCursor);
    m_use->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_use->setAccessibleDescription(QStringLiteral("Start a new project from this app"));
    m_use->setToolTip(QStringLiteral("Start a new project from this app"));
    layout->addWidget(m_use);
    // Tiles without a template keep the same height; the room stays empty at the bottom.
    QSizePolicy keepRoom = m_use->sizePolicy();
    keepRoom.setRetainSizeWhenHidden(true);
    m_use->setSizePolicy(keepRoom);
    layout->addStretch(1);

    connect(m_heart, &QToolButton::clicked, this, [this] { Q_EMIT heartPressed(m_app.slug, !m_favorite); });
    connect(m_details, &QPushButton::clicked, this, [this] { Q_EMIT detailsPressed(m_app.slug); });
    connect(m_use, &QPushButton::clicked, this, [this] { Q_EMIT usePressed(m_app.slug); });
}

QLabel* GalleryTile::name() const
{
    return m_name;
}

QString GalleryTile::favoriteCount(qint64 count)
{
    return QString::number(count) + QStringLiteral(" favorites");
}

QString GalleryTile::heartLabel(const QString& name, bool favorite)
{
    return favorite ? QStringLiteral("Remove ") + name + QStringLiteral(" from favorites")
                    : QStringLiteral("Add ") + name + QStringLiteral(" to favorites");
}

void GalleryTile::bind(const GalleryApp& app, const std::optional<QUrl>& icon)
{
    m_app = app;
    m_icon->setApp(app.name, icon);
    m_name->setFullText(app.name);
    m_tagline->setFullText(app.tagline);
    m_count->setText(favoriteCount(app.favorites));
    m_details->setAccessibleDescription(QStringLiteral("Open the page of ") + app.name +
                                        QStringLiteral(" in the browser"));
    m_use->setVisible(app.templateJobId.has_value());
}

void GalleryTile::setState(bool favorite, bool busy, bool otherBusy)
{
    m_favorite = favorite;
    m_heart->setIcon(symbol(favorite ? Symbol::heartFill : Symbol::heart));
    const QString label = heartLabel(m_app.name, favorite);
    m_heart->setAccessibleName(label);
    m_heart->setToolTip(label);
    m_use->setText(busy ? startingText : useText);
    m_use->setEnabled(!busy && !otherBusy);
    if (m_use->property("busy").toBool() != busy) {
        m_use->setProperty("busy", busy);
        // A style sheet reads dynamic properties only when the widget is polished again.
        m_use->style()->unpolish(m_use);
        m_use->style()->polish(m_use);
    }
}

void GalleryTile::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Mid), 1));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 12, 12);
}

} // namespace brightloom::ui
