#include "about_dialog.h"

#include "dialog_frame.h"
#include "licence_notices.h"
#include "platform/version.h"
#include "ui/shared/logo_mark.h"

#include <QLabel>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace brightloom::ui {

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent), m_notices(new QTextBrowser(this))
{
    setWindowTitle(QStringLiteral("About Brightloom"));
    setAccessibleName(QStringLiteral("About Brightloom"));
    auto* layout = dialogLayout(*this);
    layout->setSpacing(8);

    layout->addWidget(new LogoMark(64, this), 0, Qt::AlignHCenter);
    auto* name = new QLabel(QStringLiteral("Brightloom"), this);
    QFont bold = name->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.3);
    name->setFont(bold);
    name->setAlignment(Qt::AlignCenter);
    layout->addWidget(name);
    auto* version = new QLabel(QStringLiteral("Version " BRIGHTLOOM_VERSION), this);
    version->setAlignment(Qt::AlignCenter);
    version->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(version);
    layout->addSpacing(6);

    // Library names and notices are fixed texts of this program; they are still set as plain text
    // pieces of a document rather than as markup.
    QString html;
    for (const LicenceNotice& notice : licenceNotices())
        html += QStringLiteral("<p><b>%1</b> (%2)<br>%3</p>")
                    .arg(notice.library.toHtmlEscaped(), notice.licence.toHtmlEscaped(),
                         notice.notice.toHtmlEscaped());
    m_notices->setHtml(html);
    m_notices->setOpenLinks(false);
    m_notices->setAccessibleName(QStringLiteral("Licence notices"));
    m_notices->setMinimumSize(420, 200);
    layout->addWidget(m_notices, 1);

    addCloseButton(*this, *layout);
}

} // namespace brightloom::ui
