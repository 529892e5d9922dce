#include "chat_view_widget.h"

#include "bubble_list_model.h"
#include "bubble_list_view.h"
#include "composer.h"
#include "conversation/chat_view.h"
#include "growing_text_view.h"
#include "send_button.h"
#include "status_area_widget.h"
#include "ui/shared/metrics.h"
#include "ui/shared/unsafe_banner.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace brightloom::ui {

namespace {

Composer::Options conversationComposer()
{
    Composer::Options options;
    options.placeholder = QStringLiteral("Ask for changes…");
    options.hint = QStringLiteral("Return to send · Shift+Return for a new line");
    options.minHeight = 56;
    options.maxHeight = 200;
    options.maxLength = 8000;
    return options;
}

// `content` centred in a column as wide as the list's, with the page's padding at the sides.
QWidget* inColumn(QWidget* content, QWidget* parent, int top, int bottom)
{
    auto* row = new QWidget(parent);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(metrics::pagePadding, top, metrics::pagePadding, bottom);
    layout->addStretch(1);
    content->setMaximumWidth(metrics::columnMaxWidth);
    content->setSizePolicy(QSizePolicy::Expanding, content->sizePolicy().verticalPolicy());
    layout->addWidget(content, 1000);
    layout->addStretch(1);
    return row;
}

// Red that reads on the palette's window colour, light or dark.
QColor errorColour(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < 128 ? QColor(248, 113, 113) : QColor(200, 30, 30);
}

} // namespace

ChatViewWidget::ChatViewWidget(ChatView& view, IconLoader& icons, Desktop& desktop, QWidget* parent)
    : QWidget(parent), m_view(&view), m_bubbles(new BubbleListModel(this)), m_list(new BubbleListView(this)),
      m_status(new StatusAreaWidget(view, icons, &desktop)), m_error(new QLabel(this)),
      m_composer(new Composer(conversationComposer(), this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    if (m_view->project().unsafe.value_or(false)) {
        m_banner = new UnsafeBanner(this);
        layout->addWidget(inColumn(m_banner, this, metrics::pagePadding / 2, 0));
    }

    m_list->setModel(m_bubbles);
    m_list->setFooter(m_status);
    layout->addWidget(m_list, 1);

    m_error->setWordWrap(true);
    m_error->setTextFormat(Qt::PlainText);
    m_error->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_error->setAccessibleDescription(QStringLiteral("Error"));
    QPalette red = m_error->palette();
    red.setColor(QPalette::WindowText, errorColour(palette()));
    m_error->setPalette(red);
    auto* errorRow = inColumn(m_error, this, 0, 6);
    layout->addWidget(errorRow);
    errorRow->hide();

    layout->addWidget(inColumn(m_composer, this, 4, metrics::pagePadding / 2 + 4));

    // Only a change in the number of messages scrolls to the end: a message changed in place, or
    // one replaced by another, leaves the reader where they were.
    connect(m_view, &ChatView::messagesChanged, this, [this] {
        m_bubbles->setMessages(m_view->messages());
        if (m_bubbles->rowCount() == m_messageCount)
            return;
        m_messageCount = m_bubbles->rowCount();
        m_list->scrollToEnd();
    });
    connect(m_view, &ChatView::statusChanged, m_status, &StatusAreaWidget::refresh);
    connect(m_status, &StatusAreaWidget::focusChainChanged, this, &ChatViewWidget::updateTabOrder);
    connect(m_view, &ChatView::errorChanged, this, &ChatViewWidget::showError);

    connect(m_composer, &Composer::textChanged, m_view, &ChatView::setPrompt);
    connect(m_view, &ChatView::promptChanged, this, [this] { m_composer->setText(m_view->prompt()); });
    connect(m_composer, &Composer::submitted, m_view, &ChatView::send);
    const auto canSend = [this] { m_composer->setCanSend(m_view->canSend()); };
    connect(m_view, &ChatView::promptChanged, this, canSend);
    connect(m_view, &ChatView::jobsChanged, this, canSend);
    connect(m_view, &ChatView::sendingChanged, this, canSend);
    canSend();
    updateTabOrder();
}

ChatViewWidget::~ChatViewWidget()
{
    m_view->stopPolling();
}

void ChatViewWidget::showError()
{
    m_error->setText(m_view->errorText());
    m_error->parentWidget()->setVisible(m_view->error().has_value());
}

void ChatViewWidget::updateTabOrder()
{
    QList<QWidget*> chain{m_list};
    chain += m_status->focusChain();
    chain.append(m_composer->textView());
    chain.append(m_composer->sendButton());
    for (qsizetype i = 0; i + 1 < chain.size(); ++i)
        QWidget::setTabOrder(chain[i], chain[i + 1]);
}

} // namespace brightloom::ui
