#pragma once

#include "service/web_sign_in.h"

#include <QDialog>
#include <QPointer>
#include <functional>

namespace brightloom::ui {

class SingleInstance;

// Browser sign-in for the window: opens the service's page in the default browser and waits, with a
// dialog that can cancel, for the "brightloom://" callback: on Linux the desktop hands it to a second
// start of the program, which passes it on through the single-instance socket; on a Mac it arrives
// as an open-URL event. SingleInstance takes both.
class BrowserSignInPage final : public SignInPage
{
public:
    using Opener = std::function<bool(const QUrl&)>;

    // `opener` opens a page in the browser and answers whether it could (default: the desktop's).
    BrowserSignInPage(SingleInstance& instance, QWidget* window, Opener opener = {});

    QCoro::Task<Outcome> show(QUrl page) override;

    // The dialog shown while waiting, while it is up (for tests).
    QDialog* waitingDialog() const { return m_dialog; }

private:
    SingleInstance& m_instance;
    QPointer<QWidget> m_window;
    Opener m_open;
    QPointer<QDialog> m_dialog;
};

} // namespace brightloom::ui
