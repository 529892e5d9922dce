#include "browser_sign_in_page.h"

#include "ui/desktop/single_instance.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <qcoro/qcorosignal.h>

namespace brightloom::ui {
namespace {

// Settles the sign-in exactly once, with whichever of the callback or a cancel comes first.
class Settlement final : public QObject
{
    Q_OBJECT

public:
    void settle(SignInPage::Outcome outcome)
    {
        if (m_settled)
            return;
        m_settled = true;
        Q_EMIT settled(outcome);
    }

Q_SIGNALS:
    void settled(brightloom::SignInPage::Outcome outcome);

private:
    bool m_settled = false;
};

QDialog* makeWaitingDialog(QWidget* window)
{
    auto* dialog = new QDialog(window);
    dialog->setWindowTitle(QStringLiteral("Sign in"));
    dialog->setWindowModality(Qt::WindowModal);
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(20, 18, 20, 14);
    layout->setSpacing(12);
    auto* title = new QLabel(QStringLiteral("Continue in your browser"), dialog);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    layout->addWidget(title);
    auto* text =
        new QLabel(QStringLiteral("Sign in on the page that opened in your browser. Brightloom continues "
                                  "here as soon as you are done."),
                   dialog);
    text->setWordWrap(true);
    text->setMinimumWidth(320);
    layout->addWidget(text);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, dialog);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return dialog;
}

} // namespace

BrowserSignInPage::BrowserSignInPage(SingleInstance& instance, QWidget* window, Opener opener)
    : m_instance(instance), m_window(window), m_open(std::move(opener))
{
    if (!m_open)
        m_open = [](const QUrl& url) { return QDesktopServices::openUrl(url); };
}

QCoro::Task<SignInPage::Outcome> BrowserSignInPage::show(QUrl page)
{
    if (!m_open(page)) {
        Outcome failed;
        failed.kind = Outcome::CouldNotStart;
        co_return failed;
    }
    Settlement settlement;
    QDialog* dialog = makeWaitingDialog(m_window);
    m_dialog = dialog;
    QObject::connect(&m_instance, &SingleInstance::callbackReceived, &settlement,
                     [&settlement](const QString& url) {
                         Outcome called;
                         called.kind = Outcome::Callback;
                         called.callback = url;
                         settlement.settle(called);
                     });
    // Cancel, Escape and closing the dialog all cancel.
    QObject::connect(dialog, &QDialog::rejected, &settlement, [&settlement] {
        Outcome cancelled;
        cancelled.kind = Outcome::Cancelled;
        settlement.settle(cancelled);
    });
    dialog->open();
    const Outcome outcome = co_await qCoro(&settlement, &Settlement::settled);
    if (m_dialog) {
        m_dialog->hide();
        m_dialog->deleteLater();
    }
    co_return outcome;
}

} // namespace brightloom::ui

#include "browser_sign_in_page.moc"
