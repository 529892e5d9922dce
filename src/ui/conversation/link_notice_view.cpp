#include "link_notice_view.h"

#include "ui/shared/symbols.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace brightloom::ui {

LinkNoticeView::LinkNoticeView(QWidget* parent)
    : QFrame(parent), m_found(new QLabel(this)), m_explanation(new QLabel(LinkNotice::explanation, this)),
      m_warning(new QWidget(this)), m_warningText(new QLabel(LinkNotice::missingXcode, m_warning))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 10, 14, 10);
    layout->setSpacing(6);
    m_found->setTextFormat(Qt::RichText);
    m_found->setWordWrap(true);
    m_found->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_found->setAccessibleDescription(QStringLiteral("Repository found"));
    layout->addWidget(m_found);
    m_explanation->setWordWrap(true);
    m_explanation->setForegroundRole(QPalette::PlaceholderText);
    m_explanation->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_explanation);

    auto* row = new QHBoxLayout(m_warning);
    row->setContentsMargins(0, 2, 0, 0);
    row->setSpacing(8);
    auto* mark = new QLabel(m_warning);
    mark->setPixmap(symbol(Symbol::warning).pixmap(16, 16));
    mark->setAccessibleName(QStringLiteral("Warning"));
    row->addWidget(mark, 0, Qt::AlignTop);
    m_warningText->setWordWrap(true);
    row->addWidget(m_warningText, 1);
    layout->addWidget(m_warning);
    m_warning->hide();
    hide();
}

QString LinkNoticeView::foundRichText(const LinkNotice& notice)
{
    return LinkNotice::foundBefore.toHtmlEscaped() + QStringLiteral("<b>") + notice.name.toHtmlEscaped() +
           QStringLiteral("</b>") + LinkNotice::foundAfter.toHtmlEscaped() +
           notice.distinctSentence().toHtmlEscaped();
}

void LinkNoticeView::setNotice(const std::optional<LinkNotice>& notice)
{
    setVisible(notice.has_value());
    if (!notice)
        return;
    m_found->setText(foundRichText(*notice));
    m_warning->setVisible(notice->xcodeMissing);
}

void LinkNoticeView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = palette().color(QPalette::Highlight);
    fill.setAlphaF(0.10f);
    QColor edge = palette().color(QPalette::Highlight);
    edge.setAlphaF(0.40f);
    painter.setPen(QPen(edge, 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 10, 10);
}

} // namespace brightloom::ui
