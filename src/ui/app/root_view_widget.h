#pragma once

#include "screens.h"

#include <QPointer>
#include <QWidget>
#include <chrono>

class QStackedLayout;
class QTimer;

namespace brightloom {
class RootView;
}

namespace brightloom::ui {

class AuthViewWidget;
class MainViewWidget;

// The window's content: a centred spinner while the session is restored, then the main screen or
// the sign-in screen. The spinner is the first frame, painted before the session check begins. Each is
// made afresh for each time it appears, so signing out drops the main screen and its selection, and the
// sign-in form starts empty. The main screen of the start is made while the session check waits for the
// service, hidden and asking nothing, and dropped if the check ends signed out.
class RootViewWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RootViewWidget)

public:
    // `screens` gives the sign-in and main screens.
    RootViewWidget(RootView& model, Screens screens, QWidget* parent = nullptr);

    RootView& model() const { return *m_model; }
    QWidget* spinnerPage() const { return m_spinnerPage; }
    AuthViewWidget* authView() const;
    MainViewWidget* mainView() const;
    // How long, once shown, the session check waits for a first frame that does not come (a window
    // started minimised). Tests that watch the first frame lengthen it, so that a slow machine's
    // late frame is not taken for none.
    void setFirstFrameAtTheLatest(std::chrono::milliseconds wait);

Q_SIGNALS:
    // The main screen is shown, for the first time since it was made (after signing in).
    void mainScreenMade(brightloom::ui::MainViewWidget* main);
    // The first frame is on the screen, or is not coming (a window started minimised): what the
    // window can do without may begin. Told once.
    void firstFrameShown();

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showScreen();
    // Starts the session check once, after the first frame.
    void startChecking();
    // Makes the main screen, hidden, while the check is still under way.
    void prepareMain();

    Screens m_screens;
    RootView* m_model;
    QStackedLayout* m_stack;
    QWidget* m_spinnerPage;
    QPointer<QWidget> m_auth;
    QPointer<QWidget> m_main; // made during the check, hidden until the session holds
    QTimer* m_noFrame;        // starts the check when no first frame comes
    bool m_startQueued = false;
};

} // namespace brightloom::ui
