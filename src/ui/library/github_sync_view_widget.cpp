#include "github_sync_view_widget.h"

#include "library/github_sync_view.h"
#include "platform/desktop.h"
#include "ui/shared/button_styles.h"
#include "ui/shared/error_label.h"
#include "ui/shared/link_button.h"

#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {
namespace {

QLabel* wrappedLabel(const QString& description, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setAccessibleDescription(description);
    return label;
}

QWidget* page(QWidget* parent, QVBoxLayout*& layout)
{
    auto* widget = new QWidget(parent);
    layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    return widget;
}

QHBoxLayout* buttonRow(QVBoxLayout* into)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    into->addLayout(row);
    return row;
}

} // namespace

GithubSyncViewWidget::GithubSyncViewWidget(GithubSyncView& model, Desktop& desktop, QWidget* parent)
    : QFrame(parent), m_model(model), m_desktop(desktop)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 14, 16, 14);
    layout->setSpacing(10);

    auto* title = new QLabel(GithubSyncView::title, this);
    QFont bold = title->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.15);
    title->setFont(bold);
    layout->addWidget(title);

    QVBoxLayout* pageLayout = nullptr;
    m_unavailable = page(this, pageLayout);
    auto* unavailable = wrappedLabel(QStringLiteral("GitHub unavailable"), m_unavailable);
    unavailable->setText(GithubSyncView::unavailableText);
    unavailable->setForegroundRole(QPalette::PlaceholderText);
    pageLayout->addWidget(unavailable);
    layout->addWidget(m_unavailable);

    m_connect = page(this, pageLayout);
    auto* connectText = wrappedLabel(QStringLiteral("GitHub connect"), m_connect);
    connectText->setText(GithubSyncView::connectText);
    pageLayout->addWidget(connectText);
    m_connectButton = new QPushButton(GithubSyncView::connectButton, m_connect);
    applyProminentStyle(m_connectButton);
    QHBoxLayout* connectRow = buttonRow(pageLayout);
    connectRow->addWidget(m_connectButton);
    connectRow->addStretch(1);
    layout->addWidget(m_connect);

    m_linked = page(this, pageLayout);
    m_linkedText = wrappedLabel(QStringLiteral("GitHub link"), m_linked);
    pageLayout->addWidget(m_linkedText);
    m_noSource = wrappedLabel(QStringLiteral("GitHub nothing to push"), m_linked);
    m_noSource->setText(GithubSyncView::noSourceText);
    m_noSource->setForegroundRole(QPalette::PlaceholderText);
    pageLayout->addWidget(m_noSource);
    QHBoxLayout* linkedButtons = buttonRow(pageLayout);
    m_push = new QPushButton(m_linked);
    applyProminentStyle(m_push);
    linkedButtons->addWidget(m_push);
    m_unlink = new QPushButton(GithubSyncView::unlinkText, m_linked);
    applyZipButtonStyle(m_unlink, false);
    linkedButtons->addWidget(m_unlink);
    linkedButtons->addStretch(1);
    layout->addWidget(m_linked);

    m_choose = page(this, pageLayout);
    m_chooseText = wrappedLabel(QStringLiteral("GitHub account"), m_choose);
    pageLayout->addWidget(m_chooseText);
    m_noRepos = wrappedLabel(QStringLiteral("GitHub no repositories"), m_choose);
    m_noRepos->setText(GithubSyncView::noReposText);
    m_noRepos->setForegroundRole(QPalette::PlaceholderText);
    pageLayout->addWidget(m_noRepos);
    m_pickerRow = new QWidget(m_choose);
    auto* pickerLayout = new QHBoxLayout(m_pickerRow);
    pickerLayout->setContentsMargins(0, 0, 0, 0);
    pickerLayout->setSpacing(8);
    auto* pickerLabel = new QLabel(GithubSyncView::repositoryLabel, m_pickerRow);
    m_picker = new QComboBox(m_pickerRow);
    m_picker->setAccessibleName(GithubSyncView::repositoryLabel);
    m_picker->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_picker->setMinimumContentsLength(18);
    m_picker->setFocusPolicy(Qt::StrongFocus);
    m_picker->installEventFilter(this);
    pickerLabel->setBuddy(m_picker);
    pickerLayout->addWidget(pickerLabel);
    pickerLayout->addWidget(m_picker);
    m_use = new QPushButton(GithubSyncView::useRepoText, m_pickerRow);
    applyProminentStyle(m_use);
    pickerLayout->addWidget(m_use);
    pickerLayout->addStretch(1);
    pageLayout->addWidget(m_pickerRow);
    layout->addWidget(m_choose);

    m_message = wrappedLabel(QStringLiteral("GitHub push message"), this);
    layout->addWidget(m_message);
    m_commit = new LinkButton(GithubSyncView::viewCommitText, this);
    layout->addWidget(m_commit, 0, Qt::AlignLeft);
    m_error = new ErrorLabel(QStringLiteral("GitHub error"), this);
    layout->addWidget(m_error);

    connect(m_connectButton, &QPushButton::clicked, this, [this] { m_desktop.open(m_model.connectUrl()); });
    connect(m_push, &QPushButton::clicked, this, [this] { m_model.push(); });
    connect(m_unlink, &QPushButton::clicked, this, [this] { m_model.unlink(); });
    connect(m_use, &QPushButton::clicked, this, [this] { m_model.link(); });
    connect(m_commit, &QPushButton::clicked, this, [this] { m_desktop.open(QUrl(m_model.commitUrlText())); });
    connect(m_picker, &QComboBox::activated, this,
            [this](int index) { m_model.setChoice(m_picker->itemText(index)); });

    connect(&m_model, &GithubSyncView::panelChanged, this, &GithubSyncViewWidget::showState);
    connect(&m_model, &GithubSyncView::reposChanged, this, &GithubSyncViewWidget::showRepos);
    connect(&m_model, &GithubSyncView::choiceChanged, this, &GithubSyncViewWidget::showRepos);
    connect(&m_model, &GithubSyncView::busyChanged, this, &GithubSyncViewWidget::showBusy);
    connect(&m_model, &GithubSyncView::messageChanged, this, &GithubSyncViewWidget::showOutcome);
    connect(&m_model, &GithubSyncView::commitUrlChanged, this, &GithubSyncViewWidget::showOutcome);
    connect(&m_model, &GithubSyncView::errorChanged, this, &GithubSyncViewWidget::showOutcome);

    showState();
    showRepos();
    showBusy();
    showOutcome();
}

void GithubSyncViewWidget::showState()
{
    const GithubSyncView::State state = m_model.state();
    m_unavailable->setVisible(state == GithubSyncView::State::unavailable);
    m_connect->setVisible(state == GithubSyncView::State::connect);
    m_linked->setVisible(state == GithubSyncView::State::linked);
    m_choose->setVisible(state == GithubSyncView::State::choose);
    if (state == GithubSyncView::State::linked) {
        m_linkedText->setText(m_model.linkedText());
        const std::optional<QString> push = m_model.pushLabel();
        m_noSource->setVisible(!push);
        m_push->setVisible(push.has_value());
        m_push->setText(push.value_or(QString()));
    }
    if (state == GithubSyncView::State::choose)
        m_chooseText->setText(m_model.chooseText());
}

void GithubSyncViewWidget::showRepos()
{
    const bool none = m_model.repos().isEmpty();
    m_noRepos->setVisible(none);
    m_pickerRow->setVisible(!none);
    QStringList names;
    for (const GithubRepo& repo : m_model.repos())
        names.append(repo.fullName);
    QStringList shown;
    for (int i = 0; i < m_picker->count(); ++i)
        shown.append(m_picker->itemText(i));
    if (shown != names) {
        m_picker->clear();
        m_picker->addItems(names);
    }
    m_picker->setCurrentIndex(int(names.indexOf(m_model.choice())));
}

void GithubSyncViewWidget::showBusy()
{
    const bool idle = !m_model.busy();
    for (QWidget* action :
         {static_cast<QWidget*>(m_connectButton), static_cast<QWidget*>(m_push),
          static_cast<QWidget*>(m_unlink), static_cast<QWidget*>(m_use), static_cast<QWidget*>(m_picker)})
        action->setEnabled(idle);
}

void GithubSyncViewWidget::showOutcome()
{
    m_message->setText(m_model.messageText());
    m_message->setVisible(m_model.message().has_value());
    m_commit->setVisible(m_model.commitUrl().has_value());
    m_error->setError(m_model.errorText());
}

bool GithubSyncViewWidget::eventFilter(QObject* watched, QEvent* event)
{
    // Scrolling the page over the picker scrolls the page; the picker turns only when it has focus.
    // An ignored wheel event goes on to the parents.
    if (watched == m_picker && event->type() == QEvent::Wheel && !m_picker->hasFocus()) {
        event->ignore();
        return true;
    }
    return QFrame::eventFilter(watched, event);
}

void GithubSyncViewWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor edge = palette().color(QPalette::PlaceholderText);
    edge.setAlphaF(edge.alphaF() * 0.35f);
    painter.setPen(QPen(edge, 1));
    painter.setBrush(palette().color(QPalette::AlternateBase));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 10, 10);
}

} // namespace brightloom::ui
