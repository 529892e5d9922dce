#pragma once

#include "ui/shared/error_label.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace brightloom {
class AuthView;
} // namespace brightloom

namespace brightloom::ui {

class BusySpinner;
class LinkButton;

// The sign-in screen: the mark and title, the form, the error, "Sign in" or "Create account",
// "Continue with Google" and the switch between the two modes.
class AuthViewWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AuthViewWidget)

public:
    explicit AuthViewWidget(AuthView& model, QWidget* parent = nullptr);

    AuthView& model() const { return *m_model; }

private:
    void redraw();

    AuthView* m_model;
    QLineEdit* m_name;
    QLineEdit* m_email;
    QLineEdit* m_password;
    ErrorLabel* m_error;
    QPushButton* m_primary;
    BusySpinner* m_spinner;
    QPushButton* m_google;
    LinkButton* m_toggle;
};

} // namespace brightloom::ui
