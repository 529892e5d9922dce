#include "version_row_widget.h"

#include "library/library_detail_view.h"
#include "ui/shared/button_styles.h"
#include "ui/shared/link_button.h"
#include "ui/shared/one_line_label.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {

VersionRowWidget::VersionRowWidget(QWidget* parent)
    : QWidget(parent), m_title(new QLabel(this)), m_appName(new OneLineLabel(this)),
      m_summary(new OneLineLabel(this)), m_progress(new QProgressBar(this)),
      m_download(new QPushButton(this)),
      m_showInFinder(new LinkButton(LibraryDetailView::showInFinderText, this))
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 6, 0, 6);
    layout->setSpacing(12);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addStretch(1);
    auto* firstLine = new QHBoxLayout;
    firstLine->setSpacing(8);
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_title->setAccessibleDescription(QStringLiteral("Version"));
    m_title->setTextFormat(Qt::PlainText);
    firstLine->addWidget(m_title, 0);
    m_appName->setForegroundRole(QPalette::PlaceholderText);
    m_appName->setAccessibleDescription(QStringLiteral("Version app name"));
    firstLine->addWidget(m_appName, 1);
    texts->addLayout(firstLine);
    m_summary->setForegroundRole(QPalette::PlaceholderText);
    m_summary->setAccessibleDescription(QStringLiteral("Version summary"));
    texts->addWidget(m_summary);
    texts->addStretch(1);
    layout->addLayout(texts, 1);

    // While the download runs, the button is disabled and a bar beside it moves.
    m_progress->setRange(0, 0);
    m_progress->setTextVisible(false);
    m_progress->setFixedSize(72, 6);
    m_progress->setAccessibleName(QStringLiteral("Downloading"));
    m_progress->hide();
    layout->addWidget(m_progress, 0, Qt::AlignVCenter);
    applyZipButtonStyle(m_download, false);
    layout->addWidget(m_download, 0, Qt::AlignVCenter);
    m_showInFinder->hide();
    layout->addWidget(m_showInFinder, 0, Qt::AlignVCenter);

    connect(m_download, &QPushButton::clicked, this, [this] { Q_EMIT download(m_jobId); });
    connect(m_showInFinder, &QPushButton::clicked, this, [this] { Q_EMIT showInFinder(m_jobId); });
}

QLabel* VersionRowWidget::titleLabel() const
{
    return m_title;
}

QLabel* VersionRowWidget::appNameLabel() const
{
    return m_appName;
}

QPushButton* VersionRowWidget::showInFinderButton() const
{
    return m_showInFinder;
}

int VersionRowWidget::heightFor(const QWidget& widget)
{
    return 2 * widget.fontMetrics().height() + 22;
}

void VersionRowWidget::bind(const LibraryVersion& version, bool busy, bool saved)
{
    m_jobId = version.jobId;
    m_title->setText(QStringLiteral("Version ") + version.version);
    m_appName->setFullText(version.appName);
    m_summary->setFullText(version.summary.value_or(QString()));
    m_summary->setVisible(version.summary.has_value());
    m_download->setText(LibraryDetailView::downloadLabel(version));
    m_download->setEnabled(!busy);
    m_progress->setVisible(busy);
    m_showInFinder->setVisible(saved);
}

void VersionRowWidget::paintEvent(QPaintEvent*)
{
    // A hairline between versions.
    QPainter painter(this);
    QColor line = palette().color(QPalette::PlaceholderText);
    line.setAlphaF(line.alphaF() * 0.25f);
    painter.setPen(line);
    painter.drawLine(QPoint(0, height() - 1), QPoint(width(), height() - 1));
}

} // namespace brightloom::ui
