#include "banner_frame.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPainter>

namespace brightloom::ui {

BannerFrame::BannerFrame(const QIcon& icon, const QString& richText, QColor tint, QWidget* parent)
    : QFrame(parent), m_label(new QLabel(this)), m_tint(tint)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 10, 12, 10);
    layout->setSpacing(10);
    auto* mark = new QLabel(this);
    mark->setPixmap(icon.pixmap(18, 18));
    mark->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    mark->setFixedWidth(20);
    layout->addWidget(mark, 0, Qt::AlignTop);
    m_label->setTextFormat(Qt::RichText);
    m_label->setWordWrap(true);
    m_label->setText(richText);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_label, 1);
}

void BannerFrame::setRichText(const QString& richText)
{
    m_label->setText(richText);
}

void BannerFrame::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintBannerBox(painter, rect(), m_tint);
}

void paintBannerBox(QPainter& painter, const QRect& rect, const QColor& tint)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = tint;
    fill.setAlphaF(0.16f);
    QColor edge = tint;
    edge.setAlphaF(0.45f);
    painter.setPen(QPen(edge, 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    painter.restore();
}

} // namespace brightloom::ui
