#include "composer.h"

#include "conversation/composer_counter.h"
#include "flow_chips.h"
#include "growing_text_view.h"
#include "send_button.h"
#include "text/characters.h"
#include "ui/shared/metrics.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace brightloom::ui {
namespace {

// The card's rounded outline, drawn rather than styled so that the text view inside keeps the
// palette's own colours.
class Card final : public QFrame
{
public:
    explicit Card(QWidget* parent) : QFrame(parent) {}

    void setFocusedLook(bool focused)
    {
        m_focused = focused;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QColor edge = palette().color(m_focused ? QPalette::Highlight : QPalette::Mid);
        painter.setPen(QPen(edge, m_focused ? 1.5 : 1));
        painter.setBrush(palette().color(QPalette::Base));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), metrics::composerCorner,
                                metrics::composerCorner);
    }

private:
    bool m_focused = false;
};

} // namespace

Composer::Composer(const Options& options, QWidget* parent)
    : QWidget(parent), m_options(options), m_chips(new FlowChips(this)), m_card(new Card(this)),
      m_view(new GrowingTextView(m_card)), m_send(new SendButton(m_card)), m_counter(new QLabel(this)),
      m_hint(new QLabel(options.hint, this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_chips);

    auto* inside = new QHBoxLayout(m_card);
    inside->setContentsMargins(12, 6, 8, 8);
    inside->setSpacing(6);
    m_view->setHeightRange(options.minHeight, options.maxHeight);
    m_view->setMaxLength(options.maxLength);
    m_view->setPlaceholderText(options.placeholder);
    m_view->setAccessibleName(options.placeholder);
    m_view->setAccessibleDescription(QStringLiteral("Request"));
    QPalette clear = m_view->palette();
    clear.setColor(QPalette::Base, Qt::transparent);
    m_view->setPalette(clear);
    m_view->viewport()->setAutoFillBackground(false);
    inside->addWidget(m_view, 1);
    inside->addWidget(m_send, 0, Qt::AlignBottom);
    layout->addWidget(m_card);

    auto* below = new QHBoxLayout;
    below->setContentsMargins(6, 0, 6, 0);
    QFont small = m_hint->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    m_hint->setFont(small);
    m_hint->setForegroundRole(QPalette::PlaceholderText);
    m_hint->setAccessibleDescription(QStringLiteral("Composer hint"));
    below->addWidget(m_hint, 1);
    m_counter->setFont(small);
    m_counter->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    below->addWidget(m_counter);
    layout->addLayout(below);

    connect(m_view, &GrowingTextView::edited, this, &Composer::textEdited);
    connect(m_view, &GrowingTextView::submitted, this, &Composer::submitted);
    connect(m_send, &QAbstractButton::clicked, this, &Composer::submitted);
    connect(m_view, &FocusTextView::focusChanged, this, [this](bool focused) {
        static_cast<Card*>(m_card)->setFocusedLook(focused);
        if (m_focused == focused)
            return;
        m_focused = focused;
        Q_EMIT focusedChanged(focused);
    });
    connect(m_chips, &FlowChips::picked, this, [this](const QString& idea) {
        setText(idea);
        m_view->setFocus();
    });
    m_chips->setItems(options.examples);
    updateChips();
    updateCounter();
    setFocusProxy(m_view);
}

void Composer::setText(const QString& text)
{
    if (text == m_text)
        return;
    // The view cuts a text over the limit and reports back through textEdited.
    m_view->setText(text);
    if (m_view->toPlainText() != m_text)
        textEdited(m_view->toPlainText());
}

void Composer::textEdited(const QString& text)
{
    if (text == m_text)
        return;
    m_text = text;
    m_count = text::characterCount(text);
    updateChips();
    updateCounter();
    Q_EMIT textChanged(m_text);
}

void Composer::setReadOnly(bool readOnly)
{
    m_view->setReadOnly(readOnly);
    updateChips();
}

bool Composer::isReadOnly() const
{
    return m_view->isReadOnly();
}

void Composer::setCanSend(bool canSend)
{
    m_send->setEnabled(canSend);
}

void Composer::setExamples(const QStringList& examples)
{
    m_options.examples = examples;
    m_chips->setItems(examples);
    updateChips();
}

void Composer::updateChips()
{
    m_chips->setVisible(!m_options.examples.isEmpty() && m_text.isEmpty() && !m_view->isReadOnly());
}

void Composer::updateCounter()
{
    const ComposerCounter counter = ComposerCounter::forCount(m_count, m_options.maxLength);
    m_counter->setVisible(counter.shown);
    m_counter->setText(counter.text);
    m_counter->setAccessibleDescription(counter.spoken);
    QPalette palette = m_counter->palette();
    palette.setColor(QPalette::WindowText, counter.atLimit
                                               ? QColor(220, 38, 38)
                                               : this->palette().color(QPalette::PlaceholderText));
    m_counter->setPalette(palette);
    m_counter->setProperty("atLimit", counter.atLimit);
}

} // namespace brightloom::ui
