#include "flow_chips.h"

#include "chips_flow_layout.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {

const QString FlowChips::heading = QStringLiteral("Ideas to start from");

FlowChips::FlowChips(QWidget* parent) : QWidget(parent), m_area(new QWidget(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto* title = new QLabel(heading, this);
    QFont bold = title->font();
    bold.setPointSizeF(bold.pointSizeF() * 0.92);
    bold.setBold(true);
    title->setFont(bold);
    title->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(title);
    m_flow = new ChipsFlowLayout(m_area, 8);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    m_area->setSizePolicy(policy);
    layout->addWidget(m_area);
}

QList<QPushButton*> FlowChips::chips() const
{
    return m_area->findChildren<QPushButton*>(QString(), Qt::FindDirectChildrenOnly);
}

void FlowChips::setItems(const QStringList& items)
{
    if (items == m_items)
        return;
    m_items = items;
    for (QPushButton* chip : chips())
        delete chip;
    for (const QString& item : items) {
        auto* chip = new QPushButton(item, m_area);
        chip->setCursor(Qt::PointingHandCursor);
        chip->setStyleSheet(QStringLiteral("QPushButton { background: palette(base); color: palette(text);"
                                           " border: 1px solid palette(mid); border-radius: 11px;"
                                           " padding: 4px 12px; }"
                                           "QPushButton:hover { background: palette(midlight); }"
                                           "QPushButton:focus { border-color: palette(highlight); }"));
        connect(chip, &QPushButton::clicked, this, [this, item] { Q_EMIT picked(item); });
        m_flow->addWidget(chip);
    }
    updateGeometry();
}

} // namespace brightloom::ui
