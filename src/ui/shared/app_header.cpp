#include "app_header.h"

#include "icon_tile.h"
#include "metrics.h"

#include <QGraphicsDropShadowEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace brightloom::ui {

AppHeader::AppHeader(IconLoader& icons, QWidget* parent)
    : QWidget(parent), m_tile(new IconTile(icons, metrics::appIconSide, this)), m_name(new QLabel(this)),
      m_version(new QLabel(this))
{
    auto* shadow = new QGraphicsDropShadowEffect(m_tile);
    shadow->setColor(QColor(0, 0, 0, 64)); // black at 0.25
    shadow->setBlurRadius(14);
    shadow->setOffset(0, 3);
    m_tile->setGraphicsEffect(shadow);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 6, 0, 8); // room for the shadow
    layout->setSpacing(16);
    layout->addWidget(m_tile, 0, Qt::AlignVCenter);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addStretch(1);
    QFont title = m_name->font();
    title.setBold(true);
    title.setPointSizeF(title.pointSizeF() * 1.6);
    m_name->setFont(title);
    m_name->setWordWrap(true);
    m_name->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_name->setTextFormat(Qt::PlainText);
    m_name->setAccessibleDescription(QStringLiteral("App name"));
    texts->addWidget(m_name);
    QFont caption = m_version->font();
    caption.setPointSizeF(caption.pointSizeF() * 0.85);
    m_version->setFont(caption);
    m_version->setForegroundRole(QPalette::PlaceholderText);
    m_version->setTextFormat(Qt::PlainText);
    m_version->setAccessibleDescription(QStringLiteral("App version"));
    texts->addWidget(m_version);
    texts->addStretch(1);
    layout->addLayout(texts, 1);
}

void AppHeader::setApp(const QString& name, const std::optional<QString>& version,
                       const std::optional<QUrl>& icon)
{
    m_name->setText(name);
    m_version->setVisible(version.has_value());
    m_version->setText(version ? QStringLiteral("Version ") + *version : QString());
    m_tile->setApp(name, icon);
}

} // namespace brightloom::ui
