#include "progress_row.h"

#include "ui/shared/busy_spinner.h"
#include "ui/shared/elapsed_seconds_label.h"

#include <QHBoxLayout>
#include <QLabel>

namespace brightloom::ui {

namespace {

// A wrapping label that asks for the width of its whole text on one line, so the counter after it
// follows the text, and wraps only when the row is narrower than that.
class StatusText final : public QLabel
{
public:
    explicit StatusText(QWidget* parent) : QLabel(parent) {}

    QSize sizeHint() const override
    {
        const int oneLine = fontMetrics().horizontalAdvance(text()) + 2 * margin() + 2;
        return QSize(oneLine, heightForWidth(oneLine));
    }
};

} // namespace

ProgressRow::ProgressRow(QWidget* parent)
    : QWidget(parent), m_spinner(new BusySpinner(16, this)), m_label(new StatusText(this)),
      m_counter(new ElapsedSecondsLabel(this))
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_spinner, 0, Qt::AlignTop);
    m_label->setWordWrap(true);
    m_label->setTextFormat(Qt::PlainText);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_label->setAccessibleDescription(QStringLiteral("Build status"));
    layout->addWidget(m_label);
    layout->addWidget(m_counter, 0, Qt::AlignTop);
    layout->addStretch(1);
}

void ProgressRow::set(const QString& text, const QDateTime& since)
{
    m_label->setText(text);
    m_counter->setVisible(since.isValid());
    if (since.isValid() && since != m_counter->since())
        m_counter->setSince(since);
}

void ProgressRow::setSpinning(bool spinning)
{
    m_spinner->setVisible(spinning);
}

} // namespace brightloom::ui
