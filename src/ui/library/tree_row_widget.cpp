#include "tree_row_widget.h"

#include "ui/shared/accent.h"
#include "ui/shared/button_styles.h"
#include "ui/shared/metrics.h"
#include "ui/shared/one_line_label.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {
namespace {

constexpr int markWidth = 22; // room for the version's dot or the fork's hook
constexpr int markGap = 6;    // between the mark and the text

QColor guideColour(const QPalette& palette)
{
    QColor colour = palette.color(QPalette::PlaceholderText);
    colour.setAlphaF(colour.alphaF() * 0.45f);
    return colour;
}

} // namespace

TreeRowWidget::TreeRowWidget(QWidget* parent)
    : QWidget(parent), m_layout(new QHBoxLayout(this)),
      m_indent(new QSpacerItem(markWidth + markGap, 0, QSizePolicy::Fixed, QSizePolicy::Minimum)),
      m_title(new OneLineLabel(this)), m_detail(new OneLineLabel(this)),
      m_button(new QPushButton(TreeRows::useAsTemplate, this))
{
    m_layout->setContentsMargins(0, 5, 0, 5);
    m_layout->setSpacing(10);
    m_layout->addSpacerItem(m_indent);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addStretch(1);
    m_title->setAccessibleDescription(QStringLiteral("Version tree row"));
    texts->addWidget(m_title);
    m_detail->setForegroundRole(QPalette::PlaceholderText);
    m_detail->setAccessibleDescription(QStringLiteral("Version tree summary"));
    texts->addWidget(m_detail);
    texts->addStretch(1);
    m_layout->addLayout(texts, 1);
    m_button->setFocusPolicy(Qt::StrongFocus);
    applyZipButtonStyle(m_button, false);
    m_layout->addWidget(m_button, 0, Qt::AlignVCenter);
    connect(m_button, &QPushButton::clicked, this, [this] {
        if (!m_jobId.isEmpty())
            Q_EMIT useAsTemplate(m_jobId);
    });
}

QLabel* TreeRowWidget::titleLabel() const
{
    return m_title;
}

int TreeRowWidget::indentFor(int depth)
{
    return std::min(depth, metrics::treeIndentLevels) * metrics::treeIndent;
}

int TreeRowWidget::heightFor(TreeRow::Kind kind, const QWidget& widget)
{
    const int line = widget.fontMetrics().height();
    return kind == TreeRow::Kind::version ? 2 * line + 20 : line + 14;
}

void TreeRowWidget::bind(const TreeRow& row, const TemplateButton& button)
{
    m_jobId = row.jobId;
    m_kind = row.kind;
    m_depth = row.depth;
    m_hasSource = row.hasSource;
    m_indent->changeSize(indentFor(row.depth) + markWidth + markGap, 0, QSizePolicy::Fixed,
                         QSizePolicy::Minimum);

    QFont title = font();
    title.setBold(row.kind == TreeRow::Kind::version);
    title.setItalic(row.kind == TreeRow::Kind::privateForks);
    m_title->setFont(title);
    m_title->setForegroundRole(row.kind == TreeRow::Kind::privateForks ? QPalette::PlaceholderText
                                                                       : QPalette::WindowText);
    m_title->setFullText(row.text);

    const bool version = row.kind == TreeRow::Kind::version;
    m_detail->setVisible(version && !row.detail.isEmpty());
    m_detail->setFullText(row.detail);
    m_button->setVisible(version);
    if (version) {
        m_button->setText(button.label);
        m_button->setEnabled(button.enabled);
        m_button->setToolTip(button.help);
        m_button->setAccessibleDescription(button.help);
    }
    m_layout->invalidate();
    update();
}

void TreeRowWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor guide = guideColour(palette());

    // One guide per level above this row, so that a branch reads as one column.
    const int levels = std::min(m_depth, metrics::treeIndentLevels);
    painter.setPen(QPen(guide, 1));
    for (int level = 0; level < levels; ++level) {
        const qreal x = level * metrics::treeIndent + markWidth / 2.0;
        painter.drawLine(QPointF(x, 0), QPointF(x, height()));
    }

    const qreal x = indentFor(m_depth) + markWidth / 2.0;
    const qreal y = m_title->geometry().center().y() + 0.5;
    if (m_kind == TreeRow::Kind::version) {
        // A filled dot for a build that kept its source, a ring for one that did not.
        if (m_hasSource) {
            painter.setPen(QPen(accent().darker(125), 1));
            painter.setBrush(accent());
        } else {
            painter.setPen(QPen(palette().color(QPalette::PlaceholderText), 1.5));
            painter.setBrush(Qt::NoBrush);
        }
        painter.drawEllipse(QPointF(x, y), 4.5, 4.5);
        return;
    }
    // A hook from the version above into this line.
    QPainterPath hook;
    hook.moveTo(x, 0);
    hook.lineTo(x, y - 4);
    hook.quadTo(x, y, x + 4, y);
    hook.lineTo(x + markWidth / 2.0, y);
    painter.setPen(QPen(guide.darker(110), 1.4));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(hook);
}

} // namespace brightloom::ui
