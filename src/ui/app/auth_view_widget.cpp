#include "auth_view_widget.h"

#include "shell/auth_view.h"
#include "ui/shared/busy_spinner.h"
#include "ui/shared/button_styles.h"
#include "ui/shared/error_label.h"
#include "ui/shared/link_button.h"
#include "ui/shared/logo_mark.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {
namespace {

QLineEdit* field(const QString& placeholder, QWidget* parent)
{
    auto* edit = new QLineEdit(parent);
    edit->setPlaceholderText(placeholder);
    edit->setAccessibleName(placeholder);
    edit->setMinimumHeight(30);
    edit->setClearButtonEnabled(false);
    edit->setStyleSheet(QStringLiteral("QLineEdit { border: 1px solid palette(mid); border-radius: 7px;"
                                       " padding: 3px 8px; background: palette(base); }"
                                       "QLineEdit:focus { border-color: palette(highlight); }"));
    return edit;
}

} // namespace

AuthViewWidget::AuthViewWidget(AuthView& view, QWidget* parent) : QWidget(parent), m_model(&view)
{
    auto* outer = new QVBoxLayout(this);
    outer->addStretch(1);
    auto* column = new QWidget(this);
    column->setFixedWidth(320);
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);

    auto* mark = new LogoMark(64, column);
    layout->addWidget(mark, 0, Qt::AlignHCenter);
    auto* title = new QLabel(QStringLiteral("Brightloom"), column);
    QFont titleFont = title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.8);
    title->setFont(titleFont);
    title->setAlignment(Qt::AlignHCenter);
    layout->addWidget(title);
    auto* subtitle = new QLabel(QStringLiteral("Describe it. Get a Mac app."), column);
    subtitle->setForegroundRole(QPalette::PlaceholderText);
    subtitle->setAlignment(Qt::AlignHCenter);
    layout->addWidget(subtitle);
    layout->addSpacing(12);

    m_name = field(QStringLiteral("Name"), column);
    m_email = field(QStringLiteral("Email"), column);
    m_password = field(QStringLiteral("Password"), column);
    m_password->setEchoMode(QLineEdit::Password);
    m_email->setInputMethodHints(Qt::ImhEmailCharactersOnly | Qt::ImhNoAutoUppercase);
    layout->addWidget(m_name);
    layout->addWidget(m_email);
    layout->addWidget(m_password);

    m_error = new ErrorLabel(QStringLiteral("Sign-in error"), column);
    QFont callout = m_error->font();
    callout.setPointSizeF(callout.pointSizeF() * 0.92);
    m_error->setFont(callout);
    layout->addWidget(m_error);

    m_primary = new QPushButton(column);
    applyProminentStyle(m_primary);
    m_primary->setMinimumHeight(32);
    m_primary->setDefault(true);
    auto* inside = new QHBoxLayout(m_primary);
    inside->setContentsMargins(10, 0, 10, 0);
    m_spinner = new BusySpinner(14, m_primary);
    inside->addWidget(m_spinner, 0, Qt::AlignLeft | Qt::AlignVCenter);
    inside->addStretch(1);
    layout->addWidget(m_primary);

    m_google = new QPushButton(QStringLiteral("Continue with Google"), column);
    m_google->setMinimumHeight(32);
    layout->addWidget(m_google);

    m_toggle = new LinkButton(QString(), column);
    layout->addWidget(m_toggle, 0, Qt::AlignHCenter);

    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(column);
    row->addStretch(1);
    outer->addLayout(row);
    outer->addStretch(1);

    AuthView* model = &view;
    connect(m_name, &QLineEdit::textChanged, model, &AuthView::setName);
    connect(m_email, &QLineEdit::textChanged, model, &AuthView::setEmail);
    connect(m_password, &QLineEdit::textChanged, model, &AuthView::setPassword);
    for (QLineEdit* edit : {m_name, m_email, m_password})
        connect(edit, &QLineEdit::returnPressed, model, &AuthView::submit);
    connect(m_primary, &QPushButton::clicked, model, &AuthView::submit);
    connect(m_google, &QPushButton::clicked, model, &AuthView::continueWithGoogle);
    connect(m_toggle, &QPushButton::clicked, model, &AuthView::toggle);
    for (auto signal : {&AuthView::creatingChanged, &AuthView::errorChanged, &AuthView::busyChanged,
                        &AuthView::canSubmitChanged})
        connect(model, signal, this, &AuthViewWidget::redraw);
    redraw();
    setFocusProxy(m_email);
}

void AuthViewWidget::redraw()
{
    const AuthView& model = *m_model;
    m_name->setVisible(model.creating());
    m_error->setError(model.error() ? model.errorText() : QString());
    m_primary->setText(model.primaryLabel());
    m_primary->setEnabled(model.canSubmit());
    m_spinner->setVisible(model.busy());
    m_google->setEnabled(!model.busy());
    m_toggle->setText(model.toggleLabel());
    m_toggle->updateGeometry();
}

} // namespace brightloom::ui
