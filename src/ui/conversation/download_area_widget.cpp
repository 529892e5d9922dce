#include "download_area_widget.h"

#include "chat_button_row.h"
#include "ui/shared/app_header.h"
#include "ui/shared/button_styles.h"
#include "ui/shared/first_launch_note.h"
#include "ui/shared/link_button.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {

namespace {

void styleDownload(QPushButton* button, const ChatButton& shown, const QList<ChatButton>& row)
{
    if (shown.action == ChatAction::downloadDmg) {
        applyProminentStyle(button);
        return;
    }
    // The archive button is the main action when it stands alone ("Download app").
    const bool alone = std::none_of(row.cbegin(), row.cend(),
                                    [](const ChatButton& b) { return b.action == ChatAction::downloadDmg; });
    applyZipButtonStyle(button, alone);
}

} // namespace

DownloadAreaWidget::DownloadAreaWidget(IconLoader& icons, Desktop* desktop, QWidget* parent)
    : QWidget(parent), m_header(new AppHeader(icons, this)),
      m_downloads(new ChatButtonRow(styleDownload, this)), m_savedBox(new QWidget(this)),
      m_savedLayout(new QVBoxLayout(m_savedBox)), m_note(new FirstLaunchNote(desktop, this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(m_header);
    layout->addWidget(m_downloads);
    m_savedLayout->setContentsMargins(0, 0, 0, 0);
    m_savedLayout->setSpacing(8);
    layout->addWidget(m_savedBox);
    m_savedBox->hide();
    layout->addWidget(m_note);
    connect(m_downloads, &ChatButtonRow::triggered, this, &DownloadAreaWidget::triggered);
}

void DownloadAreaWidget::setArea(const DownloadArea& area)
{
    m_downloads->setButtons(area.buttons);
    if (area.saved == m_saved)
        return;
    m_saved = area.saved;
    while (QLayoutItem* item = m_savedLayout->takeAt(0)) {
        if (QWidget* old = item->widget()) {
            old->hide();
            old->deleteLater();
        }
        delete item;
    }
    for (const SavedRow& saved : area.saved) {
        auto* row = new QWidget(m_savedBox);
        auto* line = new QVBoxLayout(row);
        line->setContentsMargins(0, 0, 0, 0);
        line->setSpacing(6);
        auto* where = new QLabel(saved.text, row);
        where->setTextFormat(Qt::PlainText);
        where->setWordWrap(true);
        where->setTextInteractionFlags(Qt::TextSelectableByMouse);
        where->setAccessibleDescription(QStringLiteral("Saved location"));
        line->addWidget(where);
        auto* buttons = new ChatButtonRow({}, row);
        buttons->setButtons(saved.buttons);
        connect(buttons, &ChatButtonRow::triggered, this, &DownloadAreaWidget::triggered);
        line->addWidget(buttons);
        m_savedLayout->addWidget(row);
        row->show();
    }
    m_savedBox->setVisible(!area.saved.isEmpty());
}

QList<QLabel*> DownloadAreaWidget::savedLabels() const
{
    QList<QLabel*> labels;
    for (int i = 0; i < m_savedLayout->count(); ++i) {
        if (QWidget* row = m_savedLayout->itemAt(i)->widget())
            labels.append(row->findChild<QLabel*>(QString(), Qt::FindDirectChildrenOnly));
    }
    return labels;
}

QList<ChatButtonRow*> DownloadAreaWidget::savedButtons() const
{
    QList<ChatButtonRow*> rows;
    for (int i = 0; i < m_savedLayout->count(); ++i) {
        if (QWidget* row = m_savedLayout->itemAt(i)->widget())
            rows.append(row->findChild<ChatButtonRow*>(QString(), Qt::FindDirectChildrenOnly));
    }
    return rows;
}

QList<QWidget*> DownloadAreaWidget::focusChain() const
{
    QList<QWidget*> chain;
    for (QPushButton* button : m_downloads->buttons())
        chain.append(button);
    for (ChatButtonRow* row : savedButtons()) {
        for (QPushButton* button : row->buttons())
            chain.append(button);
    }
    if (auto* link = m_note->findChild<LinkButton*>())
        chain.append(link);
    return chain;
}

} // namespace brightloom::ui
