#include "local_build_area.h"

#include "chat_button_row.h"
#include "progress_row.h"
#include "ui/shared/app_header.h"
#include "ui/shared/metrics.h"

#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

namespace brightloom::ui {

namespace {

// The tools' output: monospaced, selectable, as tall as its lines up to a limit, then scrolling.
class LogBox final : public QPlainTextEdit
{
public:
    explicit LogBox(QWidget* parent) : QPlainTextEdit(parent)
    {
        setReadOnly(true);
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        setLineWrapMode(QPlainTextEdit::WidgetWidth);
        setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        mono.setPointSizeF(font().pointSizeF() * 0.85);
        setFont(mono);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        setMaximumHeight(metrics::logBoxMaxHeight);
        setAccessibleName(QStringLiteral("Build log"));
        setAccessibleDescription(QStringLiteral("Build log"));
    }

    void setLog(const QString& log)
    {
        if (log == toPlainText())
            return;
        setPlainText(log);
        // The newest output is at the end, and so is what explains a failure.
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
        updateGeometry();
    }

    QSize sizeHint() const override
    {
        const int lines = std::max(1, document()->lineCount());
        const int margins = 2 * frameWidth() + int(2 * document()->documentMargin());
        return QSize(QPlainTextEdit::sizeHint().width(),
                     std::min(metrics::logBoxMaxHeight, lines * fontMetrics().lineSpacing() + margins));
    }
    QSize minimumSizeHint() const override { return QSize(80, sizeHint().height()); }
};

QLabel* wrappedLabel(QWidget* parent, const QString& description)
{
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setAccessibleDescription(description);
    return label;
}

} // namespace

LocalBuildArea::LocalBuildArea(IconLoader& icons, QWidget* parent)
    : QWidget(parent), m_header(new AppHeader(icons, this)), m_phase(new ProgressRow(this)),
      m_error(wrappedLabel(this, QStringLiteral("Build error"))), m_log(new LogBox(this)),
      m_buttons(new ChatButtonRow({}, this)), m_note(wrappedLabel(this, QStringLiteral("First launch note")))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(m_header);
    layout->addWidget(m_phase);
    m_phase->label()->setAccessibleDescription(QStringLiteral("Local build status"));
    layout->addWidget(m_error);
    layout->addWidget(m_log);
    layout->addWidget(m_buttons);
    m_note->setForegroundRole(QPalette::PlaceholderText);
    QFont small = m_note->font();
    small.setPointSizeF(small.pointSizeF() * 0.92);
    m_note->setFont(small);
    layout->addWidget(m_note);
    connect(m_buttons, &ChatButtonRow::triggered, this, &LocalBuildArea::triggered);
}

void LocalBuildArea::setArea(const LocalArea& area)
{
    m_phase->set(area.text);
    m_phase->setSpinning(area.spinner);
    m_error->setText(area.error.value_or(QString()));
    m_error->setVisible(area.error.has_value() && !area.error->isEmpty());
    static_cast<LogBox*>(m_log)->setLog(area.log);
    m_log->setVisible(!area.log.isEmpty());
    m_buttons->setButtons(area.buttons);
    m_note->setText(area.note.value_or(QString()));
    m_note->setVisible(area.note.has_value());
}

QList<QWidget*> LocalBuildArea::focusChain() const
{
    QList<QWidget*> chain;
    if (!m_log->isHidden())
        chain.append(m_log);
    for (QPushButton* button : m_buttons->buttons())
        chain.append(button);
    return chain;
}

} // namespace brightloom::ui
