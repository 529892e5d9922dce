#include "worker_status_banner_widget.h"

#include "shell/worker_status_banner.h"
#include "ui/shared/banner_frame.h"
#include "ui/shared/symbols.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace brightloom::ui {
namespace {

const QColor orange(255, 149, 0);

// A label on a lightly tinted orange rounded background, with the warning symbol at its start.
class BannerLabel final : public QLabel
{
public:
    explicit BannerLabel(QWidget* parent) : QLabel(parent)
    {
        setWordWrap(true);
        setTextFormat(Qt::RichText);
        setContentsMargins(40, 10, 12, 10);
        setAccessibleDescription(QStringLiteral("Build machine status"));
        QFont callout = font();
        callout.setPointSizeF(callout.pointSizeF() * 0.95);
        setFont(callout);
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        {
            QPainter painter(this);
            paintBannerBox(painter, rect(), orange);
            const int side = 18;
            symbol(Symbol::warning).paint(&painter, QRect(13, (height() - side) / 2, side, side));
        }
        QLabel::paintEvent(event);
    }
};

} // namespace

WorkerStatusBannerWidget::WorkerStatusBannerWidget(WorkerStatusBanner& model, QWidget* parent)
    : QWidget(parent), m_model(&model), m_row(new BannerLabel(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 12, 16, 0);
    layout->addWidget(m_row);
    connect(m_model, &WorkerStatusBanner::statusChanged, this, &WorkerStatusBannerWidget::redraw);
    redraw();
}

void WorkerStatusBannerWidget::redraw()
{
    const bool shown = m_model->shown();
    // Hidden rows take no space: the layout's margins go with the row.
    m_row->setVisible(shown);
    layout()->setContentsMargins(16, shown ? 12 : 0, 16, 0);
    if (shown)
        m_row->setText(QStringLiteral("<b>") + WorkerStatusBanner::boldText.toHtmlEscaped() +
                       QStringLiteral("</b> ") + m_model->detailText().toHtmlEscaped());
}

void WorkerStatusBannerWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_model->start();
}

void WorkerStatusBannerWidget::hideEvent(QHideEvent* event)
{
    m_model->stop();
    QWidget::hideEvent(event);
}

} // namespace brightloom::ui
